import QtQuick
import Fikranest

// A system symbol by name, e.g. SymbolIcon { name: "plus.bubble.fill"; size: 16 }.
// Left and right stay as named; forward and backward turn with the reading direction.
Text {
    id: icon

    textFormat: Text.PlainText
    property string name
    property real size: Theme.body

    text: Symbols.glyph(name)
    font.family: Symbols.fontFamily
    font.pixelSize: size
    Accessible.ignored: true
    transform: Scale {
        origin.x: icon.width / 2
        xScale: icon.LayoutMirroring.enabled && Symbols.followsReading(icon.name) ? -1 : 1
    }
}
