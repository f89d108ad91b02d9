#include "FikranestApp.h"

#include "AppDelegate.h"
#include "AppEvents.h"
#include "AppPalette.h"
#include "AppSettings.h"
#include "AppWindow.h"
#include "AutostartEntry.h"
#include "ClockChangeWatcher.h"
#include "DateTexts.h"
#include "DesktopNotificationCenter.h"
#include "DisabledButtons.h"
#include "IdeaActions.h"
#include "MenuBarExtra.h"
#include "ReminderKeeper.h"
#include "Symbols.h"
#include "SyncService.h"
#include "UpdaterLibrary.h"

#include <QCoreApplication>
#include <QFont>
#include <QGuiApplication>
#include <QIcon>
#include <QPalette>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSystemTrayIcon>
#include <QTimer>

#include <malloc.h>

#include <utility>

FikranestApp::FikranestApp(std::unique_ptr<CloudProbes> probes, QObject *parent)
    : QObject(parent), m_probes(std::move(probes))
{
}

FikranestApp::~FikranestApp()
{
    SyncService::instance().stop();
    delete m_mainWindow;
    m_menuBar.reset();
    m_engine.reset();
    if (NotificationCenter::shared() == m_notifications.get())
        NotificationCenter::setShared(nullptr);
}

void FikranestApp::prepare(QGuiApplication &application)
{
    // Qt's own fallback draws emoji in black and white; naming the colour font last
    // in the list makes it the one used for them.
    QFont font = application.font();
    font.setFamilies({QStringLiteral("Noto Sans Arabic"), QStringLiteral("Noto Sans"),
                      QStringLiteral("Noto Color Emoji")});
    application.setFont(font);
    application.setLayoutDirection(Qt::RightToLeft);
    DisabledButtons::install();
    // Light whatever the desktop theme says: the Basic style draws from this palette.
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QPalette light;
    light.setColor(QPalette::Window, Qt::white);
    light.setColor(QPalette::WindowText, QColor(0x1F, 0x29, 0x37));
    light.setColor(QPalette::Base, Qt::white);
    light.setColor(QPalette::AlternateBase, QColor::fromRgb(AppPalette::rgbBlue50));
    light.setColor(QPalette::Text, QColor(0x1F, 0x29, 0x37));
    light.setColor(QPalette::PlaceholderText, QColor(0x9C, 0xA3, 0xAF));
    light.setColor(QPalette::Button, QColor(0xE5, 0xE7, 0xEB));
    light.setColor(QPalette::ButtonText, QColor(0x1F, 0x29, 0x37));
    light.setColor(QPalette::Highlight, QColor::fromRgb(AppPalette::rgbBlue600));
    light.setColor(QPalette::HighlightedText, Qt::white);
    light.setColor(QPalette::ToolTipBase, QColor(0x1F, 0x29, 0x37));
    light.setColor(QPalette::ToolTipText, Qt::white);
    application.setPalette(light);
}

bool FikranestApp::start(bool background)
{
    m_container = StoreContainer::create(*m_probes);
    if (!m_container.store)
        return false;
    IdeaStore::setShared(m_container.store.get());
    SyncStatus::setShared(m_container.syncStatus.get());

    QPointer<SyncStatus> status = m_container.syncStatus.get();
    connect(m_probes.get(), &CloudProbes::identityChanged, this, [this, status] {
        if (status)
            status->recheck(*m_probes);
    });

    m_notifications = std::make_unique<DesktopNotificationCenter>(ReminderKeeper::defaultPath());
    NotificationCenter::setShared(m_notifications.get());
    connect(m_notifications.get(), &NotificationCenter::notificationActivated, this,
            [this] { openWindow(QStringLiteral("main")); });
    m_clockWatcher = std::make_unique<ClockChangeWatcher>();
    connect(m_clockWatcher.get(), &ClockChangeWatcher::changed, m_notifications.get(),
            &DesktopNotificationCenter::reschedule);

    m_engine = std::make_unique<QQmlEngine>();
    m_engine->addImportPath(QStringLiteral("qrc:/"));
    // Qt.quit() from a screen (Ctrl+Q) closes the program as SIGTERM does.
    connect(m_engine.get(), &QQmlEngine::quit, QCoreApplication::instance(), &QCoreApplication::quit,
            Qt::QueuedConnection);
    connect(&AppEvents::instance(), &AppEvents::windowRequested, this, &FikranestApp::openWindow);
    connect(&AppEvents::instance(), &AppEvents::updateCheckRequested, this,
            [this] { UpdaterLibrary::checkForUpdates(*m_engine); });
    m_menuBar = std::make_unique<MenuBarExtra>(*m_engine);
    // On a first run the panel is the one that hears the call to open the window.
    if (!AppSettings::instance().hasCompletedOnboarding())
        m_menuBar->panel();

    if (!AutostartEntry::keep(AutostartEntry::defaultPath(), AppSettings::instance()))
        qWarning("fikranest: cannot write the login entry %s", qPrintable(AutostartEntry::defaultPath()));

    if (!background)
        openWindow(QStringLiteral("main"));
    afterFirstFrame();
    AppDelegate::applicationDidFinishLaunching(AppSettings::instance(), AppEvents::instance());
    return true;
}

void FikranestApp::handle(const CommandLine &line, const SingleInstance::Reply &reply)
{
    const auto answer = [&reply](bool done, const QString &text = {}) {
        if (reply)
            reply(done, text);
    };
    switch (line.action) {
    case CommandLine::Action::open:
        AppWindow::handActivationToken(line.activationToken);
        openWindow(QStringLiteral("main"));
        return answer(true);
    case CommandLine::Action::capture:
        AppWindow::handActivationToken(line.activationToken);
        openWindow(QStringLiteral("main"));
        AppEvents::instance().postNewIdea();
        return answer(true);
    case CommandLine::Action::add:
        return answer(m_container.store && addIdea(*m_container.store, line));
    case CommandLine::Action::background:
        return answer(true);
    case CommandLine::Action::sync:
        return SyncService::instance().syncNow(reply ? SyncService::Done(reply) : SyncService::Done());
    case CommandLine::Action::syncOff:
        return SyncService::instance().disconnectAccount([reply] {
            if (reply)
                reply(true, SyncService::disconnectedText());
        });
    case CommandLine::Action::syncSetup:
    case CommandLine::Action::help:
    case CommandLine::Action::version:
    case CommandLine::Action::invalid:
        return answer(false);
    }
}

bool FikranestApp::addIdea(IdeaStore &store, const CommandLine &line)
{
    Idea idea = Idea::make(line.text, QString(), line.category, false, std::nullopt, false);
    return IdeaActions(&store, nullptr).add(idea);
}

void FikranestApp::openWindow(const QString &id)
{
    if (id != QStringLiteral("main"))
        return;
    const auto setUp = [this](QQuickWindow &window) {
        connect(&window, &QWindow::visibleChanged, this, [this](bool visible) {
            if (!visible)
                mainWindowHidden();
        });
    };
    if (AppWindow::ensure(*m_engine, QUrl(QStringLiteral("qrc:/Fikranest/MainWindow.qml")), m_mainWindow, setUp))
        AppWindow::present(*m_mainWindow);
}

void FikranestApp::afterFirstFrame()
{
    // Reminders kept from earlier, and those due while the program was closed, wait
    // for the window's first frame: however many there are, they never delay it. So do
    // the window and tray icons, looked up in the theme or drawn from a symbol.
    // A window that is never drawn, hidden at once or covered, holds them only so long.
    const auto start = [this] {
        m_notifications->start();
        if (std::exchange(m_iconsShown, true))
            return;
        // The installed icon; run from a build, the symbol it is drawn after.
        QGuiApplication::setWindowIcon(QIcon::fromTheme(
            QStringLiteral("fikranest"),
            Symbols::icon(QStringLiteral("plus.bubble.fill"), QColor::fromRgb(AppPalette::rgbBlue600))));
        m_menuBar->create();
        // Sync's first pass, if it is connected, once the window is up.
        m_syncWriter = std::make_unique<IdeaActions>(m_container.store.get(), m_notifications.get());
        SyncService::instance().start(m_container.store->path(), [writer = m_syncWriter.get()](
                                                                     const QList<SyncChange> &changes) {
            return writer->applySynced(changes);
        });
        // A second on: the dates' formatters, if no card has built them, so that the first
        // ideas to arrive (from sync or a later launch) do not wait on ICU; then hand back
        // to the system what building the window and reading the list freed.
        QTimer::singleShot(1000, [] {
            const QDateTime now = QDateTime::currentDateTimeUtc();
            DateTexts::relative(now, now);
            malloc_trim(0);
        });
    };
    QTimer::singleShot(m_mainWindow ? 3000 : 0, this, start);
    if (m_mainWindow) {
        auto once = std::make_shared<QMetaObject::Connection>();
        *once = connect(m_mainWindow, &QQuickWindow::frameSwapped, this, [start, once] {
            disconnect(*once);
            start();
        }, Qt::QueuedConnection);
    }
}

void FikranestApp::mainWindowHidden()
{
    // With no tray to click (stock GNOME has none), say once how to get back.
    if (m_toldHowToComeBack || QSystemTrayIcon::isSystemTrayAvailable() || !m_notifications)
        return;
    m_toldHowToComeBack = true;
    m_notifications->announce(QStringLiteral("الفكرون شغّال بالخلفية 👀"),
                              QStringLiteral("عشان توصلك التذكيرات ⏰ ترجّعه من قائمة البرامج أو بأمر fikranest"));
}
