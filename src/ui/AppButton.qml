import QtQuick
import QtQuick.Controls
import Fikranest

// Every button of the program: pressable through the accessibility bus too, and ringed
// when the keyboard brings it the focus, whatever background it draws.
Button {
    id: button

    Accessible.onPressAction: if (enabled) clicked()

    // Inside the button, where no row or list clips it: blue shows on pale buttons,
    // the white line inside it on blue ones.
    Rectangle {
        id: ring

        anchors.fill: parent
        z: 1
        visible: button.visualFocus
        radius: button.background && button.background.radius !== undefined ? button.background.radius : 0
        color: "transparent"
        border.width: 2
        border.color: Theme.blue600

        Rectangle {
            anchors.fill: parent
            anchors.margins: 2
            radius: Math.max(0, ring.radius - 2)
            color: "transparent"
            border.width: 1
            border.color: Theme.white
        }
    }
}
