#include "ContentLine.h"

#include <QByteArrayView>

namespace {

bool isAsciiSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

QByteArray trimmedEnd(QByteArrayView text)
{
    qsizetype end = text.size();
    while (end > 0 && isAsciiSpace(text[end - 1]))
        --end;
    return text.first(end).toByteArray();
}

// Where the name ends: the first ';' or ':' outside quotes that follows no backslash; libical
// never takes the first character.
qsizetype separatorOf(QByteArrayView line)
{
    bool quoted = false;
    for (qsizetype i = 1; i < line.size(); ++i) {
        if (line[i - 1] == '\\')
            continue;
        if (line[i] == '"')
            quoted = !quoted;
        else if (!quoted && (line[i] == ';' || line[i] == ':'))
            return i;
    }
    return -1;
}

} // namespace

std::vector<ContentLine> ContentLine::split(const QByteArray &text)
{
    std::vector<ContentLine> lines;
    qsizetype pos = 0;
    while (pos < text.size()) {
        const qsizetype newline = text.indexOf('\n', pos);
        const qsizetype next = newline < 0 ? text.size() : newline + 1;
        qsizetype end = newline < 0 ? text.size() : newline;
        if (end > pos && text.at(end - 1) == '\r')
            --end;
        const QByteArrayView content = QByteArrayView(text).sliced(pos, end - pos);
        const bool folded = !lines.empty() && !content.isEmpty() && (content.front() == ' ' || content.front() == '\t')
            && lines.back().to - lines.back().from > 1;
        if (folded) {
            lines.back().to = next;
            lines.back().unfolded += content.sliced(1);
        } else {
            lines.push_back({pos, next, content.toByteArray(), {}, {}});
        }
        pos = next;
    }
    for (ContentLine &line : lines) {
        const qsizetype separator = separatorOf(line.unfolded);
        if (separator < 0)
            continue;
        line.name = trimmedEnd(QByteArrayView(line.unfolded).first(separator)).toUpper();
        const QByteArray rest = line.unfolded.mid(separator + 1);
        const qsizetype comma = rest.indexOf(',');
        line.value = trimmedEnd(QByteArrayView(rest).first(comma < 0 ? rest.size() : comma)).toUpper();
    }
    return lines;
}
