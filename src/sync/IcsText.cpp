#include "IcsText.h"

#include "Libical.h"

IcsText::IcsText(const QByteArray &text) : m_text(text), m_lines(ContentLine::split(text))
{
    const qsizetype newline = m_text.indexOf('\n');
    if (newline >= 0)
        m_eol = newline > 0 && m_text.at(newline - 1) == '\r' ? QByteArray("\r\n") : QByteArray("\n");
    buildBlocks();
    m_replacement.resize(m_lines.size());
    m_removed.assign(m_lines.size(), false);
}

bool IcsText::matches(icalcomponent *calendar) const
{
    if (icalcomponent_string_to_kind(m_blocks.front().name.constData()) != icalcomponent_isa(calendar))
        return false;
    std::vector<std::pair<int, icalcomponent *>> stack{{0, calendar}};
    while (!stack.empty()) {
        const auto [block, component] = stack.back();
        stack.pop_back();
        const std::optional<Pairs> kids = paired(block, component);
        if (!kids)
            return false;
        stack.insert(stack.end(), kids->begin(), kids->end());
    }
    return true;
}

int IcsText::blockOf(int block, icalcomponent *parent, icalcomponent *child) const
{
    if (const std::optional<Pairs> kids = paired(block, parent)) {
        for (const auto &[kid, theirs] : *kids) {
            if (theirs == child)
                return kid;
        }
    }
    return -1;
}

std::vector<int> IcsText::linesNamed(int block, QByteArrayView name) const
{
    std::vector<int> found;
    for (int line : m_blocks[block].properties) {
        if (m_lines[line].name == name)
            found.push_back(line);
    }
    return found;
}

void IcsText::replace(int line, const QByteArray &generated)
{
    m_replacement[line] = fitted(generated);
    m_removed[line] = false;
    m_changed = true;
}

void IcsText::remove(int line)
{
    m_removed[line] = true;
    m_changed = true;
}

void IcsText::removeBlock(int block)
{
    for (int i = m_blocks[block].begin; i <= m_blocks[block].end; ++i)
        m_removed[i] = true;
    m_changed = true;
}

void IcsText::insertProperty(int block, const QByteArray &generated)
{
    const Block &b = m_blocks[block];
    const int at = b.children.empty() ? b.end : m_blocks[b.children.front()].begin;
    m_properties[at] += fitted(generated);
    m_changed = true;
}

void IcsText::insertComponent(int block, const QByteArray &generated)
{
    m_components[m_blocks[block].end] += fitted(generated);
    m_changed = true;
}

void IcsText::set(int block, QByteArrayView name, const QByteArray &generated)
{
    const std::vector<int> lines = linesNamed(block, name);
    if (lines.empty())
        insertProperty(block, generated);
    else
        replace(lines.front(), generated);
}

void IcsText::removeAll(int block, QByteArrayView name)
{
    for (int line : linesNamed(block, name))
        remove(line);
}

QByteArray IcsText::result() const
{
    QByteArray out;
    out.reserve(m_text.size() + 1024);
    for (int i = 0; i < int(m_lines.size()); ++i) {
        if (const auto p = m_properties.find(i); p != m_properties.end())
            out += p->second;
        if (const auto c = m_components.find(i); c != m_components.end())
            out += c->second;
        if (m_removed[i])
            continue;
        if (!m_replacement[i].isNull())
            out += m_replacement[i];
        else
            out += QByteArrayView(m_text).sliced(m_lines[i].from, m_lines[i].to - m_lines[i].from);
    }
    return out;
}

// The components under `block` with those libical read under `component`, the nth of a
// kind with the nth of that kind: libical moves VTIMEZONEs ahead of everything else.
std::optional<IcsText::Pairs> IcsText::paired(int block, icalcomponent *component) const
{
    const std::vector<int> &kids = m_blocks[block].children;
    const std::vector<icalcomponent *> theirs = Libical::components(component, ICAL_ANY_COMPONENT);
    if (kids.size() != theirs.size())
        return std::nullopt;
    Pairs pairs;
    std::map<icalcomponent_kind, size_t> next;
    for (int kid : kids) {
        const icalcomponent_kind kind = icalcomponent_string_to_kind(m_blocks[kid].name.constData());
        size_t &i = next[kind];
        while (i < theirs.size() && icalcomponent_isa(theirs[i]) != kind)
            ++i;
        if (i == theirs.size())
            return std::nullopt;
        pairs.emplace_back(kid, theirs[i++]);
    }
    return pairs;
}

QByteArray IcsText::fitted(QByteArray generated) const
{
    if (m_eol != "\r\n")
        generated.replace("\r\n", "\n");
    return generated;
}

void IcsText::buildBlocks()
{
    std::vector<int> open;
    bool broken = false;
    int roots = 0;
    for (int i = 0; i < int(m_lines.size()) && !broken; ++i) {
        const ContentLine &line = m_lines[i];
        if (line.name == "BEGIN") {
            const int index = int(m_blocks.size());
            m_blocks.push_back({line.value, i, -1, {}, {}});
            if (open.empty())
                ++roots;
            else
                m_blocks[open.back()].children.push_back(index);
            open.push_back(index);
        } else if (line.name == "END") {
            if (open.empty() || m_blocks[open.back()].name != line.value) {
                broken = true;
            } else {
                m_blocks[open.back()].end = i;
                open.pop_back();
            }
        } else if (!open.empty()) {
            m_blocks[open.back()].properties.push_back(i);
        } else if (!line.unfolded.trimmed().isEmpty()) {
            broken = true; // text outside the VCALENDAR
        }
    }
    m_clean = !broken && open.empty() && roots == 1 && m_blocks.front().name == "VCALENDAR";
}
