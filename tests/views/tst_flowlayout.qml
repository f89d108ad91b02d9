import QtQuick
import QtTest
import Fikranest

// Where chips go is the pure arrangement's table; here only what the item adds: real
// child sizes, mirroring, and laying out again when its children change.
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
            const flow = settled(createTemporaryObject(chipsComponent, root, { width: 100 }))
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
