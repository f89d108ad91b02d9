#include "IcalTree.h"

#include "ContentLine.h"
#include "Libical.h"

#include <QByteArrayView>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// Beyond these an object is refused rather than read. A task is a few kilobytes; the
// limits keep libical's quadratic corners (freeing many VTIMEZONEs, reading one long
// unfolded line) and its recursion (freeing or printing nested components) far away.
constexpr qsizetype maxBytes = 4 * 1024 * 1024;
constexpr qsizetype maxLineBytes = 1024 * 1024;
constexpr int maxComponents = 5000;
constexpr int maxTimezones = 100;
constexpr int maxDepth = 16;

// Counts what libical would build before it builds it. Only BEGIN lines count, so a
// miscount errs on the safe side.
bool withinLimits(const QByteArray &ics, QString *error)
{
    int begins = 0;
    int timezones = 0;
    qsizetype pos = 0;
    while (pos < ics.size()) {
        qsizetype end = ics.indexOf('\n', pos);
        if (end < 0)
            end = ics.size();
        if (end - pos > maxLineBytes) {
            *error = QStringLiteral("line too long");
            return false;
        }
        const QByteArrayView line = QByteArrayView(ics).sliced(pos, end - pos).trimmed();
        if (line.size() >= 5 && qstrnicmp(line.data(), "BEGIN", 5) == 0) {
            ++begins;
            if (line.toByteArray().toUpper().contains("VTIMEZONE"))
                ++timezones;
        }
        pos = end + 1;
    }
    if (begins > maxComponents) {
        *error = QStringLiteral("too many components");
        return false;
    }
    if (timezones > maxTimezones) {
        *error = QStringLiteral("too many VTIMEZONEs");
        return false;
    }
    return true;
}

// libical's parser prints "Encountered END before BEGIN" to stderr for each END that closes
// nothing. Such lines mean nothing, so the parser never sees them.
QByteArray withoutStrayEnds(const QByteArray &ics)
{
    QByteArray kept;
    kept.reserve(ics.size());
    int level = 0;
    for (const ContentLine &line : ContentLine::split(ics)) {
        if (line.name == "BEGIN") {
            ++level;
        } else if (line.name == "END") {
            if (level == 0)
                continue;
            --level;
        }
        kept += QByteArrayView(ics).sliced(line.from, line.to - line.from);
    }
    return kept;
}

int depthOf(icalcomponent *root)
{
    int deepest = 0;
    std::vector<std::pair<icalcomponent *, int>> stack{{root, 1}};
    while (!stack.empty()) {
        const auto [component, depth] = stack.back();
        stack.pop_back();
        deepest = std::max(deepest, depth);
        if (deepest > maxDepth)
            break;
        for (icalcomponent *child : Libical::components(component, ICAL_ANY_COMPONENT))
            stack.emplace_back(child, depth + 1);
    }
    return deepest;
}

// The task of a calendar: the first VTODO that is not an override of one occurrence.
icalcomponent *taskOf(icalcomponent *calendar)
{
    const std::vector<icalcomponent *> todos = Libical::components(calendar, ICAL_VTODO_COMPONENT);
    for (icalcomponent *todo : todos) {
        if (!icalcomponent_get_first_property(todo, ICAL_RECURRENCEID_PROPERTY))
            return todo;
    }
    return todos.empty() ? nullptr : todos.front();
}

} // namespace

IcalTree::IcalTree(const QByteArray &ics)
{
    Libical::prepare();
    if (ics.size() > maxBytes) {
        error = QStringLiteral("calendar object too large");
        return;
    }
    if (ics.contains('\0')) {
        error = QStringLiteral("calendar object holds a NUL byte");
        return;
    }
    if (!withinLimits(ics, &error))
        return;
    // A copy in any case: the parser wants a terminating NUL, which QByteArray::fromRawData lacks.
    const QByteArray text = withoutStrayEnds(ics);
    root = icalparser_parse_string(text.constData());
    if (!root) {
        error = QStringLiteral("not iCalendar data");
        return;
    }
    if (depthOf(root) > maxDepth) {
        error = QStringLiteral("components nested too deep");
        return;
    }
    switch (icalcomponent_isa(root)) {
    case ICAL_VCALENDAR_COMPONENT:
        calendar = root;
        break;
    case ICAL_XROOT_COMPONENT: // several objects in one text: the first with a task
        for (icalcomponent *c : Libical::components(root, ICAL_VCALENDAR_COMPONENT)) {
            if (taskOf(c)) {
                calendar = c;
                break;
            }
        }
        if (!calendar && !Libical::components(root, ICAL_VCALENDAR_COMPONENT).empty()) {
            error = QStringLiteral("no VTODO");
            return;
        }
        break;
    case ICAL_VTODO_COMPONENT: // a bare task, without its VCALENDAR
        todo = root;
        return;
    default:
        break;
    }
    if (!calendar) {
        error = QStringLiteral("no VCALENDAR");
        return;
    }
    todo = taskOf(calendar);
    if (!todo)
        error = QStringLiteral("no VTODO");
}

IcalTree::~IcalTree()
{
    if (root)
        Libical::freeTree(root);
}
