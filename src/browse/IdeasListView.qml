import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The main list of ideas.
Rectangle {
    objectName: "ideasListView"
    color: AppPalette.blue50

    ColumnLayout {
        anchors.centerIn: parent
        spacing: 16

        Label {
            Layout.alignment: Qt.AlignHCenter
            text: "قائمة الأفكار"
            color: AppPalette.blue800
            font.pixelSize: 28
            font.bold: true
        }
        AppButton {
            Layout.alignment: Qt.AlignHCenter
            text: "فكرة جديدة"
            onClicked: captureSheet.open()
        }
    }

    SheetPopup {
        id: captureSheet

        objectName: "captureSheetPopup"
        content: Component {
            CaptureSheet {
                onDismissRequested: captureSheet.close()
            }
        }
    }
}
