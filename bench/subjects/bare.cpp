// The least a Qt Quick window with one Arabic line costs: bench/startup's "bare" subject.
#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char *argv[])
{
    QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData("import QtQuick\n"
                    "Window { title: \"bare\"; width: 440; height: 720; visible: true\n"
                    "    Text { anchors.centerIn: parent; text: \"الفكرون\" } }");
    return application.exec();
}
