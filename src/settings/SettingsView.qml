import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The settings sheet: a greeting, what we promise about privacy, where to ask for
// help, and what this build is.
Rectangle {
    id: view

    signal dismissRequested()

    readonly property color textColor: "#1F2937"
    readonly property color secondaryColor: "#6B7280"
    readonly property color tertiaryColor: "#9CA3AF"
    readonly property color supportTint: Qt.rgba(0, 136 / 255, 204 / 255, 1)

    objectName: "settingsView"
    color: AppPalette.blue50
    focus: true

    Shortcut {
        sequence: "Escape"
        onActivated: view.dismissRequested()
    }

    // Scrolls just enough to show an item that took the keyboard focus below the fold.
    function reveal(item) {
        const flick = scroll.contentItem
        const top = item.mapToItem(flick.contentItem, 0, 0).y - 20
        const bottom = top + item.height + 40
        if (top < flick.contentY)
            flick.contentY = Math.max(0, top)
        else if (bottom > flick.contentY + flick.height)
            flick.contentY = Math.min(flick.contentHeight - flick.height, bottom - flick.height)
    }

    // A white rounded card: the title, then whatever the card holds, at the leading edge.
    component SectionCard: Rectangle {
        id: card

        property string title
        default property alias content: cardColumn.data

        Layout.fillWidth: true
        implicitHeight: cardColumn.implicitHeight + 32
        radius: 16
        color: "white"

        ColumnLayout {
            id: cardColumn

            anchors.fill: parent
            anchors.margins: 16
            spacing: 12

            Label {
                // "ℹ" is a left-to-right letter: without the mark the line would run
                // left to right and put the emoji after the word.
                text: "\u200F" + card.title
                font.pixelSize: 17
                font.bold: true
                Accessible.name: card.title
            }
        }
    }

    // A symbol centred in a 24-px frame, so the texts beside a column of them line up.
    component FramedSymbol: Item {
        property alias name: symbol.name
        property alias size: symbol.size
        property alias color: symbol.color

        implicitWidth: 24
        implicitHeight: symbol.implicitHeight
        SymbolIcon {
            id: symbol
            anchors.centerIn: parent
            size: 16
            color: view.textColor
        }
    }

    component StatementRow: RowLayout {
        property alias symbol: icon.name
        property alias text: statement.text

        spacing: 10
        FramedSymbol { id: icon }
        Label {
            id: statement
            font.pixelSize: 14
        }
    }

    // A link whose whole face is clickable; a thin frame shows keyboard focus.
    component LinkButton: AppButton {
        id: link

        Layout.fillWidth: true
        flat: true
        padding: 0
        Accessible.name: text
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onActiveFocusChanged: if (activeFocus) view.reveal(link)
        background: Rectangle {
            radius: 8
            color: "transparent"
        }
    }

    Item {
        id: bar

        anchors.left: parent.left
        anchors.right: parent.right
        height: 52

        Label {
            anchors.centerIn: parent
            text: "الإعدادات"
            font.pixelSize: 17
            font.bold: true
        }
        AppButton {
            id: closeButton

            objectName: "closeButton"
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            padding: 6
            text: "إغلاق"
            Accessible.name: text
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            onClicked: view.dismissRequested()
            contentItem: SymbolIcon {
                name: "xmark.circle.fill"
                size: 18
                color: view.secondaryColor
            }
            background: Rectangle {
                radius: height / 2
                color: "transparent"
            }
        }
    }

    ScrollView {
        id: scroll

        anchors.top: bar.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        clip: true
        contentWidth: availableWidth
        contentHeight: blocks.implicitHeight + 40

        ColumnLayout {
            id: blocks

            x: 20
            y: 20
            width: scroll.availableWidth - 40
            spacing: 20

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 24
                Layout.bottomMargin: 24
                spacing: 8

                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "🗑️"
                    font.pixelSize: 48
                }
                Label {
                    objectName: "greeting"
                    Layout.alignment: Qt.AlignHCenter
                    text: "أهلاً " + AppSettings.userName
                    font.pixelSize: 20
                    font.bold: true
                }
            }

            SectionCard {
                title: "🔒 الخصوصية"

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 10

                    StatementRow { symbol: "iphone"; text: "بياناتك تبقى في جهازك فقط" }
                    StatementRow { symbol: "eye.slash"; text: "ما نجمع أي بيانات عنك" }
                    StatementRow { symbol: "server.rack"; text: "ما عندنا سيرفرات نخزن فيها شي" }
                    StatementRow { symbol: "hand.raised"; text: "ما نبيع ولا نشارك أي معلومة" }

                    ColumnLayout {
                        objectName: "syncRow"
                        Layout.fillWidth: true
                        spacing: 4

                        RowLayout {
                            spacing: 10
                            FramedSymbol {
                                objectName: "syncSymbol"
                                name: SyncStatus.isCloudKit ? "icloud.fill" : "icloud.slash"
                                size: 14
                                color: SyncStatus.isCloudKit ? "green" : "orange"
                            }
                            Label {
                                objectName: "syncText"
                                text: SyncStatus.isCloudKit ? "المزامنة عبر iCloud مفعّلة"
                                                            : "التخزين محلي فقط على هذا الجهاز"
                                font.pixelSize: 14
                            }
                        }
                        Label {
                            objectName: "syncReason"
                            Layout.fillWidth: true
                            Layout.leftMargin: 34
                            visible: !SyncStatus.isCloudKit
                            text: SyncStatus.reason
                            font.pixelSize: 11
                            color: view.secondaryColor
                            wrapMode: Text.WordWrap
                            // The reason is English; it still starts at the leading edge.
                            horizontalAlignment: Text.AlignLeft
                        }
                    }
                }
            }

            SectionCard {
                title: "💬 الدعم"

                LinkButton {
                    id: supportLink

                    objectName: "supportLink"
                    text: "تواصل معنا عبر تيليجرام"
                    font.pixelSize: 14
                    onClicked: AppLinks.open(AppLinks.supportUrl)
                    contentItem: RowLayout {
                        spacing: 10
                        FramedSymbol {
                            name: "paperplane.fill"
                            size: 14
                            color: view.supportTint
                        }
                        Label {
                            text: supportLink.text
                            font: supportLink.font
                        }
                        Item { Layout.fillWidth: true }
                        SymbolIcon {
                            name: "arrow.up.forward"
                            size: 12
                            color: view.tertiaryColor
                        }
                    }
                }
            }

            SectionCard {
                title: "ℹ️ عن التطبيق"

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 10

                    RowLayout {
                        spacing: 8
                        SymbolIcon {
                            name: "number"
                            size: 14
                            color: view.secondaryColor
                        }
                        Label {
                            objectName: "versionText"
                            text: "الإصدار " + AppVersion.current("1.0")
                            font.pixelSize: 14
                            color: view.secondaryColor
                        }
                    }
                    LinkButton {
                        id: makerLink

                        objectName: "makerLink"
                        Layout.fillWidth: false
                        text: AppLinks.makerLabel
                        font.pixelSize: 14
                        onClicked: AppLinks.open(AppLinks.makerUrl)
                        contentItem: RowLayout {
                            spacing: 8
                            SymbolIcon {
                                name: "globe"
                                size: 14
                                color: AppPalette.blue600
                            }
                            Label {
                                text: makerLink.text
                                font: makerLink.font
                                color: AppPalette.blue600
                            }
                        }
                    }
                }
            }

            Label {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: 20
                text: "صنع بحب في 🇸🇦"
                font.pixelSize: 13
            }
        }
    }
}
