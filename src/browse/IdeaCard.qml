import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
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

    Rectangle {
        id: box

        anchors.fill: parent
        implicitHeight: content.implicitHeight + 28
        radius: 14
        color: "white"
        border.width: card.activeFocus ? 2 : 0
        border.color: AppPalette.blue600

        RowLayout {
            id: content

            anchors.fill: parent
            anchors.margins: 14
            spacing: 8

            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4

                Label {
                    Layout.fillWidth: true
                    text: card.title
                    font.pixelSize: 16
                    font.strikeout: card.isDone
                    color: card.isDone ? "#6B7280" : palette.windowText
                    elide: Text.ElideRight
                    maximumLineCount: 1
                    horizontalAlignment: Text.AlignLeft
                }
                Label {
                    id: createdText

                    text: DateTexts.relativeText(card.createdAt, DateTexts.now)
                    font.pixelSize: 12
                    color: "#9CA3AF"
                }
            }

            SymbolIcon {
                visible: card.hasReminder
                name: "bell.fill"
                size: 11
                color: "orange"
            }

            Label {
                text: card.category
                font.pixelSize: 12
                leftPadding: 8
                rightPadding: 8
                topPadding: 2
                bottomPadding: 2
                background: Rectangle {
                    radius: 6
                    readonly property color tint: AppPalette.categoryColor(card.category)
                    color: Qt.rgba(tint.r, tint.g, tint.b, 0.1)
                }
            }
        }
    }

    TapHandler {
        acceptedButtons: Qt.LeftButton
        onTapped: {
            card.forceActiveFocus()
            card.openRequested()
        }
    }
    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: eventPoint => card.openMenu(eventPoint.position.x, eventPoint.position.y)
    }

    Loader {
        id: menuLoader

        active: false
        sourceComponent: Menu {
            objectName: "cardMenu"
            width: 200
            background: Rectangle {
                radius: 10
                color: "white"
                border.color: "#E5E7EB"
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
