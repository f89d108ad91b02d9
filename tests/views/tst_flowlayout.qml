import QtQuick
import QtTest
import Fikranest

// Where chips go is the pure arrangement's table; here only what the item adds: real
// child sizes, mirroring, and laying out again when anything it depends on changes.
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

        function settled(flow) {
            waitForItemPolished(flow)
            return flow
        }

        function positions(items) {
            return items.map(chip => [chip.x, chip.y])
        }

        // Laid out at 100 wide with a gap of 8 first, then changed to the row's.
        function test_arrangement_data() {
            return [
                { tag: "narrower", width: 80, positions: [[0, 0], [0, 28], [0, 66]], height: 86 },
                { tag: "smaller gap", spacing: 2, positions: [[0, 0], [42, 0], [0, 32]], height: 52 },
                { tag: "no width: one line", width: null, positions: [[0, 0], [48, 0], [96, 0]], height: 30 },
                { tag: "mirrored", mirrored: true, positions: [[60, 0], [12, 0], [60, 38]], height: 58 },
            ]
        }

        function test_arrangement(row) {
            const flow = settled(createTemporaryObject(chipsComponent, root, row.width === null ? {} : { width: 100 }))
            flow.width = row.width || flow.width
            flow.spacing = row.spacing || flow.spacing
            flow.LayoutMirroring.enabled = !!row.mirrored
            settled(flow)
            compare(positions(flow.chips), row.positions)
            compare(flow.implicitHeight, row.height)
            compare(flow.implicitWidth, 136 + 2 * (flow.spacing - 8))
            if (row.width === null)
                compare(flow.width, 136)
        }

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

            added.destroy()
            flow.chips[2].parent = null
            tryVerify(() => flow.implicitHeight === 20)
        }
    }
}
