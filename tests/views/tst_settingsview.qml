import QtQuick
import QtTest
import Fikranest
import ViewTests

Item {
    id: root
    width: 440; height: 720

    Component { id: viewComponent; SettingsView { anchors.fill: parent } }
    SignalSpy { id: dismissed; signalName: "dismissRequested" }

    TestCase {
        name: "SettingsView"
        when: windowShown

        function named(item, name) {
            const kids = Array.from(item.data || []).concat(item.contentItem || [])
            return item.objectName === name ? item : kids.reduce((hit, kid) => hit || (kid !== item && named(kid, name)), null)
        }

        function test_theWholeSupportRowOpensTheSupportLink() {
            dismissed.target = createTemporaryObject(viewComponent, root)
            waitForRendering(dismissed.target)
            const row = named(dismissed.target, "supportLink"), before = ViewTests.openedLinks.length
            mouseClick(row, 4, row.height / 2)
            compare(ViewTests.openedLinks.slice(before).map(String), [AppLinks.supportUrl.toString()])
            compare(dismissed.count, 0)
        }
    }
}
