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

    readonly property color secondaryText: "#6B7280"
    readonly property color tertiaryText: "#9CA3AF"

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

        color: AppPalette.blue50
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

            // The toolbar.
            Item {
                id: toolbar

                anchors.top: parent.top
                anchors.left: parent.left
                anchors.right: parent.right
                height: 44

                AppButton {
                    objectName: "settingsButton"
                    anchors.right: parent.right
                    anchors.rightMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    flat: true
                    Accessible.name: "الإعدادات"
                    contentItem: SymbolIcon {
                        name: "gearshape"
                        size: 22
                        color: AppPalette.blue600
                    }
                    onClicked: settingsSheet.open()
                }
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
                spacing: 10
                bottomMargin: 96
                ScrollBar.vertical: ScrollBar {}

                header: ColumnLayout {
                    width: list.width
                    spacing: 0

                    Label {
                        Layout.leftMargin: 20
                        Layout.rightMargin: 20
                        text: listState.greeting
                        font.pixelSize: 28
                        font.bold: true
                    }
                    Label {
                        Layout.leftMargin: 20
                        Layout.rightMargin: 20
                        Layout.topMargin: 4
                        text: "يا " + AppSettings.userName + " 👋"
                        font.pixelSize: 15
                    }

                    Flickable {
                        Layout.fillWidth: true
                        Layout.topMargin: 16
                        Layout.bottomMargin: 12
                        implicitHeight: chips.implicitHeight
                        contentWidth: chips.implicitWidth + 40
                        flickableDirection: Flickable.HorizontalFlick
                        boundsBehavior: Flickable.StopAtBounds
                        clip: true

                        Row {
                            id: chips

                            x: 20
                            spacing: 8
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
                        spacing: 12

                        SymbolIcon {
                            Layout.alignment: Qt.AlignHCenter
                            name: "tray"
                            size: 48
                            color: stack.tertiaryText
                        }
                        Label {
                            Layout.alignment: Qt.AlignHCenter
                            text: "الفكرون فاضية!"
                            font.pixelSize: 20
                            font.bold: true
                        }
                        Label {
                            Layout.alignment: Qt.AlignHCenter
                            text: "اضغط + عشان تكب أول فكرة"
                            font.pixelSize: 15
                            color: stack.tertiaryText
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

                        x: 16
                        width: parent.width - 32
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
                            topPadding: 14
                            text: "✅ المنجز (" + row.model.doneCount + ")"
                            Accessible.name: text
                            onClicked: listState.showDoneSection = !listState.showDoneSection
                            // Anchored rather than laid out, so its height is known before
                            // the list places it.
                            contentItem: Item {
                                implicitHeight: doneLabel.implicitHeight
                                Label {
                                    id: doneLabel

                                    anchors.left: parent.left
                                    text: doneButton.text
                                    font.pixelSize: 15
                                    font.weight: Font.Medium
                                    color: stack.secondaryText
                                }
                                SymbolIcon {
                                    anchors.left: doneLabel.right
                                    anchors.leftMargin: 6
                                    anchors.verticalCenter: doneLabel.verticalCenter
                                    name: listState.showDoneSection ? "chevron.down" : "chevron.left"
                                    size: 12
                                    color: stack.secondaryText
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

            Label {
                objectName: "listError"
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: addButton.top
                anchors.bottomMargin: 12
                width: Math.min(implicitWidth, parent.width - 40)
                visible: listState.errorMessage !== ""
                text: listState.errorMessage
                wrapMode: Text.WordWrap
                font.pixelSize: 13
                color: "white"
                padding: 10
                background: Rectangle { radius: 12; color: "#DC2626" }
            }

            AppButton {
                id: addButton

                objectName: "addButton"
                anchors.horizontalCenter: parent.horizontalCenter
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 20
                horizontalPadding: 22
                verticalPadding: 14
                Accessible.name: "فكرة جديدة"
                Accessible.description: listState.fabText
                onClicked: captureSheet.open()

                Behavior on implicitWidth {
                    NumberAnimation { duration: 300; easing.type: Easing.InOutQuad }
                }
                contentItem: Row {
                    spacing: 8
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "plus.circle.fill"
                        size: 22
                        color: "white"
                    }
                    Label {
                        id: fabLabel

                        anchors.verticalCenter: parent.verticalCenter
                        text: listState.fabText
                        font.pixelSize: 16
                        font.bold: true
                        color: "white"
                        Behavior on text {
                            SequentialAnimation {
                                NumberAnimation { target: fabLabel; property: "opacity"; to: 0; duration: 150; easing.type: Easing.InOutQuad }
                                PropertyAction {}
                                NumberAnimation { target: fabLabel; property: "opacity"; to: 1; duration: 150; easing.type: Easing.InOutQuad }
                            }
                        }
                    }
                }
                background: Rectangle {
                    radius: height / 2
                    color: AppPalette.blue600
                }
            }

            // The congratulation toast, just under the top edge.
            Item {
                id: toast

                readonly property bool shown: listState.showDoneToast

                anchors.horizontalCenter: parent.horizontalCenter
                width: toastLabel.implicitWidth
                height: toastLabel.implicitHeight
                y: shown ? 8 : -height - 12
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
                    anchors.topMargin: 4
                    anchors.bottomMargin: -4
                    radius: 16
                    color: Qt.rgba(0.2, 0.78, 0.35, 0.3)
                }
                Label {
                    id: toastLabel

                    objectName: "doneToast"
                    text: listState.doneToastMessage
                    leftPadding: 20
                    rightPadding: 20
                    topPadding: 14
                    bottomPadding: 14
                    font.pixelSize: 15
                    color: "white"
                    background: Rectangle { radius: 16; color: "#34C759" }
                }
            }
        }
    }

    SheetPopup {
        id: captureSheet

        objectName: "captureSheetPopup"
        source: "CaptureSheet.qml"
    }

    SheetPopup {
        id: settingsSheet

        objectName: "settingsSheetPopup"
        source: "SettingsView.qml"
    }
}
