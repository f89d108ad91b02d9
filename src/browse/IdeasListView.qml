import QtQuick
import QtQuick.Controls
import Fikranest

// The main list of ideas.
Rectangle {
    objectName: "ideasListView"
    color: AppPalette.blue50

    Label {
        anchors.centerIn: parent
        text: "قائمة الأفكار"
        color: AppPalette.blue800
        font.pixelSize: 28
        font.bold: true
    }
}
