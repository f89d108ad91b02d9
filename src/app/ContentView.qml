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
        sourceComponent: AppSettings.hasCompletedOnboarding ? ideasList : onboarding
    }

    Component {
        id: ideasList
        IdeasListView {
            captureSheetContent: Component { CaptureSheet {} }
            settingsSheetContent: Component { SettingsView {} }
        }
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
            WhatsNewView {}
        }
    }

    Component.onCompleted: contentState.appear()
}
