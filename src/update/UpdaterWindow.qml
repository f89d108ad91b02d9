import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The updater's own window: checking, up to date, a new release, or what went wrong.
Window {
    id: window

    readonly property int state: UpdaterManager.state
    readonly property color textColor: "#1F2937"
    readonly property color secondaryColor: "#6B7280"

    title: "تحديثات الفكرون"
    width: 400
    height: page.implicitHeight
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height
    color: AppPalette.blue50

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: window.state === UpdaterManager.Checking ? UpdaterManager.cancel() : window.close()
    }

    Item {
        id: page

        LayoutMirroring.enabled: true
        LayoutMirroring.childrenInherit: true
        width: window.width
        implicitHeight: column.implicitHeight + 48

        ColumnLayout {
            id: column

            x: 24
            y: 24
            width: parent.width - 48
            spacing: 14

            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 19
                font.bold: true
                color: window.textColor
                text: window.state === UpdaterManager.UpToDate ? "أنت على آخر إصدار 👌"
                    : window.state === UpdaterManager.UpdateAvailable ? "فيه إصدار جديد! 🎉"
                    : window.state === UpdaterManager.Failed ? "ما زبطت هالمرة 🙈"
                    : "لحظة، نشيّك على التحديثات... ⏳"
            }

            BusyIndicator {
                Layout.alignment: Qt.AlignHCenter
                visible: window.state === UpdaterManager.Checking
                running: visible
                Accessible.name: "جاري البحث عن تحديثات"
            }

            Label {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                font.pixelSize: 14
                color: window.secondaryColor
                text: window.state === UpdaterManager.UpToDate
                      ? "الإصدار " + UpdaterManager.currentVersion + " هو أحدث شي عندنا، استانس فيه"
                    : window.state === UpdaterManager.UpdateAvailable
                      ? "الإصدار " + UpdaterManager.newVersion + " وصل، وأنت الحين على " + UpdaterManager.currentVersion
                    : window.state === UpdaterManager.Failed ? UpdaterManager.failureText
                    : "قاعدين نسأل عن آخر إصدار، ما راح نطوّل"
            }

            Rectangle {
                Layout.fillWidth: true
                visible: window.state === UpdaterManager.UpdateAvailable
                implicitHeight: Math.min(notesColumn.implicitHeight, 220) + 28
                radius: 14
                color: "white"

                ColumnLayout {
                    id: notesColumn

                    anchors.fill: parent
                    anchors.margins: 14
                    spacing: 8

                    Label {
                        text: "وش الجديد؟"
                        font.pixelSize: 15
                        font.bold: true
                        color: window.textColor
                    }
                    ScrollView {
                        Layout.fillWidth: true
                        Layout.fillHeight: true
                        implicitHeight: notes.implicitHeight
                        contentWidth: availableWidth
                        clip: true

                        Text {
                            id: notes

                            width: parent.width
                            // Already stripped of everything it could load.
                            textFormat: Text.RichText
                            text: UpdaterManager.releaseNotes
                            wrapMode: Text.Wrap
                            font.pixelSize: 13
                            color: window.textColor
                            Accessible.name: "ملاحظات الإصدار: " + UpdaterManager.releaseNotesText
                        }
                    }
                }
            }

            AppButton {
                id: closeButton

                Layout.alignment: Qt.AlignHCenter
                Layout.minimumWidth: 140
                text: window.state === UpdaterManager.Checking ? "إلغاء"
                    : window.state === UpdaterManager.UpdateAvailable ? "بعدين"
                    : "تمام"
                Accessible.name: text
                font.pixelSize: 14
                font.bold: true
                onClicked: window.state === UpdaterManager.Checking ? UpdaterManager.cancel() : window.close()
                contentItem: Label {
                    text: closeButton.text
                    font: closeButton.font
                    color: "white"
                    horizontalAlignment: Text.AlignHCenter
                }
                background: Rectangle {
                    radius: 10
                    color: AppPalette.blue600
                }
            }
        }
    }
}
