#pragma once

#include <QString>
#include <QStringList>

// What a launch asks for. A later launch hands its arguments to the running
// instance, which reads them the same way.
struct CommandLine
{
    enum class Action { open, background, capture, add, syncSetup, sync, syncOff, help, version, invalid };
    // Who gave the arguments: a person or script starting the program, or a later launch
    // handing its own over to the running instance.
    enum class Origin { launch, handOver };

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
    // From a hand-over only: the xdg-activation token the later launch was started with,
    // which lets the running instance bring its window forward on Wayland.
    QString activationToken;

    // `arguments` as the program got them, its own name first.
    static CommandLine parse(const QStringList &arguments, Origin origin = Origin::launch);
    // What a later launch adds to its arguments to hand over `token`.
    static QString activationTokenArgument(const QString &token);
    static QString helpText();
    static QString versionText();
};
