#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringList>

// What a later launch tells the running instance: its arguments and the moment it gives up
// waiting, framed as a QDataStream byte array (a big-endian length, then the bytes). The
// running instance reads it piece by piece as it arrives, from a peer it cannot trust to
// be well-formed, so the reader holds no more than one message's worth.
class HandOverMessage
{
public:
    // Far above any command line a person types, far below what could hurt.
    static constexpr qsizetype maxBytes = 64 * 1024;

    enum class State { incomplete, complete, refused };

    QStringList arguments;
    // On the monotonic clock, in milliseconds (QDeadlineTimer's deadline()): a wall clock
    // stepped in between must not carry out a launch already told it failed.
    qint64 givesUpAt = 0;

    QByteArray framed() const;

    // Takes the next bytes off the connection; once complete or refused, takes no more.
    State add(QByteArrayView bytes);
    State state() const { return m_state; }

private:
    bool decode(QByteArrayView message);

    QByteArray m_received;
    State m_state = State::incomplete;
};
