#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

Q_IMPORT_QML_PLUGIN(FikranestPlugin)

// The program's QML module lives in its resources.
class ViewTestSetup : public QObject
{
    Q_OBJECT

public slots:
    void qmlEngineAvailable(QQmlEngine *engine) { engine->addImportPath(QStringLiteral("qrc:/")); }
};

QUICK_TEST_MAIN_WITH_SETUP(views, ViewTestSetup)
#include "tst_views.moc"
