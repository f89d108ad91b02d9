import QtQuick
import QtQuick.Controls
import Fikranest

// What just failed, in a few words; hidden while there is nothing to say. Boxed, it
// stands out over the content it floats on.
Label {
    id: line

    property bool boxed: false

    visible: text !== ""
    wrapMode: Text.WordWrap
    font.pixelSize: Theme.footnote
    color: boxed ? Theme.white : Theme.red
    padding: boxed ? Theme.spacingM : 0
    background: Rectangle {
        visible: line.boxed
        radius: Theme.radiusL
        color: Theme.red
    }
}
