import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The Arabic speech model, while none is installed: the offer, the download under way
// with what is left of it, and what went wrong.
ColumnLayout {
    id: offer

    // The sheet says what the model is for; the settings row names it already.
    property bool explained: true

    visible: !SpeechModelInstaller.ready
    spacing: Theme.spacingS

    Label {
        Layout.fillWidth: true
        visible: offer.explained && !SpeechModelInstaller.downloading && !SpeechModelInstaller.unpacking
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        text: SpeechModelInstaller.offerText
        font.pixelSize: Theme.footnote
        color: Theme.secondaryText
    }
    AppButton {
        objectName: "downloadModel"
        visible: !SpeechModelInstaller.downloading && !SpeechModelInstaller.unpacking
        text: "نزّله الحين ⬇️"
        font.pixelSize: Theme.footnote
        onClicked: SpeechModelInstaller.download()
    }
    ProgressBar {
        Layout.fillWidth: true
        visible: SpeechModelInstaller.downloading
        value: SpeechModelInstaller.progress
        Accessible.name: "تنزيل نموذج التعرف على الكلام"
    }
    RowLayout {
        Layout.fillWidth: true
        visible: SpeechModelInstaller.downloading
        spacing: Theme.spacingS
        Label {
            textFormat: Text.PlainText
            text: SpeechModelInstaller.progressText
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        Label {
            Layout.fillWidth: true
            textFormat: Text.PlainText
            text: SpeechModelInstaller.timeLeftText
            font.pixelSize: Theme.footnote
            color: Theme.secondaryText
        }
        AppButton {
            text: "إلغاء"
            Accessible.name: "إلغاء التنزيل"
            font.pixelSize: Theme.footnote
            onClicked: SpeechModelInstaller.cancel()
        }
    }
    Label {
        visible: SpeechModelInstaller.unpacking
        text: "لحظة، نركّب النموذج... ⏳"
        font.pixelSize: Theme.footnote
        color: Theme.secondaryText
    }
    ErrorLine {
        objectName: "modelError"
        Layout.fillWidth: true
        text: SpeechModelInstaller.failure
    }
}
