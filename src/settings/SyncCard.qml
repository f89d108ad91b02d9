import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// Sync with the person's own CalDAV server: how to connect while it is off; the server,
// the last pass or why it stopped, "sync now" and disconnecting while it is on.
SectionCard {
    id: card

    objectName: "syncCard"
    title: "🔄 المزامنة"

    Label {
        objectName: "syncInvitation"
        Layout.fillWidth: true
        visible: !SyncService.connected
        text: "وصّل أفكارك بجوالك وأجهزتك الثانية عن طريق CalDAV (Nextcloud، Radicale، وغيرها) 📱"
        wrapMode: Text.WordWrap
        font.pixelSize: Theme.subheadline
    }
    AppButton {
        objectName: "connectSync"
        visible: !SyncService.connected
        text: "اربط حسابك 🔗"
        font.pixelSize: Theme.callout
        Accessible.name: text
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onClicked: connectSheet.open()
    }

    RowLayout {
        visible: SyncService.connected
        spacing: Theme.spacingM
        FramedSymbol {
            name: SyncService.healthy ? "icloud.fill" : "icloud.slash"
            size: Theme.subheadline
            color: SyncService.healthy ? Theme.green : Theme.orange
        }
        Label {
            objectName: "syncState"
            textFormat: Text.PlainText
            Layout.fillWidth: true
            text: "المزامنة مع " + SyncService.host + " شغّالة ✅"
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.subheadline
        }
    }
    Label {
        objectName: "syncDetail"
        textFormat: Text.PlainText
        Layout.fillWidth: true
        visible: SyncService.connected && text !== ""
        text: SyncService.failure !== "" ? "المزامنة واقفة: " + SyncService.failure
            : SyncService.busy && isNaN(SyncService.lastSyncedAt) ? "لحظة، نزامن... ⏳"
            : isNaN(SyncService.lastSyncedAt) ? ""
            : "آخر مزامنة: " + DateTexts.relativeText(SyncService.lastSyncedAt, DateTexts.now)
        wrapMode: Text.WordWrap
        font.pixelSize: Theme.footnote
        color: SyncService.failure !== "" ? Theme.red : Theme.secondaryText
    }
    ProgressBar {
        Layout.fillWidth: true
        visible: SyncService.connected && SyncService.busy
        indeterminate: true
    }
    RowLayout {
        visible: SyncService.connected
        spacing: Theme.spacingM
        AppButton {
            objectName: "syncNow"
            text: "زامن الحين 🔄"
            enabled: !SyncService.busy
            font.pixelSize: Theme.callout
            Accessible.name: text
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            onClicked: SyncService.syncNow()
        }
        AppButton {
            objectName: "disconnectSync"
            text: "افصل الحساب"
            flat: true
            font.pixelSize: Theme.callout
            palette.buttonText: Theme.red
            Accessible.name: text
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            onClicked: disconnectAlert.open()
        }
    }

    SheetPopup {
        id: connectSheet
        source: "SyncConnectSheet.qml"
    }

    Dialog {
        id: disconnectAlert

        objectName: "disconnectAlert"
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(300, parent ? parent.width - 2 * Theme.margin : 300)
        modal: true
        padding: Theme.margin
        topPadding: Theme.spacingS
        background: Rectangle {
            radius: Theme.radiusXL
            color: Theme.white
        }
        contentItem: Label {
            topPadding: Theme.margin
            text: "أكيد تبي تفصل؟ أفكارك تبقى في جهازك"
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.subheadline
        }
        footer: RowLayout {
            LayoutMirroring.enabled: true
            LayoutMirroring.childrenInherit: true
            spacing: Theme.spacingM

            AppButton {
                Layout.fillWidth: true
                Layout.leftMargin: Theme.margin
                Layout.bottomMargin: Theme.margin
                text: "إلغاء"
                font.pixelSize: Theme.callout
                Accessible.name: text
                onClicked: disconnectAlert.close()
            }
            AppButton {
                Layout.fillWidth: true
                Layout.rightMargin: Theme.margin
                Layout.bottomMargin: Theme.margin
                text: "افصل"
                font.pixelSize: Theme.callout
                font.bold: true
                palette.buttonText: Theme.red
                Accessible.name: text
                onClicked: {
                    disconnectAlert.close()
                    SyncService.disconnectAccount()
                }
            }
        }
    }
}
