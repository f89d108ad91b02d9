import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// What changed in this version.
Rectangle {
    id: view

    signal dismissRequested()

    objectName: "whatsNewView"
    color: Theme.blue50

    ScrollView {
        id: scroll

        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            width: scroll.availableWidth
            spacing: Theme.marginL

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: Theme.margin
                spacing: Theme.spacingL

                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "🎉"
                    font.pixelSize: 56
                }
                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "وش الجديد؟"
                    font.pixelSize: Theme.largeTitle
                    font.bold: true
                }
                Label {
                    textFormat: Text.PlainText
                    Layout.alignment: Qt.AlignHCenter
                    // This sheet's own fallback; the settings fall back to "1.0".
                    text: "الإصدار " + AppVersion.current("1.1")
                    font.pixelSize: Theme.callout
                    color: Theme.secondaryText
                }
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                spacing: Theme.spacingL

                Repeater {
                    model: [
                        { icon: "hand.draw", tint: Theme.green, title: "اسحب يمين = تم! ✅",
                          body: "اسحب الفكرة يمين عشان تخلّصها بسرعة وتحصل على رسالة تحفيزية" },
                        { icon: "trash", tint: Theme.red, title: "اسحب يسار = حذف 🗑️",
                          body: "اسحب يسار عشان تحذف أي فكرة بضغطة وحدة" },
                        { icon: "paperplane.fill", tint: Theme.telegramBlue, title: "دعم عبر تيليجرام 💬",
                          body: "تقدر تتواصل معنا مباشرة من الإعدادات" },
                        { icon: "arrow.triangle.2.circlepath", tint: Theme.blue600, title: "تنبيه التحديثات 🔄",
                          body: "بنخبرك لما ينزل تحديث جديد عشان ما يفوتك شي" },
                    ]
                    delegate: Rectangle {
                        required property var modelData

                        Layout.fillWidth: true
                        implicitHeight: row.implicitHeight + 2 * Theme.spacingXXL
                        radius: Theme.radiusXXL
                        color: Theme.white

                        RowLayout {
                            id: row

                            anchors.fill: parent
                            anchors.margins: Theme.spacingXXL
                            spacing: Theme.spacingXL

                            Rectangle {
                                Layout.preferredWidth: 44
                                Layout.preferredHeight: 44
                                radius: Theme.radiusL
                                color: Theme.faded(modelData.tint, 0.1)

                                SymbolIcon {
                                    anchors.centerIn: parent
                                    name: modelData.icon
                                    size: Theme.title
                                    color: modelData.tint
                                }
                            }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: Theme.spacingXXS

                                Label {
                                    textFormat: Text.PlainText
                                    Layout.alignment: Qt.AlignLeft
                                    text: modelData.title
                                    font.pixelSize: Theme.body
                                    font.bold: true
                                }
                                Label {
                                    textFormat: Text.PlainText
                                    Layout.fillWidth: true
                                    horizontalAlignment: Text.AlignLeft
                                    wrapMode: Text.Wrap
                                    text: modelData.body
                                    font.pixelSize: Theme.subheadline
                                    color: Theme.secondaryText
                                }
                            }
                        }
                    }
                }
            }

            AppButton {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.rightMargin: Theme.margin
                Layout.bottomMargin: 30
                verticalPadding: Theme.spacingXXL
                text: "يلا نكمل! 🚀"
                font.pixelSize: Theme.headline
                font.bold: true
                contentItem: Label {
                    textFormat: Text.PlainText
                    text: parent.text
                    font: parent.font
                    color: Theme.white
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: Theme.radiusXL
                    color: Theme.blue600
                }
                onClicked: view.dismissRequested()
            }
        }
    }
}
