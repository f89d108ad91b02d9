import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The program's alert: white and rounded over the page, its title, a few words, and its
// buttons side by side in the palette's blue, the destructive one red. Escape cancels.
Dialog {
    id: alert

    property string message
    // Empty for an alert with a single button.
    property string cancelText
    property string confirmText: "حسناً"
    property bool destructive: false

    signal confirmed()

    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(300, parent ? parent.width - 2 * Theme.margin : 300)
    modal: true
    padding: Theme.margin
    topPadding: title !== "" ? Theme.spacingS : Theme.margin

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 300; easing.type: Easing.InOutQuad }
    }
    background: Rectangle {
        radius: Theme.radiusXL
        color: Theme.white
    }
    header: Label {
        visible: alert.title !== ""
        topPadding: Theme.margin
        textFormat: Text.PlainText
        text: alert.title
        horizontalAlignment: Text.AlignHCenter
        font.pixelSize: Theme.headline
        font.bold: true
    }
    contentItem: Label {
        textFormat: Text.PlainText
        text: alert.message
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        font.pixelSize: Theme.subheadline
    }
    // Mirrored by hand: a popup's items do not take the page's direction. Cancel sits at
    // the right, where the reading starts.
    footer: RowLayout {
        LayoutMirroring.enabled: true
        LayoutMirroring.childrenInherit: true
        spacing: Theme.spacingM

        component AlertButton: AppButton {
            id: choice

            property color tint: Theme.blue600

            Layout.fillWidth: true
            Layout.bottomMargin: Theme.margin
            font.pixelSize: Theme.callout
            Accessible.name: text
            contentItem: Label {
                textFormat: Text.PlainText
                text: choice.text
                font: choice.font
                color: choice.tint
                horizontalAlignment: Text.AlignHCenter
            }
            background: Rectangle {
                radius: Theme.radiusM
                color: Theme.faded(choice.tint, choice.down ? 0.2 : 0.1)
            }
        }

        AlertButton {
            visible: alert.cancelText !== ""
            Layout.leftMargin: Theme.margin
            text: alert.cancelText
            onClicked: alert.close()
        }
        AlertButton {
            Layout.rightMargin: Theme.margin
            Layout.leftMargin: alert.cancelText === "" ? Theme.margin : 0
            text: alert.confirmText
            font.bold: true
            tint: alert.destructive ? Theme.red : Theme.blue600
            onClicked: {
                alert.close()
                alert.confirmed()
            }
        }
    }
}
