import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// What changed in this version.
Rectangle {
    id: view

    signal dismissRequested()

    readonly property color secondaryColor: "#6B7280"

    objectName: "whatsNewView"
    color: AppPalette.blue50

    ScrollView {
        id: scroll

        anchors.fill: parent
        contentWidth: availableWidth

        ColumnLayout {
            width: scroll.availableWidth
            spacing: 24

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 20
                spacing: 12

                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "🎉"
                    font.pixelSize: 56
                }
                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "وش الجديد؟"
                    font.pixelSize: 28
                    font.bold: true
                }
                Label {
                    Layout.alignment: Qt.AlignHCenter
                    // This sheet's own fallback; the settings fall back to "1.0".
                    text: "الإصدار " + AppVersion.current("1.1")
                    font.pixelSize: 15
                    color: view.secondaryColor
                }
            }

            ColumnLayout {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                spacing: 12

                Repeater {
                    model: [
                        { icon: "hand.draw", tint: Qt.rgba(52 / 255, 199 / 255, 89 / 255, 1), title: "اسحب يمين = تم! ✅",
                          body: "اسحب الفكرة يمين عشان تخلّصها بسرعة وتحصل على رسالة تحفيزية" },
                        { icon: "trash", tint: Qt.rgba(1, 59 / 255, 48 / 255, 1), title: "اسحب يسار = حذف 🗑️",
                          body: "اسحب يسار عشان تحذف أي فكرة بضغطة وحدة" },
                        { icon: "paperplane.fill", tint: Qt.rgba(0, 136 / 255, 204 / 255, 1), title: "دعم عبر تيليجرام 💬",
                          body: "تقدر تتواصل معنا مباشرة من الإعدادات" },
                        { icon: "arrow.triangle.2.circlepath", tint: AppPalette.blue600, title: "تنبيه التحديثات 🔄",
                          body: "بنخبرك لما ينزل تحديث جديد عشان ما يفوتك شي" },
                    ]
                    delegate: Rectangle {
                        required property var modelData

                        Layout.fillWidth: true
                        implicitHeight: row.implicitHeight + 32
                        radius: 16
                        color: "white"

                        RowLayout {
                            id: row

                            anchors.fill: parent
                            anchors.margins: 16
                            spacing: 14

                            Rectangle {
                                Layout.preferredWidth: 44
                                Layout.preferredHeight: 44
                                radius: 12
                                color: Qt.rgba(modelData.tint.r, modelData.tint.g, modelData.tint.b, 0.1)

                                SymbolIcon {
                                    anchors.centerIn: parent
                                    name: modelData.icon
                                    size: 22
                                    color: modelData.tint
                                }
                            }
                            ColumnLayout {
                                Layout.fillWidth: true
                                spacing: 4

                                Label {
                                    Layout.alignment: Qt.AlignLeft
                                    text: modelData.title
                                    font.pixelSize: 16
                                    font.bold: true
                                }
                                Label {
                                    Layout.fillWidth: true
                                    horizontalAlignment: Text.AlignLeft
                                    wrapMode: Text.Wrap
                                    text: modelData.body
                                    font.pixelSize: 14
                                    color: view.secondaryColor
                                }
                            }
                        }
                    }
                }
            }

            AppButton {
                Layout.fillWidth: true
                Layout.leftMargin: 20
                Layout.rightMargin: 20
                Layout.bottomMargin: 30
                verticalPadding: 16
                text: "يلا نكمل! 🚀"
                font.pixelSize: 17
                font.bold: true
                contentItem: Label {
                    text: parent.text
                    font: parent.font
                    color: "white"
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: 14
                    color: AppPalette.blue600
                }
                onClicked: view.dismissRequested()
            }
        }
    }
}
