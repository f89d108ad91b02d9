import QtQuick
import Fikranest

Window {
    id: panelWindow

    title: "لوحة الفكرون"
    width: 280
    height: view.implicitHeight
    flags: Qt.Tool | Qt.FramelessWindowHint
    color: "white"

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: panelWindow.hide()
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: FikranestApp.quit()
    }

    MenuBarView {
        id: view
        width: parent.width
        onDismissRequested: panelWindow.hide()
    }
}
