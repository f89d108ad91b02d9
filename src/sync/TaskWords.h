#pragma once

#include <QString>
#include <QStringList>

// The words an idea is kept under in a VTODO, and its text as the task gives it back.
namespace TaskWords {

inline constexpr char voiceName[] = "X-FIKRANEST-VOICE";

// Our categories; a task holding none of them reads as the default.
QStringList categories();
QString defaultCategory();
QString doneStatus();
QString activeStatus();

// Text as it reads back: libical drops CR and trims white space from both ends of a value,
// and control characters have no place in iCalendar text. A lone surrogate becomes U+FFFD.
QString storable(const QString &text);

} // namespace TaskWords
