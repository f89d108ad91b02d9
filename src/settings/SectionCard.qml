import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Fikranest

// A white rounded card of the settings: the title, then whatever the card holds, at the
// leading edge.
Rectangle {
    id: card

    property string title
    default property alias content: cardColumn.data

    Layout.fillWidth: true
    implicitHeight: cardColumn.implicitHeight + 2 * Theme.spacingXXL
    radius: Theme.radiusXXL
    color: Theme.white

    ColumnLayout {
        id: cardColumn

        anchors.fill: parent
        anchors.margins: Theme.spacingXXL
        spacing: Theme.spacingL

        Label {
            textFormat: Text.PlainText
            // "ℹ" is a left-to-right letter: without the mark the line would run
            // left to right and put the emoji after the word.
            text: "\u200F" + card.title
            font.pixelSize: Theme.headline
            font.bold: true
            Accessible.name: card.title
        }
    }
}
