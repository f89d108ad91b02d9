import QtQuick
import QtQuick.Controls

// A modal sheet over the whole window. Its content is built anew for each
// presentation and thrown away when it closes.
Popup {
    id: sheet

    // The content's file, compiled when the sheet first opens rather than with the view
    // that holds it. The content closes the sheet with its dismissRequested().
    property url source

    parent: Overlay.overlay
    x: 0
    y: 0
    width: parent ? parent.width : 0
    height: parent ? parent.height : 0
    modal: true
    focus: true
    padding: 0
    closePolicy: Popup.CloseOnEscape

    // The overlay lies outside the window's content, so the sheet mirrors itself.
    contentItem: Loader {
        id: loader

        LayoutMirroring.enabled: true
        LayoutMirroring.childrenInherit: true
        active: sheet.visible
        focus: true
        source: sheet.source
    }

    Connections {
        target: loader.item
        ignoreUnknownSignals: true
        function onDismissRequested() { sheet.close() }
    }
}
