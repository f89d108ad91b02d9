import QtQuick
import QtQuick.Controls
import Fikranest

Item {
    id: root

    objectName: "contentView"

    LayoutMirroring.enabled: true
    LayoutMirroring.childrenInherit: true

    ContentState {
        id: contentState
    }

    Loader {
        id: content

        objectName: "content"
        anchors.fill: parent
        // Covered whole by the sheet; hidden, it stays out of the screen reader's way too.
        visible: !whatsNewSheet.visible
        // By file, so the view not shown is never compiled. The list is handed the other
        // screens it opens, which only the window names.
        function show() {
            if (AppSettings.hasCompletedOnboarding)
                setSource("IdeasListView.qml", {captureSheetSource: Qt.resolvedUrl("CaptureSheet.qml"),
                                                settingsSheetSource: Qt.resolvedUrl("SettingsView.qml")})
            else
                setSource("OnboardingView.qml")
        }
        Component.onCompleted: show()

        Connections {
            target: AppSettings
            function onHasCompletedOnboardingChanged() { swap.restart() }
        }
        // The walkthrough fades out and the list in, with the platform's default timing.
        SequentialAnimation {
            id: swap

            NumberAnimation { target: content; property: "opacity"; to: 0; duration: 175; easing.type: Easing.InOutQuad }
            ScriptAction { script: content.show() }
            NumberAnimation { target: content; property: "opacity"; to: 1; duration: 175; easing.type: Easing.InOutQuad }
        }
    }

    SheetPopup {
        id: whatsNewSheet

        objectName: "whatsNewSheet"
        visible: contentState.showWhatsNew
        onClosed: contentState.showWhatsNew = false
        source: "WhatsNewView.qml"
    }

    Component.onCompleted: contentState.appear()
}
