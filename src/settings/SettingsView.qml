import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// The settings sheet: a greeting, what we promise about privacy, where to ask for
// help, and what this build is.
Rectangle {
    id: view

    signal dismissRequested()

    // Ideas leave this machine for the person's own server, or iCloud's.
    readonly property bool synced: SyncStatus.isCloudKit || SyncService.healthy

    objectName: "settingsView"
    color: Theme.blue50
    focus: true

    Shortcut {
        sequence: "Escape"
        onActivated: view.dismissRequested()
    }

    // Scrolls just enough to show an item that took the keyboard focus below the fold.
    function reveal(item) {
        const flick = scroll.contentItem
        const top = item.mapToItem(flick.contentItem, 0, 0).y - Theme.margin
        const bottom = top + item.height + 2 * Theme.margin
        if (top < flick.contentY)
            flick.contentY = Math.max(0, top)
        else if (bottom > flick.contentY + flick.height)
            flick.contentY = Math.min(flick.contentHeight - flick.height, bottom - flick.height)
    }

    component StatementRow: RowLayout {
        property alias symbol: icon.name
        property alias text: statement.text

        spacing: Theme.spacingM
        FramedSymbol { id: icon }
        Label {
            id: statement
            font.pixelSize: Theme.subheadline
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
            radius: Theme.radiusS
            color: "transparent"
        }
    }

    Item {
        id: bar

        anchors.left: parent.left
        anchors.right: parent.right
        height: Theme.navigationBarHeight

        Label {
            anchors.centerIn: parent
            text: "الإعدادات"
            font.pixelSize: Theme.headline
            font.bold: true
        }
        AppButton {
            id: closeButton

            objectName: "closeButton"
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingS
            anchors.verticalCenter: parent.verticalCenter
            flat: true
            padding: Theme.spacingXS
            text: "إغلاق"
            Accessible.name: text
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            onClicked: view.dismissRequested()
            contentItem: SymbolIcon {
                name: "xmark.circle.fill"
                size: Theme.title3
                color: Theme.secondaryText
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
        contentHeight: blocks.implicitHeight + 2 * Theme.margin

        ColumnLayout {
            id: blocks

            x: Theme.margin
            y: Theme.margin
            width: scroll.availableWidth - 2 * Theme.margin
            spacing: Theme.margin

            ColumnLayout {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: Theme.marginL
                Layout.bottomMargin: Theme.marginL
                spacing: Theme.spacingS

                Label {
                    Layout.alignment: Qt.AlignHCenter
                    text: "🗑️"
                    font.pixelSize: Theme.display
                }
                Label {
                    objectName: "greeting"
                    textFormat: Text.PlainText
                    Layout.alignment: Qt.AlignHCenter
                    // However long the name, the sheet keeps its width.
                    Layout.maximumWidth: scroll.availableWidth - 2 * Theme.margin
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    text: "أهلاً " + AppSettings.userName
                    font.pixelSize: Theme.title2
                    font.bold: true
                }
            }

            SectionCard {
                title: "🔒 الخصوصية"

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: Theme.spacingM

                    StatementRow { symbol: "iphone"; text: "بياناتك تبقى في جهازك فقط" }
                    StatementRow { symbol: "eye.slash"; text: "ما نجمع أي بيانات عنك" }
                    StatementRow { symbol: "server.rack"; text: "ما عندنا سيرفرات نخزن فيها شي" }
                    StatementRow { symbol: "hand.raised"; text: "ما نبيع ولا نشارك أي معلومة" }

                    ColumnLayout {
                        objectName: "syncRow"
                        Layout.fillWidth: true
                        spacing: Theme.spacingXXS

                        RowLayout {
                            spacing: Theme.spacingM
                            FramedSymbol {
                                id: syncSymbol

                                objectName: "syncSymbol"
                                name: view.synced ? "icloud.fill" : "icloud.slash"
                                size: Theme.subheadline
                                color: view.synced ? Theme.green : Theme.orange
                            }
                            Label {
                                objectName: "syncText"
                                textFormat: Text.PlainText
                                text: SyncStatus.isCloudKit ? "المزامنة عبر iCloud مفعّلة"
                                      : SyncService.healthy ? "المزامنة مع " + SyncService.host + " شغّالة ✅"
                                      : "التخزين محلي فقط على هذا الجهاز"
                                font.pixelSize: Theme.subheadline
                            }
                        }
                        Label {
                            objectName: "syncReason"
                            textFormat: Text.PlainText
                            Layout.fillWidth: true
                            // Under the text beside the symbol.
                            Layout.leftMargin: syncSymbol.implicitWidth + Theme.spacingM
                            visible: !view.synced
                            text: SyncStatus.reason
                            font.pixelSize: Theme.caption2
                            color: Theme.secondaryText
                            wrapMode: Text.WordWrap
                            // The reason is English; it still starts at the leading edge.
                            horizontalAlignment: Text.AlignLeft
                        }
                    }
                }
            }

            SyncCard {}

            SectionCard {
                title: "💬 الدعم"

                LinkButton {
                    id: supportLink

                    objectName: "supportLink"
                    text: "تواصل معنا عبر تيليجرام"
                    font.pixelSize: Theme.subheadline
                    onClicked: AppLinks.open(AppLinks.supportUrl)
                    contentItem: RowLayout {
                        spacing: Theme.spacingM
                        FramedSymbol {
                            name: "paperplane.fill"
                            size: Theme.subheadline
                            color: Theme.telegramBlue
                        }
                        Label {
                            textFormat: Text.PlainText
                            text: supportLink.text
                            font: supportLink.font
                        }
                        Item { Layout.fillWidth: true }
                        SymbolIcon {
                            name: "arrow.up.forward"
                            size: Theme.caption
                            color: Theme.tertiaryText
                        }
                    }
                }
            }

            SectionCard {
                title: "ℹ️ عن التطبيق"

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: Theme.spacingM

                    RowLayout {
                        spacing: Theme.spacingS
                        SymbolIcon {
                            name: "number"
                            size: Theme.subheadline
                            color: Theme.secondaryText
                        }
                        Label {
                            objectName: "versionText"
                            textFormat: Text.PlainText
                            text: "الإصدار " + AppVersion.current("1.0")
                            font.pixelSize: Theme.subheadline
                            color: Theme.secondaryText
                        }
                    }
                    RowLayout {
                        spacing: Theme.spacingS
                        SymbolIcon {
                            name: "mic.fill"
                            size: Theme.subheadline
                            color: SpeechModelInstaller.ready ? Theme.green : Theme.secondaryText
                        }
                        Label {
                            objectName: "speechText"
                            Layout.fillWidth: true
                            textFormat: Text.PlainText
                            text: "التعرف على الكلام: " + (SpeechModelInstaller.ready ? "جاهز ✅" : "غير مثبت")
                            font.pixelSize: Theme.subheadline
                            color: Theme.secondaryText
                        }
                    }
                    SpeechModelOffer {
                        Layout.fillWidth: true
                        explained: false
                    }
                    LinkButton {
                        id: makerLink

                        objectName: "makerLink"
                        Layout.fillWidth: false
                        text: AppLinks.makerLabel
                        font.pixelSize: Theme.subheadline
                        onClicked: AppLinks.open(AppLinks.makerUrl)
                        contentItem: RowLayout {
                            spacing: Theme.spacingS
                            SymbolIcon {
                                name: "globe"
                                size: Theme.subheadline
                                color: Theme.blue600
                            }
                            Label {
                                textFormat: Text.PlainText
                                text: makerLink.text
                                font: makerLink.font
                                color: Theme.blue600
                            }
                        }
                    }
                }
            }

            Label {
                Layout.alignment: Qt.AlignHCenter
                Layout.topMargin: Theme.margin
                text: "صنع بحب في 🇸🇦"
                font.pixelSize: Theme.footnote
            }
        }
    }
}
