import QtQuick
import QtQuick.Controls
import Fikranest

// One idea as a row of the list. Its actions live in a context menu: right click,
// the Menu key or Shift+F10; a click or Return opens it.
FocusScope {
    id: card

    required property string title
    required property string category
    required property bool hasReminder
    required property var createdAt
    property bool isDone: false

    signal openRequested()
    signal markDoneRequested()
    signal returnRequested()
    signal deleteRequested()

    // Right to left, the menu opens towards the left of where it was asked for. It is
    // made on first use: most cards never show one, and a list builds many cards.
    function openMenu(x, y) {
        menuLoader.active = true
        const menu = menuLoader.item
        menu.popup(card, Math.max(0, x - menu.width), y)
    }

    implicitHeight: box.implicitHeight
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.description: category + "، " + createdText.text
    Accessible.onPressAction: openRequested()

    Keys.onReturnPressed: openRequested()
    Keys.onEnterPressed: openRequested()
    Keys.onMenuPressed: openMenu(width / 2, height / 2)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_F10 && (event.modifiers & Qt.ShiftModifier)) {
            openMenu(width / 2, height / 2)
            event.accepted = true
        }
    }

    // Plain texts and anchors rather than controls and layouts: a list builds many of these.
    Rectangle {
        id: box

        anchors.fill: parent
        implicitHeight: Math.max(texts.implicitHeight, chip.height) + 2 * Theme.spacingXL
        radius: Theme.radiusXL
        color: Theme.white
        border.width: card.activeFocus ? 2 : 0
        border.color: Theme.blue600

        // Anchors, not positioners: a positioner's size settles a frame late, after the
        // list has placed the card.
        Item {
            id: texts

            anchors.left: parent.left
            anchors.right: bell.visible ? bell.left : chip.left
            anchors.leftMargin: Theme.spacingXL
            anchors.rightMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            implicitHeight: titleText.implicitHeight + Theme.spacingXXS + createdText.implicitHeight

            Text {
                id: titleText

                width: parent.width
                text: card.title
                textFormat: Text.PlainText
                font.pixelSize: Theme.body
                font.strikeout: card.isDone
                color: card.isDone ? Theme.secondaryText : Theme.primaryText
                elide: Text.ElideRight
                maximumLineCount: 1
                horizontalAlignment: Text.AlignLeft
            }
            Text {
                id: createdText

                textFormat: Text.PlainText
                anchors.top: titleText.bottom
                anchors.topMargin: Theme.spacingXXS
                width: parent.width
                horizontalAlignment: Text.AlignLeft
                text: DateTexts.relativeText(card.createdAt, DateTexts.now)
                font.pixelSize: Theme.caption
                color: Theme.tertiaryText
                Accessible.name: text
            }
        }

        SymbolIcon {
            id: bell

            anchors.right: chip.left
            anchors.rightMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            visible: card.hasReminder
            name: "bell.fill"
            size: Theme.caption2
            color: Theme.orange
        }
        Rectangle {
            id: chip

            readonly property color tint: Theme.categoryColor(card.category)

            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingXL
            anchors.verticalCenter: parent.verticalCenter
            width: chipText.implicitWidth + 2 * Theme.spacingS
            height: chipText.implicitHeight + 2 * Theme.spacingXXXS
            radius: 6
            color: Theme.faded(tint, 0.1)
            Text {
                id: chipText

                textFormat: Text.PlainText
                anchors.centerIn: parent
                text: card.category
                font.pixelSize: Theme.caption
                color: Theme.primaryText
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        onClicked: mouse => {
            if (mouse.button === Qt.RightButton) {
                card.openMenu(mouse.x, mouse.y)
            } else {
                card.forceActiveFocus()
                card.openRequested()
            }
        }
    }

    Loader {
        id: menuLoader

        active: false
        sourceComponent: Menu {
            objectName: "cardMenu"
            width: 200
            background: Rectangle {
                radius: Theme.radiusM
                color: Theme.white
                border.color: Theme.separator
            }

            SymbolMenuItem {
                text: card.isDone ? "إرجاع للنشطة" : "تم الإنجاز"
                symbol: card.isDone ? "arrow.uturn.backward" : "checkmark.circle"
                onTriggered: card.isDone ? card.returnRequested() : card.markDoneRequested()
            }
            SymbolMenuItem {
                text: "حذف"
                symbol: "trash"
                destructive: true
                onTriggered: card.deleteRequested()
            }
        }
    }
}
