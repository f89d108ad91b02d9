import QtQuick
import Fikranest

Window {
    id: panelWindow

    title: "لوحة الفكرون"
    width: Theme.panelWidth
    height: view.implicitHeight
    flags: Qt.Tool | Qt.FramelessWindowHint
    color: Theme.white
    // Its text field holds the focus, and takes the keys once the desktop activates the panel.
    onVisibleChanged: if (visible) LatencyTrace.end("panel", panelWindow)

    Shortcut {
        sequence: StandardKey.Cancel
        onActivated: panelWindow.hide()
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: Qt.quit()
    }

    MenuBarView {
        id: view
        width: parent.width
        onDismissRequested: panelWindow.hide()
    }
}
