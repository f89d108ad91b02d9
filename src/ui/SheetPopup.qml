import QtQuick
import QtQuick.Controls

// A modal sheet over the whole window. Its content is built anew for each
// presentation and thrown away when it closes.
Popup {
    id: sheet

    property Component content

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
        sourceComponent: sheet.content

        // Content that is done with itself says so; the sheet it sits in goes away.
        Connections {
            target: loader.item
            ignoreUnknownSignals: true
            function onDismissRequested() { sheet.close() }
        }
    }
}
