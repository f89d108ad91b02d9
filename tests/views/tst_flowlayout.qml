import QtQuick
import QtTest
import Fikranest

Item {
    id: root
    width: 400
    height: 400

    Component {
        id: chipsComponent
        FlowLayout {
            property alias first: first
            property alias second: second
            property alias third: third
            spacing: 8
            Rectangle { id: first; implicitWidth: 40; implicitHeight: 20 }
            Rectangle { id: second; implicitWidth: 40; implicitHeight: 30 }
            Rectangle { id: third; implicitWidth: 40; implicitHeight: 20 }
        }
    }

    Component {
        id: chipComponent
        Rectangle { implicitWidth: 30; implicitHeight: 10 }
    }

    Component {
        id: repeatedComponent
        FlowLayout {
            spacing: 8
            width: 100
            Repeater {
                model: 3
                Rectangle { implicitWidth: 40; implicitHeight: 20 }
            }
        }
    }

    Component {
        id: mirroredComponent
        Item {
            property alias flow: flow
            LayoutMirroring.enabled: true
            LayoutMirroring.childrenInherit: true
            FlowLayout {
                id: flow
                property alias first: first
                property alias second: second
                property alias third: third
                spacing: 8
                width: 100
                Rectangle { id: first; implicitWidth: 40; implicitHeight: 20 }
                Rectangle { id: second; implicitWidth: 40; implicitHeight: 30 }
                Rectangle { id: third; implicitWidth: 40; implicitHeight: 20 }
            }
        }
    }

    TestCase {
        name: "FlowLayout"
        when: windowShown

        function settled(flow) {
            waitForItemPolished(flow)
            return flow
        }

        function positions(flow) {
            return [flow.first, flow.second, flow.third].map(chip => Qt.point(chip.x, chip.y))
        }

        function test_wrapsAtItsWidth() {
            const flow = settled(createTemporaryObject(chipsComponent, root, { width: 100 }))
            compare(positions(flow), [Qt.point(0, 0), Qt.point(48, 0), Qt.point(0, 38)])
            compare(flow.first.width, 40)
            compare(flow.second.height, 30)
            compare(flow.implicitHeight, 58)
            compare(flow.implicitWidth, 136)
        }

        function test_followsWidthAndSpacing() {
            const flow = settled(createTemporaryObject(chipsComponent, root, { width: 100 }))
            flow.width = 136
            settled(flow)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(48, 0), Qt.point(96, 0)])
            compare(flow.implicitHeight, 30)

            flow.spacing = 2
            settled(flow)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(42, 0), Qt.point(84, 0)])

            flow.width = 80
            settled(flow)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(0, 22), Qt.point(0, 54)])
            compare(flow.implicitHeight, 74)
        }

        function test_followsItsChildren() {
            const flow = settled(createTemporaryObject(chipsComponent, root, { width: 100 }))
            flow.first.implicitWidth = 60
            settled(flow)
            compare(flow.first.width, 60)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(0, 28), Qt.point(48, 28)])

            flow.second.visible = false
            settled(flow)
            compare(flow.third.x, 0)
            compare(flow.third.y, 28)
            compare(flow.implicitHeight, 48)

            const added = chipComponent.createObject(flow)
            settled(flow)
            compare(Qt.point(added.x, added.y), Qt.point(48, 28))

            added.destroy()
            flow.third.parent = null
            tryVerify(() => flow.implicitHeight === 20)
        }

        function test_withoutAWidthTakesOneLine() {
            const flow = settled(createTemporaryObject(chipsComponent, root))
            compare(flow.width, 136)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(48, 0), Qt.point(96, 0)])
            compare(flow.implicitHeight, 30)
        }

        function test_aRepeaterTakesNoPlace() {
            const flow = settled(createTemporaryObject(repeatedComponent, root))
            const chips = Array.from(flow.children).filter(child => child.implicitWidth > 0)
            compare(chips.length, 3)
            compare(chips.map(chip => Qt.point(chip.x, chip.y)), [Qt.point(0, 0), Qt.point(48, 0), Qt.point(0, 28)])
        }

        function test_mirroredLinesStartAtTheRight() {
            const holder = createTemporaryObject(mirroredComponent, root)
            const flow = settled(holder.flow)
            compare(positions(flow), [Qt.point(60, 0), Qt.point(12, 0), Qt.point(60, 38)])

            holder.LayoutMirroring.enabled = false
            settled(flow)
            compare(positions(flow), [Qt.point(0, 0), Qt.point(48, 0), Qt.point(0, 38)])
        }
    }
}
