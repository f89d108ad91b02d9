import QtQuick
import QtTest
import Fikranest

Item {
    id: root
    width: 440
    height: 720

    Component {
        id: sheetComponent
        CaptureSheet { anchors.fill: parent }
    }

    TestCase {
        name: "CaptureSheet"
        when: windowShown

        function named(item, name) {
            const kids = Array.from(item.data || []).concat(item.contentItem || [])
            return item.objectName === name ? item : kids.reduce((hit, kid) => hit || (kid !== item && named(kid, name)), null)
        }

        function test_keyboardSavesOnlyWithAText() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const dismissed = createTemporaryQmlObject("import QtTest; SignalSpy { signalName: 'dismissRequested' }", root)
            dismissed.target = sheet
            tryVerify(() => named(sheet, "titleField").activeFocus)
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            compare(dismissed.count, 0)

            sheet.model.title = "بالكيبورد"
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            compare(dismissed.count, 1)
            compare(named(sheet, "titleField").text, "بالكيبورد")
        }
    }
}
