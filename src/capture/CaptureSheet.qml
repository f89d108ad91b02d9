import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The new-idea sheet: write or dictate, pick a category and maybe a reminder, save.
Rectangle {
    id: sheet

    signal dismissRequested()

    readonly property color captionColor: "#6B7280"

    function save() {
        if (sheetModel.save())
            sheet.dismissRequested()
    }

    function cancel() {
        sheetModel.cancel()
        sheet.dismissRequested()
    }

    objectName: "captureSheet"
    color: Qt.rgba(240 / 255, 244 / 255, 1, 1)
    focus: true

    property alias model: sheetModel

    CaptureSheetModel {
        id: sheetModel
    }

    Shortcut {
        sequences: ["Ctrl+Return", "Ctrl+Enter"]
        onActivated: sheet.save()
    }
    Shortcut {
        sequence: "Escape"
        onActivated: sheet.cancel()
    }

    // The navigation bar: cancel at the leading edge, the title in the middle, and
    // "done" to leave the text field while typing.
    Item {
        id: bar

        anchors.left: parent.left
        anchors.right: parent.right
        height: 52

        AppButton {
            anchors.left: parent.left
            anchors.leftMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            text: "إلغاء"
            font.pixelSize: 16
            onClicked: sheet.cancel()
        }
        Label {
            anchors.centerIn: parent
            text: "فكرة جديدة"
            font.pixelSize: 17
            font.bold: true
        }
        AppButton {
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            visible: titleField.activeFocus
            flat: true
            text: "تم ✓"
            font.pixelSize: 16
            font.bold: true
            onClicked: sheet.forceActiveFocus()
        }
    }

    ScrollView {
        id: scroll

        anchors.top: bar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        contentWidth: availableWidth

        ColumnLayout {
            width: scroll.availableWidth
            spacing: 12

            Label {
                Layout.topMargin: 8
                Layout.leftMargin: 20
                text: "وش الفكرة؟"
                font.pixelSize: 15
                font.weight: Font.Medium
                color: sheet.captionColor
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                // Grows with the text up to six lines, then scrolls.
                Layout.preferredHeight: Math.min(titleField.implicitHeight,
                                                 titleField.topPadding + titleField.bottomPadding
                                                 + 6 * fontInfo.height)
                radius: 14
                color: "white"

                FontMetrics {
                    id: fontInfo
                    font: titleField.font
                }
                ScrollView {
                    anchors.fill: parent
                    AppTextArea {
                        id: titleField

                        objectName: "titleField"
                        text: sheetModel.title
                        onTextChanged: sheetModel.title = text
                        placeholderText: "اكتب فكرتك هنا..."
                        font.pixelSize: 18
                        padding: 16
                        wrapMode: TextEdit.Wrap
                        // Mirrored to the right, so even the empty field starts where Arabic does.
                        horizontalAlignment: TextEdit.AlignLeft
                        focus: true
                        background: null
                        Accessible.name: "وش الفكرة؟"
                        Component.onCompleted: forceActiveFocus()
                        onActiveFocusChanged: if (activeFocus) LatencyTrace.end("sheet", Window.window)
                    }
                }
            }

            AppButton {
                id: voiceButton

                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                verticalPadding: 14
                text: sheetModel.recorder.isRecording ? "جاري التسجيل... اضغط للإيقاف"
                    : sheetModel.preparingVoice ? "لحظة، نجهّز التعرف على الكلام... ⏳"
                    : "سجّل صوتياً 🎙️"
                font.pixelSize: 15
                font.weight: Font.Medium
                onClicked: sheetModel.tapVoiceButton()

                contentItem: Row {
                    spacing: 8
                    Item {
                        width: 20
                        height: 20
                        anchors.verticalCenter: parent.verticalCenter
                        SymbolIcon {
                            anchors.centerIn: parent
                            visible: !sheetModel.recorder.isRecording
                            name: "mic.fill"
                            size: 20
                            color: AppPalette.blue600
                        }
                        Rectangle {
                            anchors.centerIn: parent
                            visible: sheetModel.recorder.isRecording
                            width: 12
                            height: 12
                            radius: 6
                            color: "red"
                            scale: 1 + sheetModel.recorder.audioLevel * 0.5
                            Behavior on scale {
                                NumberAnimation { duration: 100; easing.type: Easing.InOutQuad }
                            }
                        }
                    }
                    Label {
                        anchors.verticalCenter: parent.verticalCenter
                        text: voiceButton.text
                        font: voiceButton.font
                        color: sheetModel.recorder.isRecording ? "red" : voiceButton.palette.windowText
                    }
                }
                background: Rectangle {
                    radius: 14
                    color: "white"
                }
            }

            Label {
                objectName: "recorderError"
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                visible: sheetModel.recorder.errorMessage !== ""
                text: sheetModel.recorder.errorMessage
                font.pixelSize: 13
                color: "red"
            }

            AppButton {
                objectName: "useTranscribedButton"
                Layout.alignment: Qt.AlignHCenter
                visible: sheetModel.recorder.transcribedText !== ""
                text: "استخدم النص ✓"
                font.pixelSize: 15
                onClicked: sheetModel.useTranscribedText()
            }

            Label {
                Layout.topMargin: 8
                Layout.leftMargin: 20
                text: "نوع الفكرة"
                font.pixelSize: 15
                font.weight: Font.Medium
                color: sheet.captionColor
            }
            Row {
                Layout.alignment: Qt.AlignHCenter
                spacing: 10
                Repeater {
                    model: sheetModel.categories
                    Chip {
                        required property string modelData
                        text: modelData
                        emoji: Vocabulary.emoji(modelData)
                        selected: sheetModel.selectedCategory === modelData
                        onClicked: sheetModel.selectedCategory = modelData
                    }
                }
            }

            Label {
                Layout.topMargin: 8
                Layout.leftMargin: 20
                text: "⏰ ذكرني"
                font.pixelSize: 15
                font.weight: Font.Medium
                color: sheet.captionColor
            }
            FlowLayout {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                spacing: 8
                Repeater {
                    model: sheetModel.reminderLabels
                    Chip {
                        required property string modelData
                        required property int index
                        text: modelData
                        radius: 10
                        horizontalPadding: 10
                        verticalPadding: 10
                        selectionAnimationMs: 200
                        selected: sheetModel.selectedReminder === index
                        onClicked: sheetModel.tapReminder(index)
                    }
                }
            }

            Label {
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                visible: sheetModel.saveError !== ""
                text: sheetModel.saveError
                font.pixelSize: 13
                color: "red"
            }

            AppButton {
                id: saveButton

                objectName: "saveButton"
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                Layout.topMargin: 8
                Layout.bottomMargin: 24
                verticalPadding: 16
                text: "احفظ الفكرة 💾"
                font.pixelSize: 17
                font.bold: true
                onClicked: sheet.save()

                contentItem: Label {
                    text: saveButton.text
                    font: saveButton.font
                    color: "white"
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: 14
                    color: AppPalette.blue600
                    opacity: sheetModel.canSave ? 1 : 0.4
                }
            }
        }
    }

    Dialog {
        objectName: "permissionAlert"
        parent: Overlay.overlay
        anchors.centerIn: parent
        modal: true
        visible: sheetModel.showPermissionAlert
        onClosed: sheetModel.showPermissionAlert = false
        title: "صلاحيات مطلوبة"

        contentItem.LayoutMirroring.enabled: true
        contentItem.LayoutMirroring.childrenInherit: true

        Label {
            width: Math.min(implicitWidth, sheet.width - 80)
            text: "نحتاج صلاحية المايكروفون والتعرف على الكلام عشان نسجل صوتك"
            wrapMode: Text.WordWrap
        }
        footer: DialogButtonBox {
            AppButton {
                text: "حسناً"
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
        }
    }
}
