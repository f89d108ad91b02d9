import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The tray panel.
Pane {
    id: panel

    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true
    width: 280
    padding: 16
    background: Rectangle { color: "white" }

    // A first run asks for the main window through here.
    Connections {
        target: AppEvents
        function onOpenMainWindowRequested() { FikranestApp.openWindow("main") }
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 12

        RowLayout {
            Layout.fillWidth: true
            ColumnLayout {
                spacing: 2
                Label {
                    text: "الفكرون 🗑️"
                    font.pixelSize: 16
                    font.bold: true
                }
                Label {
                    text: "كب فكرتك!"
                    font.pixelSize: 12
                    opacity: 0.6
                }
            }
            Item { Layout.fillWidth: true }
            SymbolIcon {
                name: SyncStatus.isCloudKit ? "icloud.fill" : "icloud.slash"
                size: 12
                color: AppPalette.blue600
                ToolTip.visible: syncHover.hovered
                ToolTip.text: SyncStatus.isCloudKit ? "المزامنة عبر iCloud مفعّلة" : "التخزين محلي فقط على هذا الجهاز"
                HoverHandler { id: syncHover }
            }
        }

        AppButton {
            Layout.fillWidth: true
            flat: true
            text: "افتح كل الأفكار"
            onClicked: FikranestApp.openWindow("main")
        }

        AppButton {
            Layout.fillWidth: true
            flat: true
            text: "إغلاق التطبيق"
            onClicked: FikranestApp.quit()
        }
    }
}
