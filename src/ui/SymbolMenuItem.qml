import QtQuick
import QtQuick.Controls
import Fikranest

// A menu entry with a system symbol before its text; destructive ones are red.
MenuItem {
    id: item

    property string symbol
    property bool destructive: false

    // Menus open in the overlay, outside the window's mirrored content.
    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true
    Accessible.name: text
    Accessible.onPressAction: clicked()

    contentItem: Row {
        spacing: Theme.spacingS
        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            name: item.symbol
            size: Theme.title3
            color: label.color
        }
        Label {
            id: label

            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            text: item.text
            font.pixelSize: Theme.subheadline
            color: item.destructive ? Theme.red : item.palette.windowText
        }
    }
}
