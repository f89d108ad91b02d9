#include "CloudProbes.h"
#include "CommandLine.h"
#include "FikranestApp.h"
#include "SingleInstance.h"

#include <QApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSocketNotifier>
#include <QtQml/qqmlextensionplugin.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

Q_IMPORT_QML_PLUGIN(FikranestPlugin)

namespace {

void name(QCoreApplication &application)
{
    application.setOrganizationName(QStringLiteral("Fikranest"));
    application.setApplicationName(QStringLiteral("Fikranest"));
    application.setApplicationVersion(QStringLiteral(FIKRANEST_VERSION));
}

void complain(const QString &message)
{
    std::fprintf(stderr, "fikranest: %s\n", qPrintable(message));
}

// SIGTERM (logging out, `kill`) and SIGINT (Ctrl+C) end the program as Ctrl+Q does, so
// the store is closed properly and the next start serves at once. The handler only
// writes a byte into a pipe; the event loop reads it and quits.
class QuitOnSignals
{
public:
    QuitOnSignals()
    {
        if (pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
            qWarning("fikranest: cannot watch for SIGTERM: %s", std::strerror(errno));
            return;
        }
        m_notifier = std::make_unique<QSocketNotifier>(s_pipe[0], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [] {
            char byte;
            while (read(s_pipe[0], &byte, 1) > 0) {
            }
            QCoreApplication::quit();
        });
        struct sigaction action = {};
        action.sa_handler = &QuitOnSignals::handle;
        sigemptyset(&action.sa_mask);
        // A second signal while closing ends the program outright.
        action.sa_flags = SA_RESTART | SA_RESETHAND;
        sigaction(SIGTERM, &action, nullptr);
        sigaction(SIGINT, &action, nullptr);
    }

private:
    static void handle(int)
    {
        const int saved = errno;
        const char byte = 1;
        [[maybe_unused]] const ssize_t written = write(s_pipe[1], &byte, 1);
        errno = saved;
    }

    static inline int s_pipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> m_notifier;
};

// Hands the launch to the running instance; nullopt when this one is to serve.
std::optional<int> handOver(SingleInstance &instance, const QStringList &arguments, bool serve = true)
{
    switch (instance.claim(arguments.mid(1), serve)) {
    case SingleInstance::Role::primary:
        return std::nullopt;
    case SingleInstance::Role::handedOver:
        return 0;
    case SingleInstance::Role::refused:
        complain(QStringLiteral("الفكرون الشغّال ما قدر يحفظها، جرّب مرة ثانية\n"
                                "the running Fikranest could not store it; try again"));
        return 1;
    case SingleInstance::Role::unanswered:
        complain(QStringLiteral("الفكرون الشغّال ما رد علينا 😴 جرّب بعد شوي، ولو علّق سكّره وشغّله من جديد"
                                " / the running Fikranest does not answer; try again, or close it and start it anew"));
        return 1;
    case SingleInstance::Role::failed:
        complain(QStringLiteral("ما قدرنا نشغّل الفكرون 🙈\ncannot set up the single-instance socket: %1")
                     .arg(instance.errorString()));
        return 1;
    }
    return 1;
}

// Stores one idea, through the running instance so its list shows it at once, or
// straight into the store when none runs. Needs no display.
int addIdea(int argc, char *argv[], const CommandLine &line)
{
    QCoreApplication application(argc, argv);
    name(application);
    SingleInstance instance;
    if (const std::optional<int> status = handOver(instance, application.arguments(), false))
        return *status;
    IdeaStore::Opening opening = IdeaStore::open(IdeaStore::defaultPath());
    if (!opening.store) {
        complain(QStringLiteral("cannot open the ideas store %1: %2").arg(IdeaStore::defaultPath(), opening.error));
        return 1;
    }
    if (!FikranestApp::addIdea(*opening.store, line)) {
        complain(IdeaStore::writeFailureMessage());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const CommandLine line = CommandLine::parse(arguments);
    switch (line.action) {
    case CommandLine::Action::help:
        std::fputs(qPrintable(CommandLine::helpText()), stdout);
        return 0;
    case CommandLine::Action::version:
        std::fputs(qPrintable(CommandLine::versionText()), stdout);
        return 0;
    case CommandLine::Action::invalid:
        complain(line.error + QStringLiteral("\n(fikranest --help)"));
        return 2;
    case CommandLine::Action::add:
        return addIdea(argc, argv, line);
    case CommandLine::Action::open:
    case CommandLine::Action::background:
    case CommandLine::Action::capture:
        break;
    }

    // Qt Quick's software renderer starts in two thirds of the time and a third of the
    // memory of OpenGL here, and a list of cards needs nothing a GPU adds; anyone who
    // wants OpenGL still gets it with QT_QUICK_BACKEND.
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);

    QApplication application(argc, argv);
    name(application);
    application.setApplicationDisplayName(QStringLiteral("الفكرون"));
    application.setDesktopFileName(QStringLiteral("fikranest"));
    // Closing the main window leaves the program in the tray.
    application.setQuitOnLastWindowClosed(false);

    SingleInstance instance;
    if (const std::optional<int> status = handOver(instance, arguments))
        return *status;

    const QuitOnSignals quitOnSignals;
    FikranestApp::prepare(application);
    const QString storePath = IdeaStore::defaultPath();
    FikranestApp app(std::make_unique<LocalCloudProbes>(storePath));
    if (!app.start(line.action == CommandLine::Action::background)) {
        if (!app.failure().isEmpty())
            complain(QStringLiteral("cannot open the ideas store %1: %2").arg(storePath, app.failure()));
        return 1;
    }
    if (line.action == CommandLine::Action::capture)
        app.handle(line);
    instance.setHandler([&app](const QStringList &later) {
        return app.handle(CommandLine::parse(QStringList{QStringLiteral("fikranest")} + later));
    });
    return application.exec();
}
