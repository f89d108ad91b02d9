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

    SheetPopup {
        id: whatsNewSheet

        objectName: "whatsNewSheet"
        visible: contentState.showWhatsNew
        onClosed: contentState.showWhatsNew = false
        content: Component {
            WhatsNewView {
                onDismissRequested: whatsNewSheet.close()
            }
        }
    }

    Component.onCompleted: contentState.appear()
}
