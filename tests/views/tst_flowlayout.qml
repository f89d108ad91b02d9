import QtQuick
import QtTest
import Fikranest

// Where chips go at the edges of a line, and again as the children change, mirrored
// for right to left.
Item {
    id: root
    width: 400
    height: 400

    Component {
        id: chipsComponent
        FlowLayout {
            readonly property var chips: [first, second, third]
            spacing: 8
            Rectangle { id: first; implicitWidth: 40; implicitHeight: 20 }
            Rectangle { id: second; implicitWidth: 40; implicitHeight: 30 }
            Rectangle { id: third; implicitWidth: 40; implicitHeight: 20 }
            // Takes no place of its own.
            Repeater { model: 0; Rectangle {} }
        }
    }

    Component {
        id: chipComponent
        Rectangle { implicitWidth: 30; implicitHeight: 10 }
    }

    TestCase {
        name: "FlowLayout"
        when: windowShown

        function settled(flow) { waitForItemPolished(flow); return flow }

        function positions(items) { return items.map(chip => [chip.x, chip.y]) }

        function test_followsItsChildren() {
            const flow = settled(createTemporaryObject(chipsComponent, root, { width: 136 }))
            // The right edge exactly at the width stays; one point over breaks, below the taller chip.
            compare(positions(flow.chips), [[0, 0], [48, 0], [96, 0]])
            compare(flow.implicitWidth, 136)
            flow.width = 135
            settled(flow)
            compare(positions(flow.chips), [[0, 0], [48, 0], [0, 38]])
            compare(flow.implicitHeight, 58)
            // Too wide for any line: alone on its own, overflowing.
            flow.width = 100
            flow.chips[1].implicitWidth = 150
            settled(flow)
            compare(positions(flow.chips), [[0, 0], [0, 28], [0, 66]])
            flow.chips[1].implicitWidth = 40
            flow.chips[0].implicitWidth = 60
            settled(flow)
            compare(flow.chips[0].width, 60)
            compare(positions(flow.chips), [[0, 0], [0, 28], [48, 28]])

            flow.chips[1].visible = false
            settled(flow)
            compare(positions([flow.chips[2]]), [[0, 28]])
            compare(flow.implicitHeight, 48)

            const added = chipComponent.createObject(flow)
            settled(flow)
            compare(positions([added]), [[48, 28]])
            flow.LayoutMirroring.enabled = true
            settled(flow)
            compare(positions([flow.chips[0], flow.chips[2], added]), [[40, 0], [60, 28], [22, 28]])

            added.destroy()
            flow.chips[2].parent = null
            tryVerify(() => flow.implicitHeight === 20)
        }
    }
}
