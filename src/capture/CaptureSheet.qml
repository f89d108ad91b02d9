import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The new-idea sheet: write or dictate, pick a category and maybe a reminder, save.
Rectangle {
    id: sheet

    signal dismissRequested()

    function save() {
        if (sheetModel.save())
            sheet.dismissRequested()
    }

    function cancel() {
        sheetModel.cancel()
        sheet.dismissRequested()
    }

    objectName: "captureSheet"
    color: Theme.blue50
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
        height: Theme.navigationBarHeight

        AppButton {
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            text: "إلغاء"
            font.pixelSize: Theme.body
            onClicked: sheet.cancel()
        }
        Label {
            anchors.centerIn: parent
            text: "فكرة جديدة"
            font.pixelSize: Theme.headline
            font.bold: true
        }
        AppButton {
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            visible: titleField.activeFocus
            flat: true
            text: "تم ✓"
            font.pixelSize: Theme.body
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
            spacing: Theme.spacingL

            Label {
                Layout.topMargin: Theme.spacingS
                Layout.leftMargin: Theme.margin
                text: "وش الفكرة؟"
                font.pixelSize: Theme.callout
                font.weight: Font.Medium
                color: Theme.secondaryText
            }
            Rectangle {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                // Grows with the text up to six lines, then scrolls.
                Layout.preferredHeight: Math.min(titleField.implicitHeight,
                                                 titleField.topPadding + titleField.bottomPadding
                                                 + 6 * fontInfo.height)
                radius: Theme.radiusXL
                color: Theme.white

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
                        font.pixelSize: Theme.title3
                        padding: Theme.spacingXXL
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
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                verticalPadding: Theme.spacingXL
                text: sheetModel.recorder.isRecording ? "جاري التسجيل... اضغط للإيقاف"
                    : sheetModel.preparingVoice ? "لحظة، نجهّز التعرف على الكلام... ⏳"
                    : "سجّل صوتياً 🎙️"
                font.pixelSize: Theme.callout
                font.weight: Font.Medium
                onClicked: sheetModel.tapVoiceButton()

                contentItem: Row {
                    spacing: Theme.spacingS
                    Item {
                        width: micIcon.size
                        height: micIcon.size
                        anchors.verticalCenter: parent.verticalCenter
                        SymbolIcon {
                            id: micIcon

                            anchors.centerIn: parent
                            visible: !sheetModel.recorder.isRecording
                            name: "mic.fill"
                            size: Theme.title2
                            color: Theme.blue600
                        }
                        Rectangle {
                            anchors.centerIn: parent
                            visible: sheetModel.recorder.isRecording
                            width: 12
                            height: 12
                            radius: width / 2
                            color: Theme.red
                            scale: 1 + sheetModel.recorder.audioLevel * 0.5
                            Behavior on scale {
                                NumberAnimation { duration: 100; easing.type: Easing.InOutQuad }
                            }
                        }
                    }
                    Label {
                        textFormat: Text.PlainText
                        anchors.verticalCenter: parent.verticalCenter
                        text: voiceButton.text
                        font: voiceButton.font
                        color: sheetModel.recorder.isRecording ? Theme.red : voiceButton.palette.windowText
                    }
                }
                background: Rectangle {
                    radius: Theme.radiusXL
                    color: Theme.white
                }
            }

            SpeechModelOffer {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
            }

            ErrorLine {
                objectName: "recorderError"
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                text: sheetModel.recorder.errorMessage
            }

            AppButton {
                objectName: "useTranscribedButton"
                Layout.alignment: Qt.AlignHCenter
                visible: sheetModel.recorder.transcribedText !== ""
                text: "استخدم النص ✓"
                font.pixelSize: Theme.callout
                onClicked: sheetModel.useTranscribedText()
            }

            Label {
                Layout.topMargin: Theme.spacingS
                Layout.leftMargin: Theme.margin
                text: "نوع الفكرة"
                font.pixelSize: Theme.callout
                font.weight: Font.Medium
                color: Theme.secondaryText
            }
            Row {
                Layout.alignment: Qt.AlignHCenter
                spacing: Theme.spacingM
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
                Layout.topMargin: Theme.spacingS
                Layout.leftMargin: Theme.margin
                text: "⏰ ذكرني"
                font.pixelSize: Theme.callout
                font.weight: Font.Medium
                color: Theme.secondaryText
            }
            FlowLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                spacing: Theme.spacingS
                Repeater {
                    model: sheetModel.reminderLabels
                    Chip {
                        required property string modelData
                        required property int index
                        text: modelData
                        radius: Theme.radiusM
                        horizontalPadding: Theme.spacingM
                        verticalPadding: Theme.spacingM
                        selectionAnimationMs: 200
                        selected: sheetModel.selectedReminder === index
                        onClicked: sheetModel.tapReminder(index)
                    }
                }
            }

            ErrorLine {
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                text: sheetModel.saveError
            }

            AppButton {
                id: saveButton

                objectName: "saveButton"
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                Layout.topMargin: Theme.spacingS
                Layout.bottomMargin: Theme.marginL
                verticalPadding: Theme.spacingXXL
                text: "احفظ الفكرة 💾"
                font.pixelSize: Theme.headline
                font.bold: true
                onClicked: sheet.save()

                contentItem: Label {
                    textFormat: Text.PlainText
                    text: saveButton.text
                    font: saveButton.font
                    color: Theme.white
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: Theme.radiusXL
                    color: Theme.blue600
                    opacity: sheetModel.canSave ? 1 : 0.4
                }
            }
        }
    }

    AlertDialog {
        objectName: "permissionAlert"
        visible: sheetModel.showPermissionAlert
        onClosed: sheetModel.showPermissionAlert = false
        title: "صلاحيات مطلوبة"
        message: "نحتاج صلاحية المايكروفون والتعرف على الكلام عشان نسجل صوتك"
    }
}
