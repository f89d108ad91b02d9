import QtQuick
import Fikranest

// A symbol centred in a 24-px frame, so the texts beside a column of them line up.
Item {
    property alias name: symbol.name
    property alias size: symbol.size
    property alias color: symbol.color

    implicitWidth: 24
    implicitHeight: symbol.implicitHeight
    SymbolIcon {
        id: symbol
        anchors.centerIn: parent
        size: Theme.body
        color: Theme.primaryText
    }
}
