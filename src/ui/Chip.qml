import QtQuick
import QtQuick.Controls
import Fikranest

// A pick-one chip: strong blue with white text when chosen, pale blue otherwise.
AppButton {
    id: chip

    property bool selected: false
    property string emoji: ""
    property real radius: Theme.radiusL
    // How long the fill takes to follow a change of choice; 0 switches at once.
    property int selectionAnimationMs: 0

    font.pixelSize: Theme.subheadline
    horizontalPadding: Theme.spacingXL
    verticalPadding: Theme.spacingS
    Accessible.name: text

    contentItem: Row {
        spacing: Theme.spacingXXS
        Label {
            textFormat: Text.PlainText
            visible: chip.emoji !== ""
            text: chip.emoji
            font: chip.font
        }
        Label {
            textFormat: Text.PlainText
            text: chip.text
            font: chip.font
            color: chip.selected ? Theme.white : chip.palette.windowText
            Behavior on color {
                enabled: chip.selectionAnimationMs > 0
                ColorAnimation { duration: chip.selectionAnimationMs; easing.type: Easing.InOutQuad }
            }
        }
    }
    background: Rectangle {
        radius: chip.radius
        color: chip.selected ? Theme.blue600 : Theme.blue50
        Behavior on color {
            enabled: chip.selectionAnimationMs > 0
            ColorAnimation { duration: chip.selectionAnimationMs; easing.type: Easing.InOutQuad }
        }
    }
}
