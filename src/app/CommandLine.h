#pragma once

#include <QString>
#include <QStringList>

// What a launch asks for. A later launch hands its arguments to the running
// instance, which reads them the same way.
struct CommandLine
{
    enum class Action { open, background, capture, add, syncSetup, sync, syncOff, help, version, invalid };

    Action action = Action::open;
    // For `add`: the idea's title, trimmed, and its category.
    QString text;
    QString category;
    // For `syncSetup`: the server as given, the user, and the task list's display name.
    QString server;
    QString user;
    QString listName;
    // For `invalid`: what was wrong, in Arabic and in English.
    QString error;

    // `arguments` as the program got them, its own name first.
    static CommandLine parse(const QStringList &arguments);
    static QString helpText();
    static QString versionText();
};
