import QtQuick
import QtQuick.Controls
import Fikranest

// A pick-one chip: strong blue with white text when chosen, pale blue otherwise.
AppButton {
    id: chip

    property bool selected: false
    property string emoji: ""
    property real radius: 12
    // How long the fill takes to follow a change of choice; 0 switches at once.
    property int selectionAnimationMs: 0

    font.pixelSize: 14
    horizontalPadding: 14
    verticalPadding: 8
    Accessible.name: text

    contentItem: Row {
        spacing: 4
        Label {
            visible: chip.emoji !== ""
            text: chip.emoji
            font: chip.font
        }
        Label {
            text: chip.text
            font: chip.font
            color: chip.selected ? "white" : chip.palette.windowText
            Behavior on color {
                enabled: chip.selectionAnimationMs > 0
                ColorAnimation { duration: chip.selectionAnimationMs; easing.type: Easing.InOutQuad }
            }
        }
    }
    background: Rectangle {
        radius: chip.radius
        color: chip.selected ? AppPalette.blue600 : AppPalette.blue50
        Behavior on color {
            enabled: chip.selectionAnimationMs > 0
            ColorAnimation { duration: chip.selectionAnimationMs; easing.type: Easing.InOutQuad }
        }
    }
}
