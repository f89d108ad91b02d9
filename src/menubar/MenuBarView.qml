import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The tray panel.
Pane {
    id: panel

    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true
    width: 280
    padding: 16
    background: Rectangle { color: "white" }

    // Asks the window around it to go away, once the main window has what was picked.
    signal dismissRequested()

    MenuBarModel {
        id: menuModel
    }

    // A first run asks for the main window through here.
    Connections {
        target: AppEvents
        function onOpenMainWindowRequested() { FikranestApp.openWindow("main") }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        RowLayout {
            Layout.fillWidth: true
            ColumnLayout {
                spacing: 2
                Label {
                    text: "الفكرون 🗑️"
                    font.pixelSize: 16
                    font.bold: true
                }
                Label {
                    text: "كب فكرتك!"
                    font.pixelSize: 12
                    opacity: 0.6
                }
            }
            Item { Layout.fillWidth: true }
            SymbolIcon {
                name: SyncStatus.isCloudKit ? "icloud.fill" : "icloud.slash"
                size: 12
                color: AppPalette.blue600
                ToolTip.visible: syncHover.hovered
                ToolTip.text: SyncStatus.isCloudKit ? "المزامنة عبر iCloud مفعّلة" : "التخزين محلي فقط على هذا الجهاز"
                HoverHandler { id: syncHover }
            }
        }

        TextField {
            id: field

            Layout.fillWidth: true
            text: menuModel.newIdeaText
            onTextEdited: menuModel.newIdeaText = text
            onAccepted: menuModel.save()
            placeholderText: "اكتب فكرتك هنا..."
            font.pixelSize: 14
            horizontalAlignment: TextInput.AlignLeft
            focus: true
            Accessible.name: "فكرة سريعة"
        }

        Row {
            spacing: 6
            Repeater {
                model: menuModel.categories
                Chip {
                    required property string modelData
                    text: modelData
                    emoji: Vocabulary.emoji(modelData)
                    font.pixelSize: 13
                    horizontalPadding: 10
                    verticalPadding: 6
                    selected: menuModel.selectedCategory === modelData
                    // Back to the field, so Return still saves after a click here.
                    onClicked: {
                        menuModel.selectedCategory = modelData
                        field.forceActiveFocus()
                    }
                }
            }
        }

        AppButton {
            id: saveButton

            Layout.fillWidth: true
            text: menuModel.saved ? "تم الحفظ! ✓" : "احفظ"
            Accessible.name: text
            font.pixelSize: 14
            font.bold: true
            onClicked: menuModel.save()
            contentItem: Item {
                implicitHeight: saveRow.implicitHeight
                Row {
                    id: saveRow

                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: 6
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "plus.circle.fill"
                        size: 16
                        color: "white"
                    }
                    Label {
                        text: saveButton.text
                        font: saveButton.font
                        color: "white"
                    }
                }
            }
            background: Rectangle {
                radius: 8
                color: AppPalette.blue600
            }
        }

        Label {
            Layout.fillWidth: true
            visible: menuModel.saveError !== ""
            text: menuModel.saveError
            wrapMode: Text.WordWrap
            font.pixelSize: 12
            color: "red"
        }

        // A positioner, not a layout: Qt 6.4's layouts crashed on these rows being replaced
        // while the panel was hidden.
        Column {
            Layout.fillWidth: true
            visible: menuModel.recentIdeas.length > 0

            Label {
                width: parent.width
                horizontalAlignment: Text.AlignLeft
                text: "آخر الأفكار"
                font.pixelSize: 11
                opacity: 0.6
            }
            Repeater {
                model: menuModel.recentIdeas
                AppButton {
                    id: recentIdea

                    required property var modelData

                    width: parent.width
                    flat: true
                    horizontalPadding: 4
                    verticalPadding: 4
                    text: modelData.title
                    Accessible.name: text
                    // Opens the idea itself in the main window.
                    onClicked: {
                        FikranestApp.openWindow("main")
                        AppEvents.postOpenIdea(modelData.recordId, modelData.ideaId)
                        panel.dismissRequested()
                    }
                    contentItem: Label {
                        text: "• " + recentIdea.text
                        textFormat: Text.PlainText
                        font.pixelSize: 13
                        elide: Text.ElideRight
                        maximumLineCount: 1
                        horizontalAlignment: Text.AlignLeft
                    }
                }
            }
        }

        // The commands sit close together, like a menu's items.
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 0

            Rectangle {
                Layout.fillWidth: true
                Layout.bottomMargin: 6
                implicitHeight: 1
                color: "#E5E7EB"
            }

            AppButton {
                id: openAll

                Layout.fillWidth: true
                flat: true
                verticalPadding: 4
                text: "افتح كل الأفكار"
                onClicked: {
                    FikranestApp.openWindow("main")
                    panel.dismissRequested()
                }
                contentItem: Row {
                    spacing: 6
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "rectangle.expand.vertical"
                        size: 14
                    }
                    Label { text: openAll.text }
                }
            }

            AppButton {
                id: updateButton

                Layout.fillWidth: true
                flat: true
                verticalPadding: 4
                text: "تحقق من التحديثات"
                Accessible.name: text
                font.pixelSize: 12
                onClicked: {
                    AppEvents.checkForUpdates()
                    panel.dismissRequested()
                }
                contentItem: Label {
                    text: updateButton.text
                    font: updateButton.font
                    horizontalAlignment: Text.AlignLeft
                }
            }

            AppButton {
                id: quitButton

                Layout.fillWidth: true
                flat: true
                verticalPadding: 4
                text: "إغلاق التطبيق"
                onClicked: FikranestApp.quit()
                contentItem: Label {
                    text: quitButton.text
                    horizontalAlignment: Text.AlignLeft
                }
            }
        }
    }
}
