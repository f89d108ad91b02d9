// bench/startup's "reference" subject: the least any program on this stack pays for
// what Fikranest's first frame shows. A widgets application (for the tray icon) with
// Fikranest's fonts and direction, and a Qt Quick Controls window of twenty Arabic
// cards and two buttons.
#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QSystemTrayIcon>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    QFont font = application.font();
    font.setFamilies({QStringLiteral("Noto Sans Arabic"), QStringLiteral("Noto Sans"),
                      QStringLiteral("Noto Color Emoji")});
    application.setFont(font);
    application.setLayoutDirection(Qt::RightToLeft);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    QPixmap dot(22, 22);
    dot.fill(QColor(0x25, 0x63, 0xEB));
    QSystemTrayIcon tray{QIcon(dot)};
    tray.show();
    QQmlApplicationEngine engine;
    engine.loadData(R"QML(
import QtQuick
import QtQuick.Controls
ApplicationWindow {
    title: "reference"; width: 440; height: 720; visible: true; color: "#EFF6FF"
    LayoutMirroring.enabled: true; LayoutMirroring.childrenInherit: true
    Button { id: settings; anchors.right: parent.right; anchors.margins: 8; y: 4; flat: true; text: "الإعدادات" }
    ListView {
        anchors.fill: parent; anchors.topMargin: 48; anchors.leftMargin: 16; anchors.rightMargin: 16
        spacing: 10; bottomMargin: 80; model: 20
        delegate: Rectangle {
            width: ListView.view.width; height: 72; radius: 14; color: "white"
            Text { x: 14; y: 14; width: parent.width - 100; elide: Text.ElideRight; font.pixelSize: 16
                   color: "#1F2937"; text: "فكرة رقم " + index + " عن مشروع جديد 💡" }
            Text { x: 14; y: 40; font.pixelSize: 12; color: "#9CA3AF"; text: "قبل " + (index + 2) + " ساعات" }
            Rectangle { anchors.right: parent.right; anchors.rightMargin: 14; anchors.verticalCenter: parent.verticalCenter
                        width: chip.implicitWidth + 16; height: chip.implicitHeight + 4; radius: 6; color: "#E0E7FF"
                        Text { id: chip; anchors.centerIn: parent; font.pixelSize: 11; color: "#2563EB"
                               text: ["فكرة", "مهمة", "ملاحظة"][index % 3] } }
        }
    }
    Button { anchors.horizontalCenter: parent.horizontalCenter; anchors.bottom: parent.bottom; anchors.bottomMargin: 20
             text: "فكرة جديدة ➕"; font.pixelSize: 16; font.bold: true }
}
)QML");
    return application.exec();
}
