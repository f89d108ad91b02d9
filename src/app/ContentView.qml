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
        objectName: "content"
        anchors.fill: parent
        // Covered whole by the sheet; hidden, it stays out of the screen reader's way too.
        visible: !whatsNewSheet.visible
        // By file, so the view not shown is never compiled.
        source: AppSettings.hasCompletedOnboarding ? "IdeasListView.qml" : "OnboardingView.qml"
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
