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

        function find(item, test) {
            const kids = Array.from(item.data || []).concat(item.contentItem || [])
            return test(item) ? item : kids.reduce((hit, kid) => hit || (kid !== item && find(kid, test)), null)
        }

        function named(sheet, name) { return find(sheet, item => item.objectName === name) }

        function chip(sheet, text) { return find(sheet, item => item.selected !== undefined && item.text === text) }

        function test_chipsShowTheChoice() {
            const sheet = createTemporaryObject(sheetComponent, root)
            waitForRendering(sheet)
            const idea = chip(sheet, "فكرة")
            const task = chip(sheet, "مهمة")
            verify(idea.selected)
            compare(idea.background.color, AppPalette.blue600)
            compare(task.background.color, AppPalette.blue50)
            mouseClick(task)
            verify(task.selected && !idea.selected)

            // The reminder chips take their colour over time.
            const later = chip(sheet, "بعدين 🎲")
            mouseClick(later)
            verify(later.selected)
            tryCompare(later.background, "color", AppPalette.blue600)
        }

        function test_theSaveButtonFadesWhileTheTitleIsBlank() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const save = named(sheet, "saveButton")
            sheet.model.title = " \t "
            compare(save.background.opacity, 0.4)
            sheet.model.title = "فكرة"
            compare(save.background.opacity, 1)
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
