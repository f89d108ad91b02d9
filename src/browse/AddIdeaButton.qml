import QtQuick
import QtQuick.Controls
import Fikranest

// The round button floating over the list that opens the new-idea sheet. Its text
// changes now and then, fading out and back in while the button eases to its new width.
AppButton {
    id: button

    objectName: "addButton"
    horizontalPadding: 22
    verticalPadding: Theme.spacingXL
    Accessible.name: "فكرة جديدة"
    Accessible.description: text

    Behavior on implicitWidth {
        NumberAnimation { duration: 300; easing.type: Easing.InOutQuad }
    }
    contentItem: Row {
        spacing: Theme.spacingS
        SymbolIcon {
            anchors.verticalCenter: parent.verticalCenter
            name: "plus.circle.fill"
            size: Theme.title
            color: Theme.white
        }
        Label {
            id: label

            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            font.pixelSize: Theme.body
            font.bold: true
            color: Theme.white
            Behavior on text {
                SequentialAnimation {
                    NumberAnimation { target: label; property: "opacity"; to: 0; duration: 150; easing.type: Easing.InOutQuad }
                    PropertyAction {}
                    // Back only once the button has its new width, so no letter shows outside it.
                    PauseAnimation { duration: 300 }
                    NumberAnimation { target: label; property: "opacity"; to: 1; duration: 150; easing.type: Easing.InOutQuad }
                }
            }
        }
    }
    background: Rectangle {
        radius: height / 2
        color: Theme.blue600
    }
}
