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
            for (const kid of Array.from(item.data || [])) {
                const found = findNamed(kid, name)
                if (found)
                    return found
            }
            return null
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

        // Shown once after an update, never during onboarding nor without an earlier
        // version on record; whichever it is, this version is recorded.
        function test_whatsNew_data() {
            return [
                { tag: "after an update", onboarded: true, lastSeen: "1.0", shown: true },
                { tag: "same version", onboarded: true, lastSeen: "1.1", shown: false },
                { tag: "during onboarding", onboarded: false, lastSeen: "1.0", shown: false },
                { tag: "no earlier version", onboarded: true, lastSeen: "", shown: false },
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
