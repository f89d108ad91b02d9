#pragma once

#include <QString>

class AppSettings;

// The user's login entry that starts Fikranest in the tray, so reminders arrive
// without the window ever being opened. Written on the first start; after that it
// is the user's: disabled, edited or deleted, it is left as it is for good.
class AutostartEntry
{
public:
    // $XDG_CONFIG_HOME/autostart/fikranest.desktop
    static QString defaultPath();
    // Writes the entry unless one exists (switched off with Hidden=true or
    // X-GNOME-Autostart-enabled=false, say) or one was written before; false when
    // writing failed.
    static bool keep(const QString &path, AppSettings &settings);
};
