#pragma once

#include "CloudProbes.h"
#include "CommandLine.h"
#include "SingleInstance.h"
#include "StoreContainer.h"

#include <QObject>
#include <QPointer>

#include <memory>

class ClockChangeWatcher;
class IdeaActions;
class DesktopNotificationCenter;
class MenuBarExtra;
class QGuiApplication;
class QQmlEngine;
#include <QQuickWindow>

// The running program: the store, the sync state, the main window and the tray.
class FikranestApp : public QObject
{
    Q_OBJECT

public:
    explicit FikranestApp(std::unique_ptr<CloudProbes> probes, QObject *parent = nullptr);
    ~FikranestApp() override;

    // Fonts, direction and look shared by the program and the view tests.
    static void prepare(QGuiApplication &application);

    // Opens the store and builds the surfaces. False when the store cannot be
    // opened; `failure()` then says why, and nothing was written.
    bool start(bool background);
    QString failure() const { return m_container.failure; }

    IdeaStore *store() const { return m_container.store.get(); }
    SyncStatus *syncStatus() const { return m_container.syncStatus.get(); }
    QQuickWindow *mainWindow() const { return m_mainWindow; }
    MenuBarExtra *menuBarExtra() const { return m_menuBar.get(); }

    // What a launch asked for, this one's or a later one's, answered through `reply` when
    // it is done (a sync answers once its pass ends).
    void handle(const CommandLine &line, const SingleInstance::Reply &reply = {});
    // Stores the idea a command line carries, as the sheet would without a reminder.
    static bool addIdea(IdeaStore &store, const CommandLine &line);

    // Shows the window with this id ("main"), raised and active; never a second one.
    void openWindow(const QString &id);

private:
    void afterFirstFrame();
    void mainWindowHidden();

    std::unique_ptr<CloudProbes> m_probes;
    StoreContainer m_container;
    std::unique_ptr<DesktopNotificationCenter> m_notifications;
    std::unique_ptr<ClockChangeWatcher> m_clockWatcher;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<MenuBarExtra> m_menuBar;
    std::unique_ptr<IdeaActions> m_syncWriter;
    QPointer<QQuickWindow> m_mainWindow;
    bool m_toldHowToComeBack = false;
    bool m_iconsShown = false;
};
