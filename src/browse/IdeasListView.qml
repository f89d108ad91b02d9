import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The main screen: greeting, filters, the ideas as cards, the done section, the add
// button and the congratulation toast. A card opens its detail view on top; coming
// back finds the list as it was left.
StackView {
    id: stack

    objectName: "ideasListView"

    // The new-idea sheet and the settings: other screens, whose files the window names.
    property url captureSheetSource
    property url settingsSheetSource

    function openDetail(recordId, ideaId) {
        // A card still sliding out has no record behind it any more. The view is compiled
        // when first opened, not with the list.
        if (ideaId !== undefined && stack.depth === 1)
            stack.push(Qt.resolvedUrl("IdeaDetailView.qml"), {recordId: recordId, ideaId: ideaId})
                .dismissRequested.connect(() => stack.pop())
    }

    // The sheet asked for from outside (the command line), over whatever was showing.
    function takeNewIdeaRequest() {
        if (!AppEvents.takeNewIdeaRequest())
            return
        stack.pop(null, StackView.Immediate)
        settingsSheet.close()
        captureSheet.open()
    }
    Component.onCompleted: takeNewIdeaRequest()

    // An idea picked elsewhere (the tray panel) opens over whatever detail was showing.
    function showIdea(recordId, ideaId) {
        stack.pop(null, StackView.Immediate)
        openDetail(recordId, ideaId)
    }

    Connections {
        target: AppEvents
        function onOpenIdeaRequested(recordId, ideaId) { stack.showIdea(recordId, ideaId) }
        function onNewIdeaRequested() { stack.takeNewIdeaRequest() }
    }

    IdeasListState {
        id: listState
    }

    initialItem: Rectangle {
        id: page

        color: Theme.blue50
        StackView.onActivated: listState.appear()

        Shortcut {
            sequences: [StandardKey.New]
            enabled: page.StackView.status === StackView.Active
            onActivated: {
                LatencyTrace.begin("sheet")
                captureSheet.open()
            }
        }
        Shortcut {
            sequences: ["Ctrl+,"]
            enabled: page.StackView.status === StackView.Active
            onActivated: settingsSheet.open()
        }

        // A sheet covers the whole window; hiding what is under it keeps the screen
        // reader and the keyboard out of it too.
        Item {
            anchors.fill: parent
            visible: !captureSheet.visible && !settingsSheet.visible

            IdeasListToolbar {
                id: toolbar

                anchors.top: parent.top
                anchors.left: parent.left
                anchors.right: parent.right
                onSettingsRequested: settingsSheet.open()
            }

            ListView {
                id: list

                objectName: "ideasList"

                // Scrolls a card that took the keyboard focus into sight, clear of the add button.
                function reveal(item) {
                    if (item.y < contentY)
                        contentY = item.y - spacing
                    else if (item.y + item.height > contentY + height - bottomMargin)
                        contentY = item.y + item.height - height + bottomMargin
                }

                anchors.top: toolbar.bottom
                anchors.left: parent.left
                anchors.right: parent.right
                anchors.bottom: parent.bottom
                clip: true
                model: listState.rows
                spacing: Theme.spacingM
                bottomMargin: 96
                ScrollBar.vertical: ScrollBar {}

                header: ColumnLayout {
                    width: list.width
                    spacing: 0

                    Label {
                        textFormat: Text.PlainText
                        Layout.leftMargin: Theme.margin
                        Layout.rightMargin: Theme.margin
                        text: listState.greeting
                        font.pixelSize: Theme.largeTitle
                        font.bold: true
                    }
                    Label {
                        textFormat: Text.PlainText
                        Layout.leftMargin: Theme.margin
                        Layout.rightMargin: Theme.margin
                        Layout.topMargin: Theme.spacingXXS
                        Layout.fillWidth: true
                        wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                        text: "يا " + AppSettings.userName + " 👋"
                        font.pixelSize: Theme.callout
                    }

                    Flickable {
                        id: chipRow

                        Layout.fillWidth: true
                        Layout.topMargin: Theme.spacingXXL
                        Layout.bottomMargin: Theme.spacingL
                        implicitHeight: chips.implicitHeight
                        contentWidth: Math.max(width, chips.implicitWidth + 2 * Theme.margin)
                        // A flickable is never mirrored: the row is put at the right edge by
                        // hand, where it starts, and that end is the one shown first.
                        onContentWidthChanged: contentX = contentWidth - width
                        onWidthChanged: contentX = contentWidth - width
                        flickableDirection: Flickable.HorizontalFlick
                        boundsBehavior: Flickable.StopAtBounds
                        clip: true

                        Row {
                            id: chips

                            x: chipRow.contentWidth - width - Theme.margin
                            spacing: Theme.spacingS
                            Repeater {
                                model: listState.categories
                                Chip {
                                    required property string modelData
                                    text: modelData
                                    selected: listState.selectedCategory === modelData
                                    selectionAnimationMs: 200
                                    onClicked: listState.selectedCategory = modelData
                                }
                            }
                        }
                    }

                    ColumnLayout {
                        objectName: "emptyState"
                        visible: listState.activeIdeas.count === 0
                        Layout.alignment: Qt.AlignHCenter
                        Layout.topMargin: 60
                        Layout.bottomMargin: 60
                        spacing: Theme.spacingL

                        SymbolIcon {
                            Layout.alignment: Qt.AlignHCenter
                            name: "tray"
                            size: Theme.display
                            color: Theme.tertiaryText
                        }
                        Label {
                            Layout.alignment: Qt.AlignHCenter
                            text: "الفكرون فاضية!"
                            font.pixelSize: Theme.title2
                            font.bold: true
                        }
                        Label {
                            Layout.alignment: Qt.AlignHCenter
                            text: "اضغط + عشان تكب أول فكرة"
                            font.pixelSize: Theme.callout
                            color: Theme.tertiaryText
                        }
                    }
                }

                delegate: Item {
                    id: row

                    required property var model

                    width: ListView.view.width
                    implicitHeight: loader.implicitHeight

                    Loader {
                        id: loader

                        x: Theme.spacingXXL
                        width: parent.width - 2 * Theme.spacingXXL
                        sourceComponent: row.model.kind === "doneHeader" ? doneHeader : card
                    }

                    Component {
                        id: card
                        IdeaCard {
                            title: row.model.title
                            category: row.model.category
                            hasReminder: row.model.hasReminder
                            createdAt: row.model.createdAt
                            isDone: row.model.isDone
                            onOpenRequested: stack.openDetail(row.model.recordId, row.model.ideaId)
                            onMarkDoneRequested: listState.markDone(row.model.recordId, row.model.ideaId)
                            onReturnRequested: listState.returnToActive(row.model.recordId, row.model.ideaId)
                            onDeleteRequested: listState.remove(row.model.recordId, row.model.ideaId)
                            onActiveFocusChanged: if (activeFocus) list.reveal(row)
                            Keys.onDownPressed: nextItemInFocusChain(true).forceActiveFocus()
                            Keys.onUpPressed: nextItemInFocusChain(false).forceActiveFocus()
                        }
                    }

                    Component {
                        id: doneHeader
                        AppButton {
                            id: doneButton

                            objectName: "doneHeader"
                            flat: true
                            topPadding: Theme.spacingXL
                            text: "✅ المنجز (" + row.model.doneCount + ")"
                            Accessible.name: text
                            onClicked: listState.showDoneSection = !listState.showDoneSection
                            // Anchored rather than laid out, so its height is known before
                            // the list places it.
                            contentItem: Item {
                                implicitHeight: doneLabel.implicitHeight
                                Label {
                                    id: doneLabel

                                    textFormat: Text.PlainText
                                    anchors.left: parent.left
                                    text: doneButton.text
                                    font.pixelSize: Theme.callout
                                    font.weight: Font.Medium
                                    color: Theme.secondaryText
                                }
                                SymbolIcon {
                                    anchors.left: doneLabel.right
                                    anchors.leftMargin: Theme.spacingXS
                                    anchors.verticalCenter: doneLabel.verticalCenter
                                    name: listState.showDoneSection ? "chevron.down" : "chevron.left"
                                    size: Theme.caption
                                    color: Theme.secondaryText
                                }
                            }
                            background: null
                        }
                    }
                }

                // Cards slide in from the leading edge and out past the trailing one,
                // fading as they go; the others make room.
                add: Transition {
                    ParallelAnimation {
                        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 250; easing.type: Easing.InOutQuad }
                        NumberAnimation { property: "x"; from: list.width / 3; to: 0; duration: 250; easing.type: Easing.InOutQuad }
                    }
                }
                remove: Transition {
                    ParallelAnimation {
                        NumberAnimation { property: "opacity"; to: 0; duration: 250; easing.type: Easing.InOutQuad }
                        NumberAnimation { property: "x"; to: -list.width / 3; duration: 250; easing.type: Easing.InOutQuad }
                    }
                }
                displaced: Transition {
                    NumberAnimation { properties: "x,y"; duration: 250; easing.type: Easing.InOutQuad }
                    NumberAnimation { property: "opacity"; to: 1; duration: 250 }
                }
            }

            ErrorLine {
                objectName: "listError"
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: addButton.top
                anchors.bottomMargin: Theme.spacingL
                width: Math.min(implicitWidth, parent.width - 2 * Theme.margin)
                boxed: true
                text: listState.errorMessage
            }

            AddIdeaButton {
                id: addButton

                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                anchors.bottomMargin: Theme.margin
                text: listState.fabText
                onClicked: captureSheet.open()
            }

            CongratulationToast {
                anchors.horizontalCenter: parent.horizontalCenter
                shown: listState.showDoneToast
                text: listState.doneToastMessage
            }
        }
    }

    SheetPopup {
        id: captureSheet

        objectName: "captureSheetPopup"
        source: stack.captureSheetSource
    }

    SheetPopup {
        id: settingsSheet

        objectName: "settingsSheetPopup"
        source: stack.settingsSheetSource
    }
}
