import QtQuick
import QtQuick.Controls
import Fikranest

// The list's toolbar: the settings at the trailing edge.
Item {
    id: toolbar

    signal settingsRequested()

    height: Theme.toolbarHeight

    AppButton {
        objectName: "settingsButton"
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        flat: true
        Accessible.name: "الإعدادات"
        contentItem: SymbolIcon {
            name: "gearshape"
            size: Theme.title
            color: Theme.blue600
        }
        onClicked: toolbar.settingsRequested()
    }
}
