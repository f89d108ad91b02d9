#include "Libical.h"

#include <mutex>

namespace Libical {

namespace {

QByteArray takeText(char *text)
{
    QByteArray bytes(text ? text : "");
    icalmemory_free_buffer(text);
    return bytes;
}

} // namespace

void prepare()
{
    static std::once_flag once;
    std::call_once(once, [] {
        icalerror_set_errors_are_fatal(0);
        // No error may abort or print, whatever libical was built with.
        for (int error = ICAL_BADARG_ERROR; error < ICAL_UNKNOWN_ERROR; ++error)
            icalerror_set_error_state(static_cast<icalerrorenum>(error), ICAL_ERROR_NONFATAL);
    });
}

void freeTree(icalcomponent *root)
{
    std::vector<icalcomponent *> stack{root};
    while (!stack.empty()) {
        icalcomponent *component = stack.back();
        if (icalcomponent *child = icalcomponent_get_first_component(component, ICAL_ANY_COMPONENT)) {
            icalcomponent_remove_component(component, child);
            stack.push_back(child);
        } else {
            stack.pop_back();
            icalcomponent_free(component);
        }
    }
}

std::vector<icalproperty *> properties(icalcomponent *component, icalproperty_kind kind)
{
    std::vector<icalproperty *> found;
    for (icalproperty *p = icalcomponent_get_first_property(component, kind); p;
         p = icalcomponent_get_next_property(component, kind))
        found.push_back(p);
    return found;
}

std::vector<icalcomponent *> components(icalcomponent *component, icalcomponent_kind kind)
{
    std::vector<icalcomponent *> found;
    for (icalcomponent *c = icalcomponent_get_first_component(component, kind); c;
         c = icalcomponent_get_next_component(component, kind))
        found.push_back(c);
    return found;
}

QByteArray propertyText(icalproperty *property)
{
    const QByteArray text = takeText(icalproperty_as_ical_string_r(property));
    icalproperty_free(property);
    return text;
}

QByteArray componentText(icalcomponent *component)
{
    return takeText(icalcomponent_as_ical_string_r(component));
}

} // namespace Libical
