import QtQuick
import QtTest
import Fikranest

Item {
    id: root
    width: 440
    height: 720

    Component {
        id: sheetComponent
        CaptureSheet {
            anchors.fill: parent
        }
    }

    TestCase {
        name: "CaptureSheet"
        when: windowShown

        function find(item, test) {
            if (test(item))
                return item
            const kids = item.data || []
            for (let i = 0; i < kids.length; ++i) {
                const found = find(kids[i], test)
                if (found)
                    return found
            }
            if (item.contentItem && item.contentItem !== item) {
                const found = find(item.contentItem, test)
                if (found)
                    return found
            }
            return null
        }

        function named(sheet, name) {
            return find(sheet, item => item.objectName === name)
        }

        function chip(sheet, text) {
            return find(sheet, item => item.selected !== undefined && item.text === text)
        }

        function test_chipsShowTheChoice() {
            const sheet = createTemporaryObject(sheetComponent, root)
            waitForRendering(sheet)
            const idea = chip(sheet, "فكرة")
            const task = chip(sheet, "مهمة")
            verify(idea.selected)
            compare(idea.background.color.toString(), AppPalette.blue600.toString())
            compare(task.background.color.toString(), AppPalette.blue50.toString())

            mouseClick(task)
            compare(sheet.model.selectedCategory, "مهمة")
            verify(task.selected && !idea.selected)

            const later = chip(sheet, "بعدين 🎲")
            mouseClick(later)
            verify(later.selected)
            tryCompare(later.background, "color", AppPalette.blue600)
            mouseClick(later)
            verify(!later.selected)
            compare(sheet.model.selectedReminder, -1)
        }

        function test_theSaveButtonFadesWhileTheTitleIsBlank() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const save = named(sheet, "saveButton")
            compare(save.background.opacity, 0.4)
            compare(save.background.color.toString(), AppPalette.blue600.toString())
            sheet.model.title = " \t "
            compare(save.background.opacity, 0.4)
            sheet.model.title = "فكرة"
            compare(save.background.opacity, 1)
        }

        function test_dictatedTextIsOfferedUntilUsed() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const use = named(sheet, "useTranscribedButton")
            verify(!use.visible)
            sheet.model.recorder.transcribedText = "نص منطوق"
            verify(use.visible)
            compare(use.text, "استخدم النص ✓")
            mouseClick(use)
            compare(sheet.model.title, "نص منطوق")
            verify(!use.visible)
        }

        function test_theRecordersFailureIsShown() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const error = named(sheet, "recorderError")
            verify(!error.visible)
            sheet.model.tapVoiceButton()
            tryCompare(error, "visible", true)
            compare(error.text, "التعرف على الكلام غير متوفر")
        }

        function test_savingClosesTheSheetOnlyWithAText() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const dismissed = createTemporaryQmlObject("import QtTest; SignalSpy { signalName: 'dismissRequested' }", root)
            dismissed.target = sheet
            sheet.save()
            compare(dismissed.count, 0)
            sheet.model.title = "فكرة من اختبار"
            sheet.save()
            compare(dismissed.count, 1)
        }

        function test_keyboardSavesAndCancels() {
            const sheet = createTemporaryObject(sheetComponent, root)
            const dismissed = createTemporaryQmlObject("import QtTest; SignalSpy { signalName: 'dismissRequested' }", root)
            dismissed.target = sheet
            const field = named(sheet, "titleField")
            tryVerify(() => field.activeFocus)
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            compare(dismissed.count, 0)
            compare(field.text, "")

            sheet.model.title = "بالكيبورد"
            keyClick(Qt.Key_Return, Qt.ControlModifier)
            compare(dismissed.count, 1)
            compare(field.text, "بالكيبورد")

            keyClick(Qt.Key_Escape)
            compare(dismissed.count, 2)
        }
    }
}
