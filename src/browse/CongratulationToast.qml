import QtQuick
import QtQuick.Controls
import Fikranest

// The congratulation for an idea marked done: it drops in just under the top edge
// while shown, and slides back up out of sight.
Item {
    id: toast

    property bool shown: false
    property alias text: toastLabel.text

    width: toastLabel.implicitWidth
    height: toastLabel.implicitHeight
    y: shown ? Theme.spacingS : -height - Theme.spacingL
    opacity: shown ? 1 : 0
    visible: opacity > 0
    Behavior on y {
        NumberAnimation { duration: toast.shown ? 400 : 300; easing.type: toast.shown ? Easing.OutCubic : Easing.OutQuad }
    }
    Behavior on opacity {
        NumberAnimation { duration: toast.shown ? 400 : 300; easing.type: toast.shown ? Easing.OutCubic : Easing.OutQuad }
    }

    // A soft green shadow, drawn without effects so the software renderer shows it.
    Rectangle {
        anchors.fill: parent
        anchors.topMargin: Theme.spacingXXS
        anchors.bottomMargin: -Theme.spacingXXS
        radius: Theme.radiusXXL
        color: Theme.faded(Theme.green, 0.3)
    }
    Label {
        id: toastLabel

        objectName: "doneToast"
        leftPadding: Theme.margin
        rightPadding: Theme.margin
        topPadding: Theme.spacingXL
        bottomPadding: Theme.spacingXL
        font.pixelSize: Theme.callout
        color: Theme.white
        background: Rectangle { radius: Theme.radiusXXL; color: Theme.green }
    }
}
