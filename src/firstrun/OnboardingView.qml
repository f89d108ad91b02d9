import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The first-run walkthrough: a name, what the app does, notifications, and off you go.
Item {
    id: view

    objectName: "onboardingView"
    clip: true

    OnboardingModel {
        id: onboarding

        // Keyboard users carry on from the new page's first control.
        onStepChanged: [welcomePage, featuresPage, notificationsPage, readyPage][step].firstFocus.forceActiveFocus()
    }

    // From the top reading corner to the bottom far corner: a square over the
    // diagonal, turned so that its vertical gradient runs corner to corner.
    Rectangle {
        readonly property real diagonal: Math.hypot(view.width, view.height)

        anchors.centerIn: parent
        width: diagonal
        height: diagonal
        rotation: (view.LayoutMirroring.enabled ? 1 : -1) * Math.atan2(view.width, view.height) * 180 / Math.PI
        gradient: Gradient {
            GradientStop { position: 0; color: Theme.blue600 }
            GradientStop { position: 1; color: Theme.blue800 }
        }
    }

    component Emoji: Label {
        Layout.alignment: Qt.AlignHCenter
        font.pixelSize: 72
    }
    component Title: Label {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        color: Theme.white
        font.pixelSize: Theme.largeTitle
        font.bold: true
    }
    component Subtitle: Label {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        color: Theme.faded(Theme.white, 0.9)
        font.pixelSize: Theme.headline
    }
    component WhiteButton: AppButton {
        id: button

        Layout.fillWidth: true
        verticalPadding: Theme.spacingXXL
        opacity: enabled ? 1 : 0.5
        font.pixelSize: Theme.headline
        font.bold: true
        contentItem: Label {
            textFormat: Text.PlainText
            text: button.text
            font: button.font
            color: Theme.blue600
            horizontalAlignment: Text.AlignHCenter
        }
        background: Rectangle {
            radius: Theme.radiusXL
            color: Theme.white
        }
    }
    // One page of the walkthrough, cross-fading in and out with the step.
    component Page: Item {
        id: page

        property int index
        property Item firstFocus
        default property alias content: column.data

        anchors.fill: parent
        opacity: onboarding.step === index ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: 250 } }

        ColumnLayout {
            id: column

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            anchors.margins: 32
            spacing: Theme.marginL
        }
    }

    Item {
        id: pageArea

        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: dots.top

        Page {
            id: welcomePage

            index: 0
            firstFocus: nameField

            Emoji { text: "🗑️" }
            Title {
                text: "أهلاً فيك!"
                font.pixelSize: 32
            }
            Subtitle { text: "الفكرون هو مكانك الخاص لتكبّ كل أفكارك ومهامك وملاحظاتك بسرعة وبدون تفكير" }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: Theme.spacingS

                Label {
                    Layout.alignment: Qt.AlignLeft
                    text: "وش اسمك؟"
                    color: Theme.white
                    font.pixelSize: Theme.headline
                    font.weight: Font.Medium
                }
                TextField {
                    id: nameField

                    Layout.fillWidth: true
                    text: onboarding.nameInput
                    onTextChanged: onboarding.nameInput = text
                    placeholderText: "اكتب اسمك هنا"
                    placeholderTextColor: Theme.faded(Theme.white, 0.6)
                    color: Theme.white
                    font.pixelSize: Theme.headline
                    padding: Theme.spacingXXL
                    // Mirrored to the right, so even the empty field starts where Arabic does.
                    horizontalAlignment: TextInput.AlignLeft
                    background: Rectangle {
                        radius: Theme.radiusL
                        color: Theme.faded(Theme.white, 0.2)
                    }
                    Accessible.name: "وش اسمك؟"
                    Component.onCompleted: forceActiveFocus()
                }
            }
            WhiteButton {
                text: "يلا نبدأ"
                enabled: onboarding.canStart
                onClicked: onboarding.start()
            }
        }

        Page {
            id: featuresPage

            index: 1
            firstFocus: nextButton

            Title { text: "وش تقدر تسوي؟" }
            Rectangle {
                Layout.fillWidth: true
                implicitHeight: features.implicitHeight + 2 * Theme.margin
                radius: 20
                color: Theme.faded(Theme.white, 0.15)

                ColumnLayout {
                    id: features

                    anchors.fill: parent
                    anchors.margins: Theme.margin
                    spacing: Theme.spacingXXL

                    Repeater {
                        model: [
                            ["✍️", "اكتب أو سجّل صوت", "كب أفكارك بالكتابة أو بصوتك بالعربي"],
                            ["👈", "اسحب يسار للحذف", "وأسحب يمين عشان تخلّص المهمة"],
                            ["⏰", "تذكيرات مضحكة", "نذكّرك بأسلوب يضحّكك مو يزعجك"],
                            ["☁️", "مزامنة بين أجهزتك", "آيفون وماك... كلها متزامنة عبر iCloud"],
                            ["🔒", "خصوصيتك أولاً", "بياناتك تبقى عندك، ما نجمع شي"],
                        ]
                        delegate: RowLayout {
                            required property var modelData

                            Layout.fillWidth: true
                            spacing: Theme.spacingL

                            Label {
                                textFormat: Text.PlainText
                                Layout.preferredWidth: 40
                                horizontalAlignment: Text.AlignHCenter
                                text: modelData[0]
                                font.pixelSize: Theme.largeTitle
                            }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: Theme.spacingXXXS

                                Label {
                                    textFormat: Text.PlainText
                                    Layout.alignment: Qt.AlignLeft
                                    text: modelData[1]
                                    color: Theme.white
                                    font.pixelSize: Theme.callout
                                    font.bold: true
                                }
                                Label {
                                    textFormat: Text.PlainText
                                    Layout.fillWidth: true
                                    horizontalAlignment: Text.AlignLeft
                                    wrapMode: Text.Wrap
                                    text: modelData[2]
                                    color: Theme.faded(Theme.white, 0.8)
                                    font.pixelSize: Theme.footnote
                                }
                            }
                        }
                    }
                }
            }
            WhiteButton {
                id: nextButton

                text: "حلو! وش بعد؟"
                onClicked: onboarding.continueToNotifications()
            }
        }

        Page {
            id: notificationsPage

            index: 2
            firstFocus: enableButton

            Emoji { text: "🔔" }
            Title { text: "تبي تنبيهات؟" }
            Subtitle { text: "عشان نذكرك بالأفكار اللي لها موعد\n(وبنضيف لمسة كوميدية 😄)" }
            WhiteButton {
                id: enableButton

                text: "فعّل التنبيهات"
                onClicked: onboarding.enableNotifications()
            }
            AppButton {
                Layout.alignment: Qt.AlignHCenter
                text: "لا، شكراً"
                font.pixelSize: Theme.body
                contentItem: Label {
                    textFormat: Text.PlainText
                    text: parent.text
                    font: parent.font
                    color: Theme.faded(Theme.white, 0.7)
                }
                background: null
                onClicked: onboarding.declineNotifications()
            }
        }

        Page {
            id: readyPage

            index: 3
            firstFocus: finishButton

            Emoji { text: "🚀" }
            Title { text: onboarding.readyTitle }
            Subtitle { text: "كب كل اللي في بالك\nاحنا نرتب لك الباقي" }
            WhiteButton {
                id: finishButton

                text: "يلا نكب! 🗑️"
                onClicked: onboarding.finish()
            }
        }
    }

    // Where the walkthrough is: only this page's dot is bright.
    Row {
        id: dots

        anchors.bottom: parent.bottom
        anchors.bottomMargin: 40
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.spacingS

        Repeater {
            model: onboarding.totalSteps
            delegate: Rectangle {
                required property int index

                width: 8
                height: 8
                radius: width / 2
                color: Theme.white
                opacity: index === onboarding.step ? 1 : 0.4
            }
        }
    }
}
