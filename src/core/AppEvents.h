#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <utility>

class QJSEngine;
class QQmlEngine;

// Process-wide announcements, posted by name with no sender.
class AppEvents : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static AppEvents &instance();
    static AppEvents *create(QQmlEngine *, QJSEngine *);

    Q_INVOKABLE void postOpenMainWindow() { emit openMainWindowRequested(); }
    Q_INVOKABLE void postIdeaMarkedDone() { emit ideaMarkedDone(); }
    // Shows the window with this id ("main"), raised and active; never a second one.
    Q_INVOKABLE void openWindow(const QString &id) { emit windowRequested(id); }
    Q_INVOKABLE void postOpenIdea(qint64 recordId, const QString &ideaId) { emit openIdeaRequested(recordId, ideaId); }
    void postNewIdea()
    {
        m_newIdeaWaiting = true;
        emit newIdeaRequested();
    }
    // True once per request, for the list that takes it first: now, or when it appears.
    Q_INVOKABLE bool takeNewIdeaRequest() { return std::exchange(m_newIdeaWaiting, false); }
    Q_INVOKABLE void checkForUpdates() { emit updateCheckRequested(); }

signals:
    // "FikranestOpenMainWindow"
    void openMainWindowRequested();
    void ideaMarkedDone();
    void windowRequested(const QString &id);
    // An idea picked outside the main window, to be shown in its detail view there.
    void openIdeaRequested(qint64 recordId, const QString &ideaId);
    // The new-idea sheet asked for from outside the window (the command line).
    void newIdeaRequested();
    // The person asked whether a newer release is out; the updater is loaded only then.
    void updateCheckRequested();

private:
    AppEvents() = default;

    bool m_newIdeaWaiting = false;
};
