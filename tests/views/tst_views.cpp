#include "AppLinks.h"
#include "AppSettings.h"
#include "FikranestApp.h"
#include "IdeaStore.h"
#include "SyncStatus.h"
#include "TestFolders.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QJSEngine>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(FikranestPlugin)

// The links the views would have opened.
class ViewTestHooks : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<QUrl> openedLinks MEMBER m_openedLinks NOTIFY openedLinksChanged)

public:
    ViewTestHooks()
    {
        AppLinks::setOpener([this](const QUrl &url) {
            m_openedLinks.append(url);
            emit openedLinksChanged();
            return true;
        });
    }
    ~ViewTestHooks() override { AppLinks::setOpener({}); }

signals:
    void openedLinksChanged();

private:
    QList<QUrl> m_openedLinks;
};

// Gives the views what the running program gives them: a store of their own, the
// sync state and the settings, all in temporary folders.
class ViewTestSetup : public QObject
{
    Q_OBJECT

public slots:
    void qmlEngineAvailable(QQmlEngine *engine) { engine->addImportPath(QStringLiteral("qrc:/")); }

    void applicationAvailable()
    {
        QCoreApplication::setApplicationVersion("1.1");
        FikranestApp::prepare(*qGuiApp);
        IdeaStore::Opening opening = IdeaStore::open(IdeaStore::defaultPath());
        m_store = std::move(opening.store);
        IdeaStore::setShared(m_store.get());
        m_syncStatus = std::make_unique<SyncStatus>(SyncStatus::Mode::localOnly(SyncStatus::entitlementMissing()));
        SyncStatus::setShared(m_syncStatus.get());
        m_hooks = std::make_unique<ViewTestHooks>();
        // Each test file has an engine of its own; all of them share these hooks.
        qmlRegisterSingletonType<ViewTestHooks>("ViewTests", 1, 0, "ViewTests", [this](QQmlEngine *, QJSEngine *) {
            QJSEngine::setObjectOwnership(m_hooks.get(), QJSEngine::CppOwnership);
            return m_hooks.get();
        });
    }

private:
    TestFolders m_folders;
    std::unique_ptr<IdeaStore> m_store;
    std::unique_ptr<SyncStatus> m_syncStatus;
    std::unique_ptr<ViewTestHooks> m_hooks;
};

QUICK_TEST_MAIN_WITH_SETUP(views, ViewTestSetup)
#include "tst_views.moc"
