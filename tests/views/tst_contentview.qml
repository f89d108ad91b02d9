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
            const kids = Array.from(item.data || [])
            return item.objectName === name ? item : kids.reduce((hit, kid) => hit || findNamed(kid, name), null)
        }

        function test_onboardingUntilCompletedThenTheList() {
            AppSettings.hasCompletedOnboarding = false
            const content = createTemporaryObject(contentComponent, root)
            verify(content.LayoutMirroring.enabled)
            verify(findNamed(content, "onboardingView"))
            verify(!findNamed(content, "ideasListView"))

            // Finishing onboarding elsewhere switches the content without being told.
            AppSettings.hasCompletedOnboarding = true
            tryVerify(() => findNamed(content, "ideasListView") !== null)
            verify(!findNamed(content, "onboardingView"))
        }

        // When it is due is ContentState's table; here the sheet follows it, and this
        // version is recorded either way.
        function test_whatsNew_data() {
            return [
                { tag: "after an update", onboarded: true, lastSeen: "1.0", shown: true },
                { tag: "during onboarding", onboarded: false, lastSeen: "1.0", shown: false },
            ]
        }

        function test_whatsNew(row) {
            AppSettings.hasCompletedOnboarding = row.onboarded
            AppSettings.lastSeenVersion = row.lastSeen
            const sheet = findNamed(createTemporaryObject(contentComponent, root), "whatsNewSheet")
            if (row.shown)
                tryVerify(() => sheet.opened)
            wait(50)
            compare(sheet.visible, row.shown)
            compare(AppSettings.lastSeenVersion, "1.1")
        }
    }
}
