#pragma once

#include <libical/ical.h>

#include <QByteArray>

#include <memory>

// The time zones a task's TZIDs name: its own VTIMEZONEs, checked and shared between
// readings, and the zones libical knows.
namespace IcalZones {

// Whether a VTIMEZONE from the object can be expanded without running away. libical
// expands a zone's rules occurrence by occurrence from its first DTSTART on; a server can
// send rules that occur every second, or never (BYMONTH=2;BYMONTHDAY=30), and libical
// 3.0 would loop on those; a month 13 has it read past its table of month lengths. Real
// zones change at most a few times a year on a fixed rule.
bool isTame(icalcomponent *vtimezone);

// libical 3.0 expands a zone's rules through its ICU-backed recurrence iterator, some ten
// microseconds an occurrence, and Outlook's zones start their rules in 1601. The same few
// zones come with every task of a list, so they are kept, expanded, by their text. libical
// guards a zone's expansion and lookups with its own lock, so threads can share them.
std::shared_ptr<icaltimezone> shared(icalcomponent *vtimezone);

// "Europe/Berlin", or a prefixed form of it ("/freeassociation.sourceforge.net/Europe/Berlin",
// "/mozilla.org/20050126_1/Europe/Berlin"), or a Windows name ("Arab Standard Time").
icaltimezone *builtin(const QByteArray &name);

} // namespace IcalZones
