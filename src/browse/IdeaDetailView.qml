import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// One idea, edited in place. Completing, reopening or deleting returns to the list.
Rectangle {
    id: view

    required property var recordId
    required property string ideaId

    signal dismissRequested()

    function back() {
        detail.leave()
        view.dismissRequested()
    }

    objectName: "ideaDetailView"
    color: Theme.blue50
    focus: true

    IdeaDetailModel {
        id: detail
    }
    Component.onCompleted: detail.load(recordId, ideaId)

    Keys.onEscapePressed: view.back()
    Shortcut {
        sequences: ["Alt+Left", StandardKey.Back]
        enabled: view.StackView.status === StackView.Active
        onActivated: view.back()
    }

    // The toolbar: back at the leading edge, the edit toggle at the trailing one.
    Item {
        id: toolbar

        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        height: Theme.toolbarHeight

        AppButton {
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingXXS
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            text: "رجوع"
            Accessible.name: text
            onClicked: view.back()
            contentItem: Row {
                spacing: Theme.spacingXXXS
                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "chevron.right"
                    size: Theme.title
                    color: Theme.blue600
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "رجوع"
                    font.pixelSize: Theme.body
                    color: Theme.blue600
                }
            }
        }
        AppButton {
            objectName: "editToggle"
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            visible: detail.found
            text: detail.isEditing ? "تم" : "تعديل"
            font.pixelSize: Theme.body
            font.bold: detail.isEditing
            Accessible.name: text
            onClicked: {
                if (detail.isEditing)
                    view.forceActiveFocus()
                detail.toggleEditing()
                if (detail.isEditing)
                    titleField.forceActiveFocus()
            }
        }
    }

    Flickable {
        id: scroll

        anchors.top: toolbar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        contentWidth: width
        contentHeight: column.implicitHeight + 2 * Theme.spacingXL
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        // Keeps the caret in sight while typing in a long body.
        function ensureVisible(field) {
            const caret = field.mapToItem(column, field.cursorRectangle)
            if (caret.y < contentY)
                contentY = Math.max(0, caret.y - Theme.spacingS)
            else if (caret.y + caret.height > contentY + height)
                contentY = caret.y + caret.height - height + Theme.spacingS
        }

        ColumnLayout {
            id: column

            x: Theme.spacingXL
            y: Theme.spacingXL
            width: scroll.width - 2 * Theme.spacingXL
            spacing: Theme.spacingXL

            ErrorLine {
                objectName: "goneMessage"
                Layout.fillWidth: true
                boxed: true
                text: detail.errorMessage
            }

            Item {
                objectName: "doneBanner"
                visible: detail.isDone
                Layout.fillWidth: true
                implicitHeight: banner.height + 2 * Theme.spacingS

                Rectangle {
                    id: banner

                    anchors.left: parent.left
                    y: Theme.spacingS
                    width: bannerRow.implicitWidth + Theme.margin
                    height: bannerRow.implicitHeight + Theme.spacingS
                    radius: Theme.radiusS
                    color: Theme.faded(Theme.green, 0.1)

                    Row {
                        id: bannerRow

                        anchors.centerIn: parent
                        spacing: Theme.spacingXS
                        SymbolIcon {
                            anchors.verticalCenter: parent.verticalCenter
                            name: "checkmark.circle.fill"
                            size: Theme.footnote
                            color: Theme.green
                        }
                        Label {
                            text: "تم الإنجاز! 🎉"
                            font.pixelSize: Theme.footnote
                            color: Theme.green
                        }
                    }
                }
            }

            AppTextArea {
                id: titleField

                objectName: "titleField"
                Layout.fillWidth: true
                enabled: detail.found
                text: detail.title
                onTextChanged: detail.title = text
                onActiveFocusChanged: if (activeFocus) detail.beginEditing()
                onCursorRectangleChanged: if (activeFocus) scroll.ensureVisible(titleField)
                placeholderText: "عنوان الفكرة"
                // One line: Return ends the edit there rather than starting another.
                Keys.onReturnPressed: view.forceActiveFocus()
                Keys.onEnterPressed: view.forceActiveFocus()
                font.pixelSize: Theme.title
                font.strikeout: detail.isDone
                wrapMode: TextEdit.Wrap
                horizontalAlignment: TextEdit.AlignLeft
                padding: 0
                background: null
                Accessible.name: "عنوان الفكرة"
                KeyNavigation.tab: bodyField
            }

            Rectangle {
                Layout.fillWidth: true
                implicitHeight: 1
                color: Theme.separator
            }

            AppTextArea {
                id: bodyField

                objectName: "bodyField"
                Layout.fillWidth: true
                enabled: detail.found
                text: detail.body
                onTextChanged: detail.body = text
                onActiveFocusChanged: if (activeFocus) detail.beginEditing()
                onCursorRectangleChanged: if (activeFocus) scroll.ensureVisible(bodyField)
                placeholderText: "تفاصيل إضافية..."
                font.pixelSize: Theme.body
                wrapMode: TextEdit.Wrap
                horizontalAlignment: TextEdit.AlignLeft
                padding: 0
                background: null
                Accessible.name: "تفاصيل إضافية..."
            }

            RowLayout {
                visible: detail.hasReminder
                spacing: Theme.spacingXS
                SymbolIcon {
                    name: "bell.fill"
                    size: Theme.subheadline
                    color: Theme.orange
                }
                Label {
                    objectName: "reminderText"
                    textFormat: Text.PlainText
                    text: detail.hasReminder ? DateTexts.reminderText(detail.reminderDate) : ""
                    font.pixelSize: Theme.subheadline
                    color: Theme.secondaryText
                }
            }

            Label {
                objectName: "creationText"
                textFormat: Text.PlainText
                text: DateTexts.creationText(detail.createdAt)
                font.pixelSize: Theme.caption
                color: Theme.secondaryText
            }

            AppButton {
                objectName: "statusButton"
                Layout.topMargin: Theme.spacingM
                visible: detail.found
                flat: true
                text: detail.isDone ? "إرجاع للنشطة" : "تم الإنجاز"
                Accessible.name: text
                onClicked: {
                    if (detail.toggleStatus())
                        view.dismissRequested()
                }
                contentItem: Row {
                    spacing: Theme.spacingS
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: detail.isDone ? "arrow.uturn.backward" : "checkmark.circle"
                        size: Theme.body
                        color: Theme.blue600
                    }
                    Label {
                        textFormat: Text.PlainText
                        anchors.verticalCenter: parent.verticalCenter
                        text: parent.parent.text
                        font.pixelSize: Theme.body
                        color: Theme.blue600
                    }
                }
            }

            AppButton {
                objectName: "deleteButton"
                visible: detail.found
                flat: true
                text: "حذف الفكرة"
                Accessible.name: text
                onClicked: deleteAlert.open()
                contentItem: Row {
                    spacing: Theme.spacingS
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "trash"
                        size: Theme.body
                        color: Theme.red
                    }
                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "حذف الفكرة"
                        font.pixelSize: Theme.body
                        color: Theme.red
                    }
                }
            }
        }
    }

    AlertDialog {
        id: deleteAlert

        objectName: "deleteAlert"
        title: "حذف الفكرة؟"
        message: "بتروح ولن ترجع.. متأكد؟"
        cancelText: "إلغاء"
        confirmText: "احذف"
        destructive: true
        onConfirmed: {
            if (detail.deleteIdea())
                view.dismissRequested()
        }
    }
}
