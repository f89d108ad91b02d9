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

    title: "تحديثات الفكرون"
    width: 400
    height: page.implicitHeight
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height
    color: Theme.blue50

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: window.busy ? UpdaterManager.cancel() : window.close()
    }

    component UpdaterButton: AppButton {
        id: button

        property bool primary: false

        Layout.minimumWidth: 130
        Accessible.name: text
        font.pixelSize: Theme.subheadline
        font.bold: true
        contentItem: Label {
            textFormat: Text.PlainText
            text: button.text
            font: button.font
            color: button.primary ? Theme.white : Theme.blue600
            horizontalAlignment: Text.AlignHCenter
        }
        background: Rectangle {
            radius: Theme.radiusM
            color: button.primary ? Theme.blue600 : Theme.white
            border.color: Theme.blue600
            border.width: button.primary ? 0 : 1
        }
    }

    Item {
        id: page

        LayoutMirroring.enabled: true
        LayoutMirroring.childrenInherit: true
        width: window.width
        implicitHeight: column.implicitHeight + 2 * Theme.marginL

        ColumnLayout {
            id: column

            x: Theme.marginL
            y: Theme.marginL
            width: parent.width - 2 * Theme.marginL
            spacing: Theme.spacingXL

            Label {
                textFormat: Text.PlainText
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 19
                font.bold: true
                color: Theme.primaryText
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
                // Versions and file names come from the feed: markup there would load what it names.
                textFormat: Text.PlainText
                font.pixelSize: Theme.subheadline
                color: Theme.secondaryText
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
                palette.dark: Theme.blue600
                Accessible.name: "تقدّم التنزيل"
            }

            Rectangle {
                Layout.fillWidth: true
                visible: window.state === UpdaterManager.UpdateAvailable
                implicitHeight: Math.min(notesColumn.implicitHeight, 220) + 2 * Theme.spacingXL
                radius: Theme.radiusXL
                color: Theme.white

                ColumnLayout {
                    id: notesColumn

                    anchors.fill: parent
                    anchors.margins: Theme.spacingXL
                    spacing: Theme.spacingS

                    Label {
                        text: "وش الجديد؟"
                        font.pixelSize: Theme.callout
                        font.bold: true
                        color: Theme.primaryText
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
                            font.pixelSize: Theme.footnote
                            color: Theme.primaryText
                            Accessible.name: "ملاحظات الإصدار: " + UpdaterManager.releaseNotesText
                        }
                    }
                }
            }

            RowLayout {
                Layout.alignment: Qt.AlignHCenter
                spacing: Theme.spacingL

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
