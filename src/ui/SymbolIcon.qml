import QtQuick
import Fikranest

// A system symbol by name, e.g. SymbolIcon { name: "plus.bubble.fill"; size: 16 }.
// Left and right stay as named; forward and backward turn with the reading direction.
Text {
    id: icon

    property string name
    property real size: 16

    // Between two marks the glyph reads left to right, so the font never swaps in its
    // own mirrored shape.
    text: "\u200E" + Symbols.glyph(name) + "\u200E"
    font.family: Symbols.fontFamily
    font.pixelSize: size
    Accessible.ignored: true
    transform: Scale {
        origin.x: icon.width / 2
        xScale: icon.LayoutMirroring.enabled && Symbols.followsReading(icon.name) ? -1 : 1
    }
}
