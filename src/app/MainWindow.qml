import QtQuick
import QtQuick.Controls
import Fikranest

ApplicationWindow {
    id: window

    objectName: "main"
    title: "الفكرون"
    width: 440
    height: 720
    color: Theme.white

    // Each opening of the window builds the content afresh, so the root view
    // "appears" again and re-checks what is new.
    Loader {
        anchors.fill: parent
        active: window.visible
        sourceComponent: ContentView {}
    }

    Shortcut {
        sequences: [StandardKey.Close]
        onActivated: window.close()
    }
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: Qt.quit()
    }
}
