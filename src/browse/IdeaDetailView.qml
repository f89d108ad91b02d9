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

    readonly property color secondaryText: "#6B7280"

    function back() {
        detail.leave()
        view.dismissRequested()
    }

    objectName: "ideaDetailView"
    color: AppPalette.blue50
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
        height: 44

        AppButton {
            anchors.left: parent.left
            anchors.leftMargin: 4
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            text: "رجوع"
            Accessible.name: text
            onClicked: view.back()
            contentItem: Row {
                spacing: 2
                SymbolIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    name: "chevron.right"
                    size: 22
                    color: AppPalette.blue600
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "رجوع"
                    font.pixelSize: 16
                    color: AppPalette.blue600
                }
            }
        }
        AppButton {
            objectName: "editToggle"
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            visible: detail.found
            text: detail.isEditing ? "تم" : "تعديل"
            font.pixelSize: 16
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
        contentHeight: column.implicitHeight + 28
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        // Keeps the caret in sight while typing in a long body.
        function ensureVisible(field) {
            const caret = field.mapToItem(column, field.cursorRectangle)
            if (caret.y < contentY)
                contentY = Math.max(0, caret.y - 8)
            else if (caret.y + caret.height > contentY + height)
                contentY = caret.y + caret.height - height + 8
        }

        ColumnLayout {
            id: column

            x: 14
            y: 14
            width: scroll.width - 28
            spacing: 14

            Label {
                objectName: "goneMessage"
                Layout.fillWidth: true
                visible: detail.errorMessage !== ""
                text: detail.errorMessage
                wrapMode: Text.WordWrap
                font.pixelSize: 13
                color: "white"
                padding: 10
                background: Rectangle { radius: 12; color: "#DC2626" }
            }

            Item {
                objectName: "doneBanner"
                visible: detail.isDone
                Layout.fillWidth: true
                implicitHeight: banner.height + 16

                Rectangle {
                    id: banner

                    anchors.left: parent.left
                    y: 8
                    width: bannerRow.implicitWidth + 20
                    height: bannerRow.implicitHeight + 8
                    radius: 8
                    color: Qt.rgba(0.09, 0.64, 0.29, 0.1)

                    Row {
                        id: bannerRow

                        anchors.centerIn: parent
                        spacing: 6
                        SymbolIcon {
                            anchors.verticalCenter: parent.verticalCenter
                            name: "checkmark.circle.fill"
                            size: 14
                            color: "#16A34A"
                        }
                        Label {
                            text: "تم الإنجاز! 🎉"
                            font.pixelSize: 13
                            color: "#16A34A"
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
                font.pixelSize: 22
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
                color: "#E5E7EB"
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
                font.pixelSize: 16
                wrapMode: TextEdit.Wrap
                horizontalAlignment: TextEdit.AlignLeft
                padding: 0
                background: null
                Accessible.name: "تفاصيل إضافية..."
            }

            RowLayout {
                visible: detail.hasReminder
                spacing: 6
                SymbolIcon {
                    name: "bell.fill"
                    size: 14
                    color: "orange"
                }
                Label {
                    objectName: "reminderText"
                    text: detail.hasReminder ? DateTexts.reminderText(detail.reminderDate) : ""
                    font.pixelSize: 14
                    color: view.secondaryText
                }
            }

            Label {
                objectName: "creationText"
                text: DateTexts.creationText(detail.createdAt)
                font.pixelSize: 12
                color: view.secondaryText
            }

            AppButton {
                objectName: "statusButton"
                Layout.topMargin: 10
                visible: detail.found
                flat: true
                text: detail.isDone ? "إرجاع للنشطة" : "تم الإنجاز"
                Accessible.name: text
                onClicked: {
                    if (detail.toggleStatus())
                        view.dismissRequested()
                }
                contentItem: Row {
                    spacing: 8
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: detail.isDone ? "arrow.uturn.backward" : "checkmark.circle"
                        size: 18
                        color: AppPalette.blue600
                    }
                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: parent.parent.text
                        font.pixelSize: 16
                        color: AppPalette.blue600
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
                    spacing: 8
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "trash"
                        size: 18
                        color: "#DC2626"
                    }
                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "حذف الفكرة"
                        font.pixelSize: 16
                        color: "#DC2626"
                    }
                }
            }
        }
    }

    Dialog {
        id: deleteAlert

        objectName: "deleteAlert"
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(300, view.width - 40)
        modal: true
        padding: 20
        topPadding: 8

        enter: Transition {
            NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 300; easing.type: Easing.InOutQuad }
        }
        background: Rectangle {
            radius: 14
            color: "white"
        }
        header: Label {
            topPadding: 20
            text: "حذف الفكرة؟"
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: 17
            font.bold: true
        }
        contentItem: Label {
            text: "بتروح ولن ترجع.. متأكد؟"
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            font.pixelSize: 14
        }
        footer: RowLayout {
            LayoutMirroring.enabled: true
            LayoutMirroring.childrenInherit: true
            spacing: 10

            AppButton {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.bottomMargin: 20
                text: "إلغاء"
                font.pixelSize: 15
                Accessible.name: text
                onClicked: deleteAlert.close()
            }
            AppButton {
                id: confirmDelete

                Layout.fillWidth: true
                Layout.rightMargin: 20
                Layout.bottomMargin: 20
                text: "احذف"
                font.pixelSize: 15
                font.bold: true
                Accessible.name: text
                contentItem: Label {
                    text: confirmDelete.text
                    font: confirmDelete.font
                    color: "#DC2626"
                    horizontalAlignment: Text.AlignHCenter
                }
                onClicked: {
                    deleteAlert.close()
                    if (detail.deleteIdea())
                        view.dismissRequested()
                }
            }
        }
    }
}
