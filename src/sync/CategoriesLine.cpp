#include "CategoriesLine.h"

#include <QByteArrayView>

namespace {

QString unescaped(QByteArrayView value)
{
    QByteArray out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\\' && i + 1 < value.size()) {
            const char next = value[++i];
            out += (next == 'n' || next == 'N') ? '\n' : next;
        } else {
            out += c;
        }
    }
    return QString::fromUtf8(out);
}

QByteArray escaped(const QString &value)
{
    QByteArray out;
    for (const char c : value.toUtf8()) {
        if (c == '\\' || c == ',' || c == ';')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

// Folds a content line at 75 octets, never inside a UTF-8 sequence.
QByteArray folded(const QByteArray &line)
{
    QByteArray out;
    qsizetype start = 0;
    qsizetype room = 75;
    while (line.size() - start > room) {
        qsizetype cut = start + room;
        while (cut > start + 1 && (static_cast<unsigned char>(line.at(cut)) & 0xC0) == 0x80)
            --cut;
        out += line.mid(start, cut - start);
        out += "\r\n ";
        start = cut;
        room = 74;
    }
    out += line.mid(start);
    out += "\r\n";
    return out;
}

} // namespace

std::optional<CategoriesLine> CategoriesLine::parse(const QByteArray &unfolded)
{
    qsizetype colon = -1;
    bool quoted = false;
    for (qsizetype i = 0; i < unfolded.size(); ++i) {
        const char c = unfolded.at(i);
        if (c == '"')
            quoted = !quoted;
        else if (c == ':' && !quoted) {
            colon = i;
            break;
        }
    }
    if (colon < 0)
        return std::nullopt;
    CategoriesLine line{unfolded.left(colon + 1), {}};
    const QByteArray value = unfolded.mid(colon + 1);
    qsizetype from = 0;
    for (qsizetype i = 0; i <= value.size(); ++i) {
        if (i < value.size() && value.at(i) == '\\') {
            ++i;
            continue;
        }
        if (i == value.size() || value.at(i) == ',') {
            line.values.append(unescaped(QByteArrayView(value).sliced(from, i - from)));
            from = i + 1;
        }
    }
    return line;
}

QByteArray CategoriesLine::text() const
{
    QByteArray line = head;
    for (qsizetype i = 0; i < values.size(); ++i)
        line += (i ? "," : "") + escaped(values.at(i));
    return folded(line);
}
