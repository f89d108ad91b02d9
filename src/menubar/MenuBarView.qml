import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The tray panel.
Pane {
    id: panel

    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true
    width: Theme.panelWidth
    padding: Theme.spacingXXL
    background: Rectangle { color: Theme.white }

    // Asks the window around it to go away, once the main window has what was picked.
    signal dismissRequested()

    MenuBarModel {
        id: menuModel
    }

    // A first run asks for the main window through here.
    Connections {
        target: AppEvents
        function onOpenMainWindowRequested() { AppEvents.openWindow("main") }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.spacingL

        RowLayout {
            Layout.fillWidth: true
            ColumnLayout {
                spacing: Theme.spacingXXXS
                Label {
                    text: "الفكرون 🗑️"
                    font.pixelSize: Theme.body
                    font.bold: true
                }
                Label {
                    text: "كب فكرتك!"
                    font.pixelSize: Theme.caption
                    opacity: 0.6
                }
            }
            Item { Layout.fillWidth: true }
            SymbolIcon {
                objectName: "panelSyncSymbol"
                name: SyncStatus.isCloudKit || SyncService.healthy ? "icloud.fill" : "icloud.slash"
                size: Theme.caption
                color: SyncService.healthy ? Theme.green : Theme.blue600
                ToolTip.visible: syncHover.hovered
                ToolTip.text: SyncStatus.isCloudKit ? "المزامنة عبر iCloud مفعّلة"
                    : SyncService.healthy ? "المزامنة مع " + SyncService.host + " شغّالة ✅"
                    : SyncService.connected ? "المزامنة واقفة: " + SyncService.failure
                    : "التخزين محلي فقط على هذا الجهاز"
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
            font.pixelSize: Theme.subheadline
            horizontalAlignment: TextInput.AlignLeft
            // Plain: no box around it, as in the walkthrough.
            background: null
            leftPadding: 0
            rightPadding: 0
            focus: true
            Accessible.name: "فكرة سريعة"
        }

        Row {
            spacing: Theme.spacingXS
            Repeater {
                model: menuModel.categories
                Chip {
                    required property string modelData
                    text: modelData
                    emoji: Vocabulary.emoji(modelData)
                    font.pixelSize: Theme.footnote
                    horizontalPadding: Theme.spacingM
                    verticalPadding: Theme.spacingXS
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
            font.pixelSize: Theme.subheadline
            font.bold: true
            onClicked: menuModel.save()
            contentItem: Item {
                implicitHeight: saveRow.implicitHeight
                Row {
                    id: saveRow

                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: Theme.spacingXS
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "plus.circle.fill"
                        size: Theme.body
                        color: Theme.white
                    }
                    Label {
                        textFormat: Text.PlainText
                        text: saveButton.text
                        font: saveButton.font
                        color: Theme.white
                    }
                }
            }
            background: Rectangle {
                radius: Theme.radiusS
                color: Theme.blue600
            }
        }

        ErrorLine {
            Layout.fillWidth: true
            text: menuModel.saveError
            font.pixelSize: Theme.caption
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
                font.pixelSize: Theme.caption2
                opacity: 0.6
            }
            Repeater {
                model: menuModel.recentIdeas
                AppButton {
                    id: recentIdea

                    required property var modelData

                    width: parent.width
                    flat: true
                    horizontalPadding: Theme.spacingXXS
                    verticalPadding: Theme.spacingXXS
                    text: modelData.title
                    Accessible.name: text
                    // Opens the idea itself in the main window.
                    onClicked: {
                        AppEvents.openWindow("main")
                        AppEvents.postOpenIdea(modelData.recordId, modelData.ideaId)
                        panel.dismissRequested()
                    }
                    contentItem: Label {
                        text: "• " + recentIdea.text
                        textFormat: Text.PlainText
                        font.pixelSize: Theme.footnote
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
                Layout.bottomMargin: Theme.spacingXS
                implicitHeight: 1
                color: Theme.separator
            }

            AppButton {
                id: openAll

                Layout.fillWidth: true
                flat: true
                verticalPadding: Theme.spacingXXS
                text: "افتح كل الأفكار"
                onClicked: {
                    AppEvents.openWindow("main")
                    panel.dismissRequested()
                }
                contentItem: Row {
                    spacing: Theme.spacingXS
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "rectangle.expand.vertical"
                        size: Theme.subheadline
                    }
                    Label { text: openAll.text; textFormat: Text.PlainText }
                }
            }

            AppButton {
                id: updateButton

                Layout.fillWidth: true
                flat: true
                verticalPadding: Theme.spacingXXS
                text: "تحقق من التحديثات"
                Accessible.name: text
                font.pixelSize: Theme.caption
                onClicked: {
                    AppEvents.checkForUpdates()
                    panel.dismissRequested()
                }
                contentItem: Label {
                    textFormat: Text.PlainText
                    text: updateButton.text
                    font: updateButton.font
                    horizontalAlignment: Text.AlignLeft
                }
            }

            AppButton {
                id: quitButton

                Layout.fillWidth: true
                flat: true
                verticalPadding: Theme.spacingXXS
                text: "إغلاق التطبيق"
                onClicked: Qt.quit()
                contentItem: Label {
                    textFormat: Text.PlainText
                    text: quitButton.text
                    horizontalAlignment: Text.AlignLeft
                }
            }
        }
    }
}
