#include "HandOverMessage.h"

#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype lengthBytes = 4;
// How QDataStream writes a null array or string.
constexpr quint32 nullLength = 0xFFFFFFFF;

} // namespace

QByteArray HandOverMessage::framed() const
{
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << arguments << givesUpAt;
    QByteArray frame;
    QDataStream framing(&frame, QIODevice::WriteOnly);
    framing << message;
    return frame;
}

HandOverMessage::State HandOverMessage::add(QByteArrayView bytes)
{
    if (m_state != State::incomplete)
        return m_state;
    // Never more than the largest frame.
    const qsizetype room = lengthBytes + maxBytes + 1 - m_received.size();
    m_received.append(bytes.first(std::min(bytes.size(), room)));
    if (m_received.size() < lengthBytes)
        return m_state;
    const quint32 length = qFromBigEndian<quint32>(m_received.constData());
    const qsizetype size = length == nullLength ? 0 : qsizetype(length);
    const qsizetype body = m_received.size() - lengthBytes;
    // What follows a whole message is not part of it, however the bytes were split.
    if (size > maxBytes)
        m_state = State::refused;
    else if (body >= size)
        m_state = decode(QByteArrayView(m_received).sliced(lengthBytes, size)) ? State::complete : State::refused;
    if (m_state != State::incomplete)
        m_received = {};
    return m_state;
}

bool HandOverMessage::decode(QByteArrayView message)
{
    const QByteArray bytes = message.toByteArray();
    QDataStream in(bytes);
    quint32 count = 0;
    in >> count;
    // Each string takes four bytes at least; a count beyond that would only make the
    // stream reserve room for a list that is not there.
    if (in.status() != QDataStream::Ok || count > quint32(bytes.size() / lengthBytes))
        return false;
    arguments.clear();
    for (quint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        QString argument;
        in >> argument;
        arguments << argument;
    }
    in >> givesUpAt;
    return in.status() == QDataStream::Ok && in.atEnd();
}
