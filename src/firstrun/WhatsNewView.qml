import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// What changed in this version.
Rectangle {
    id: view

    signal dismissRequested()

    objectName: "whatsNewView"
    color: AppPalette.blue50

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        Label {
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: 20
            text: "🎉"
            font.pixelSize: 56
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "وش الجديد؟"
            font.pixelSize: 28
            font.bold: true
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "الإصدار " + AppVersion.current("1.1")
            font.pixelSize: 15
            opacity: 0.6
        }
        Item {
            Layout.fillHeight: true
        }
        AppButton {
            Layout.fillWidth: true
            Layout.leftMargin: 20
            Layout.rightMargin: 20
            Layout.bottomMargin: 30
            topPadding: 16
            bottomPadding: 16
            text: "يلا نكمل! 🚀"
            font.pixelSize: 17
            font.bold: true
            contentItem: Label {
                text: parent.text
                font: parent.font
                color: "white"
                horizontalAlignment: Text.AlignHCenter
            }
            background: Rectangle {
                radius: 14
                color: AppPalette.blue600
            }
            onClicked: view.dismissRequested()
        }
    }
}
