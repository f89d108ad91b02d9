import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// Connecting sync: the server, the user and the password; then where the ideas go.
Rectangle {
    id: sheet

    signal dismissRequested()

    objectName: "syncConnectSheet"
    color: Theme.blue50
    focus: true

    SyncSettingsModel {
        id: connecting
        onFinished: sheet.dismissRequested()
    }

    Shortcut {
        sequence: "Escape"
        onActivated: sheet.dismissRequested()
    }

    component Field: TextField {
        Layout.fillWidth: true
        font.pixelSize: Theme.body
        padding: Theme.spacingL
        enabled: !connecting.working
        // Mirrored to the right, so even the empty field starts where Arabic does.
        horizontalAlignment: TextInput.AlignLeft
        Accessible.name: placeholderText
        background: Rectangle {
            radius: Theme.radiusL
            color: Theme.white
            border.width: parent.activeFocus ? 2 : 1
            border.color: parent.activeFocus ? Theme.blue600 : Theme.blue100
        }
        onAccepted: connectButton.clicked()
    }

    Label {
        id: heading

        textFormat: Text.PlainText
        anchors.horizontalCenter: parent.horizontalCenter
        y: Theme.margin
        text: connecting.choosing ? "وين نحط أفكارك؟" : "ربط المزامنة"
        font.pixelSize: Theme.headline
        font.bold: true
    }

    ColumnLayout {
        anchors.top: heading.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.margin
        spacing: Theme.spacingL
        visible: !connecting.choosing

        Label { text: "عنوان السيرفر"; font.pixelSize: Theme.subheadline }
        Field {
            id: server
            objectName: "serverField"
            placeholderText: "https://cloud.example.com"
            inputMethodHints: Qt.ImhUrlCharactersOnly | Qt.ImhNoAutoUppercase
            Component.onCompleted: forceActiveFocus()
        }
        Label { text: "اسم المستخدم"; font.pixelSize: Theme.subheadline }
        Field {
            id: user
            objectName: "userField"
            inputMethodHints: Qt.ImhNoAutoUppercase
            Accessible.name: "اسم المستخدم"
        }
        Label { text: "كلمة السر"; font.pixelSize: Theme.subheadline }
        Field {
            id: password
            objectName: "passwordField"
            echoMode: TextInput.Password
            Accessible.name: "كلمة السر"
        }
        ErrorLine {
            objectName: "connectError"
            Layout.fillWidth: true
            text: connecting.error
        }
        AppButton {
            id: connectButton

            objectName: "connectButton"
            Layout.fillWidth: true
            enabled: !connecting.working
            text: connecting.working ? "لحظة، نسلّم على السيرفر... 👋" : "اربط 🔗"
            font.pixelSize: Theme.callout
            font.bold: true
            Accessible.name: text
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            onClicked: connecting.connectAccount(server.text, user.text, password.text)
        }
        AppButton {
            Layout.fillWidth: true
            flat: true
            text: "إلغاء"
            font.pixelSize: Theme.callout
            Accessible.name: text
            onClicked: sheet.dismissRequested()
        }
    }

    ColumnLayout {
        anchors.top: heading.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.margin
        spacing: Theme.spacingM
        visible: connecting.choosing

        Repeater {
            model: connecting.lists
            AppButton {
                required property var modelData
                required property int index

                objectName: "listChoice"
                Layout.fillWidth: true
                enabled: !connecting.working
                text: modelData.name
                font.pixelSize: Theme.callout
                font.bold: index === 0
                Accessible.name: text
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: connecting.choose(index)
                Component.onCompleted: if (index === 0) forceActiveFocus()
            }
        }
        ProgressBar {
            Layout.fillWidth: true
            visible: connecting.working
            indeterminate: true
        }
        ErrorLine {
            Layout.fillWidth: true
            text: connecting.error
        }
    }
}
