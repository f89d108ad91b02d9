import QtQuick
import QtTest
import Fikranest

Item {
    id: root
    width: 440
    height: 720

    Component {
        id: contentComponent
        ContentView {
            anchors.fill: parent
        }
    }

    TestCase {
        name: "ContentView"
        when: windowShown

        function findNamed(item, name) {
            if (item.objectName === name)
                return item
            const kids = item.data || []
            for (let i = 0; i < kids.length; ++i) {
                const found = findNamed(kids[i], name)
                if (found)
                    return found
            }
            return null
        }

        function makeContent() {
            return createTemporaryObject(contentComponent, root)
        }

        function test_onboardingUntilCompletedThenTheList() {
            AppSettings.hasCompletedOnboarding = false
            const content = makeContent()
            verify(findNamed(content, "onboardingView"))
            verify(!findNamed(content, "ideasListView"))

            // Finishing onboarding elsewhere switches the content without being told.
            AppSettings.hasCompletedOnboarding = true
            tryVerify(() => findNamed(content, "ideasListView") !== null)
            verify(!findNamed(content, "onboardingView"))
        }

        function test_whatsNewOpensOnceAfterAnUpdate() {
            AppSettings.hasCompletedOnboarding = true
            AppSettings.lastSeenVersion = "1.0"
            const content = makeContent()
            const sheet = findNamed(content, "whatsNewSheet")
            verify(sheet)
            tryVerify(() => sheet.opened)
            compare(AppSettings.lastSeenVersion, "1.1")

            sheet.close()
            tryVerify(() => !sheet.visible)

            const again = makeContent()
            wait(50)
            verify(!findNamed(again, "whatsNewSheet").visible)
        }

        function test_noSheetDuringOnboardingOrWithoutAnEarlierVersion() {
            AppSettings.hasCompletedOnboarding = false
            AppSettings.lastSeenVersion = "1.0"
            let content = makeContent()
            wait(50)
            verify(!findNamed(content, "whatsNewSheet").visible)
            compare(AppSettings.lastSeenVersion, "1.1")

            AppSettings.hasCompletedOnboarding = true
            AppSettings.lastSeenVersion = ""
            content = makeContent()
            wait(50)
            verify(!findNamed(content, "whatsNewSheet").visible)
            compare(AppSettings.lastSeenVersion, "1.1")
        }

        function test_theLookIsLightAndRightToLeft() {
            AppSettings.hasCompletedOnboarding = true
            AppSettings.lastSeenVersion = "1.1"
            const content = makeContent()
            verify(content.LayoutMirroring.enabled)
            compare(Qt.application.layoutDirection, Qt.RightToLeft)
            compare(findNamed(content, "ideasListView").color.toString(), AppPalette.blue50.toString())
        }
    }
}
