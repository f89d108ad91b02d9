import QtQuick
import Fikranest

Window {
    title: "لوحة الفكرون"
    width: 280
    height: view.implicitHeight
    flags: Qt.Tool | Qt.FramelessWindowHint
    color: "white"

    MenuBarView {
        id: view
        width: parent.width
    }
}
