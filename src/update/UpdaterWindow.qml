import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest
import Fikranest.Update

// The updater's own window: checking, up to date, a new release and its download,
// or what went wrong.
Window {
    id: window

    readonly property int state: UpdaterManager.state
    readonly property bool busy: state === UpdaterManager.Checking || state === UpdaterManager.Downloading
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
        onActivated: window.busy ? UpdaterManager.cancel() : window.close()
    }

    component UpdaterButton: AppButton {
        id: button

        property bool primary: false

        Layout.minimumWidth: 130
        Accessible.name: text
        font.pixelSize: 14
        font.bold: true
        contentItem: Label {
            text: button.text
            font: button.font
            color: button.primary ? "white" : AppPalette.blue600
            horizontalAlignment: Text.AlignHCenter
        }
        background: Rectangle {
            radius: 10
            color: button.primary ? AppPalette.blue600 : "white"
            border.color: AppPalette.blue600
            border.width: button.primary ? 0 : 1
        }
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
                    : window.state === UpdaterManager.Downloading ? "جاري التنزيل... ⬇️"
                    : window.state === UpdaterManager.Downloaded ? "التحديث وصل سليم ✅"
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
                    : window.state === UpdaterManager.Downloading
                      ? (UpdaterManager.downloadProgress < 0 ? "قاعدين ننزّل الإصدار " + UpdaterManager.newVersion
                         : "نزّلنا " + Math.round(UpdaterManager.downloadProgress * 100) + "٪ من الإصدار " + UpdaterManager.newVersion)
                    : window.state === UpdaterManager.Downloaded
                      ? "تأكدنا من توقيعه، وحطّيناه في مجلد التنزيلات باسم " + UpdaterManager.downloadedFileName
                    : window.state === UpdaterManager.Failed ? UpdaterManager.failureText
                    : "قاعدين نسأل عن آخر إصدار، ما راح نطوّل"
            }

            ProgressBar {
                Layout.fillWidth: true
                visible: window.state === UpdaterManager.Downloading
                indeterminate: UpdaterManager.downloadProgress < 0
                value: Math.max(0, UpdaterManager.downloadProgress)
                palette.dark: AppPalette.blue600
                Accessible.name: "تقدّم التنزيل"
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

            RowLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: 12

                UpdaterButton {
                    visible: window.state === UpdaterManager.UpdateAvailable
                    primary: true
                    text: "نزّله الحين ⬇️"
                    onClicked: UpdaterManager.download()
                }
                UpdaterButton {
                    visible: window.state === UpdaterManager.Downloaded
                    text: "وريني الملف 📂"
                    onClicked: UpdaterManager.showDownload()
                }
                UpdaterButton {
                    primary: window.state !== UpdaterManager.UpdateAvailable
                    text: window.busy ? "إلغاء"
                        : window.state === UpdaterManager.UpdateAvailable ? "بعدين"
                        : "تمام"
                    onClicked: window.busy ? UpdaterManager.cancel() : window.close()
                }
            }
        }
    }
}
