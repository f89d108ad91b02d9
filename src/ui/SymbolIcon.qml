import QtQuick
import Fikranest

// A system symbol by name, e.g. SymbolIcon { name: "plus.bubble.fill"; size: 16 }.
Text {
    property string name
    property real size: 16

    text: Symbols.glyph(name)
    font.family: Symbols.fontFamily
    font.pixelSize: size
    Accessible.ignored: true
}
