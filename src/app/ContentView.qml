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
        sourceComponent: AppSettings.hasCompletedOnboarding ? ideasList : onboarding
    }

    Component {
        id: ideasList
        IdeasListView {}
    }

    Component {
        id: onboarding
        OnboardingView {}
    }

    Popup {
        id: whatsNewSheet

        objectName: "whatsNewSheet"
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(parent.width, 440)
        height: parent.height
        modal: true
        padding: 0
        visible: contentState.showWhatsNew
        onClosed: contentState.showWhatsNew = false

        contentItem: WhatsNewView {
            onDismissRequested: whatsNewSheet.close()
        }
    }

    Component.onCompleted: contentState.appear()
}
