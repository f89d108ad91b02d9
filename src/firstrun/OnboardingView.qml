import QtQuick
import QtQuick.Controls
import Fikranest

// The first-run walkthrough.
Rectangle {
    objectName: "onboardingView"
    gradient: Gradient {
        GradientStop { position: 0; color: AppPalette.blue600 }
        GradientStop { position: 1; color: AppPalette.blue800 }
    }

    Label {
        anchors.centerIn: parent
        text: "الترحيب"
        color: "white"
        font.pixelSize: 28
        font.bold: true
    }
}
