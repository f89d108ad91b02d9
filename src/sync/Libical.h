#pragma once

#include <libical/ical.h>

#include <QByteArray>

#include <vector>

// Small helpers around libical's C interface, for the VTODO reader and writer.
namespace Libical {

// libical keeps its error switches in globals: set them once, before any other call, and
// never again. Every entry point passes through here, so every thread sees them set.
void prepare();

// icalcomponent_free recurses into children; this frees bottom-up without recursion.
void freeTree(icalcomponent *root);

// libical's property and component iterators live inside the component and are reset by
// many getters, so lists are taken whole before anything else is asked.
std::vector<icalproperty *> properties(icalcomponent *component, icalproperty_kind kind);
std::vector<icalcomponent *> components(icalcomponent *component, icalcomponent_kind kind);

// The text of one property, as libical escapes and folds it; the property is freed.
QByteArray propertyText(icalproperty *property);
// The text of a component and all it holds; the component stays.
QByteArray componentText(icalcomponent *component);

} // namespace Libical
