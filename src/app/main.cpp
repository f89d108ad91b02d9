#include "CloudProbes.h"
#include "FikranestApp.h"
#include "SingleInstance.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>

Q_IMPORT_QML_PLUGIN(FikranestPlugin)

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    application.setOrganizationName(QStringLiteral("Fikranest"));
    application.setApplicationName(QStringLiteral("Fikranest"));
    application.setApplicationDisplayName(QStringLiteral("الفكرون"));
    application.setApplicationVersion(QStringLiteral(FIKRANEST_VERSION));
    application.setDesktopFileName(QStringLiteral("fikranest"));
    // Closing the main window leaves the program in the tray.
    application.setQuitOnLastWindowClosed(false);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("الفكرون: كب فكرتك قبل لا تطير"));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption background(QStringLiteral("background"),
                                        QStringLiteral("Start in the tray without opening the main window."));
    parser.addOption(background);
    parser.process(application);

    SingleInstance instance;
    switch (instance.claim(application.arguments().mid(1))) {
    case SingleInstance::Role::handedOver:
        return 0;
    case SingleInstance::Role::failed:
        std::fprintf(stderr, "fikranest: cannot reach the running instance: %s\n",
                     qPrintable(instance.errorString()));
        return 1;
    case SingleInstance::Role::primary:
        break;
    }

    FikranestApp::prepare(application);
    const QString storePath = IdeaStore::defaultPath();
    FikranestApp app(std::make_unique<LocalCloudProbes>(storePath));
    if (!app.start(parser.isSet(background))) {
        if (!app.failure().isEmpty())
            std::fprintf(stderr, "fikranest: cannot open the ideas store %s: %s\n", qPrintable(storePath),
                         qPrintable(app.failure()));
        return 1;
    }
    QObject::connect(&instance, &SingleInstance::argumentsReceived, &app, &FikranestApp::handleArguments);
    return application.exec();
}
