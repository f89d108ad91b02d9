import QtQuick
import Fikranest

Window {
    id: panelWindow

    // What the panel is sized after: its width, and all the height it asks for.
    readonly property Item body: view

    title: "لوحة الفكرون"
    width: Theme.panelWidth
    flags: Qt.Tool | Qt.FramelessWindowHint
    color: Theme.white
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
        // So its quick field, which holds the focus inside it, gets the keys as soon as the panel does.
        focus: true
        onDismissRequested: panelWindow.hide()
    }
}
