#include "FakeCloudProbes.h"
#include "StoreContainer.h"
#include "SyncStatus.h"
#include "TestFolders.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

const QVariant entitled = QStringList{"CloudKit"};
const QVariant signedIn = QByteArray("token");

} // namespace

class TestSyncStatus : public QObject
{
    Q_OBJECT

    TestFolders folders;
    std::unique_ptr<FakeCloudProbes> probes;

private slots:
    void init() { probes = std::make_unique<FakeCloudProbes>(folders.path()); }

    void modesCompareByCaseAndReason()
    {
        using Mode = SyncStatus::Mode;
        QVERIFY(Mode::cloudKit() == Mode::cloudKit());
        QVERIFY(Mode::localOnly("a") == Mode::localOnly("a"));
        QVERIFY(!(Mode::localOnly("a") == Mode::localOnly("b")));
        QVERIFY(!(Mode::localOnly("") == Mode::cloudKit()));
    }

    void observersHearOnlyRealChanges()
    {
        SyncStatus status(SyncStatus::Mode::localOnly("first"));
        QSignalSpy changed(&status, &SyncStatus::modeChanged);
        status.setLocalOnly("first");
        QCOMPARE(changed.size(), 0);
        status.setLocalOnly("second");
        QCOMPARE(changed.size(), 1);
        QCOMPARE(status.reason(), "second");
        status.setCloudKit();
        status.setCloudKit();
        QCOMPARE(changed.size(), 2);
        QVERIFY(status.isCloudKit());
        QCOMPARE(status.reason(), "");
    }

    void entitlementRule_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("entitledToCloudKit");
        QTest::newRow("absent") << QVariant() << false;
        QTest::newRow("null") << QVariant::fromValue(nullptr) << true;
        QTest::newRow("list with CloudKit") << QVariant(QStringList{"CloudDocuments", "CloudKit"}) << true;
        QTest::newRow("list without CloudKit") << QVariant(QStringList{"CloudDocuments"}) << false;
        QTest::newRow("empty list") << QVariant(QStringList{}) << false;
        QTest::newRow("case differs") << QVariant(QStringList{"cloudkit"}) << false;
        QTest::newRow("variant list of texts") << QVariant(QVariantList{"CloudKit"}) << true;
        QTest::newRow("variant list of texts without it") << QVariant(QVariantList{"Other"}) << false;
        QTest::newRow("mixed list is another type") << QVariant(QVariantList{1, "Other"}) << true;
        QTest::newRow("a bare text") << QVariant(QString("CloudKit")) << true;
        QTest::newRow("a bare text naming nothing") << QVariant(QString("nope")) << true;
        QTest::newRow("a number") << QVariant(0) << true;
        QTest::newRow("a boolean false") << QVariant(false) << true;
    }

    void entitlementRule()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, entitledToCloudKit);
        QCOMPARE(CloudProbes::isCloudKitEntitled(value), entitledToCloudKit);
    }

    void notEntitledOpensLocalWithoutAskingForTheAccount()
    {
        probes->token = signedIn;
        StoreContainer container = StoreContainer::create(*probes);
        QVERIFY(container.store);
        QVERIFY(container.store->path().endsWith("local.sqlite"));
        QCOMPARE(container.syncStatus->reason(), "CloudKit entitlement not present in this build");
        QCOMPARE(probes->calls, QStringList({"entitlement", "local"}));
    }

    void entitledWithoutAccountIsNotSignedIn()
    {
        probes->entitlement = entitled;
        StoreContainer container = StoreContainer::create(*probes);
        QVERIFY(container.store->path().endsWith("local.sqlite"));
        QCOMPARE(container.syncStatus->reason(), "iCloud account is not signed in");
        QCOMPARE(probes->calls, QStringList({"entitlement", "token", "local"}));
    }

    void entitledAndSignedInSyncs()
    {
        probes->entitlement = entitled;
        probes->token = signedIn;
        StoreContainer container = StoreContainer::create(*probes);
        QVERIFY(container.store->path().endsWith("synced.sqlite"));
        QVERIFY(container.syncStatus->isCloudKit());
        QCOMPARE(probes->calls, QStringList({"entitlement", "token", "synced"}));
    }

    void aFailingSyncedStoreFallsBackWithItsReason()
    {
        probes->entitlement = entitled;
        probes->token = signedIn;
        probes->syncedError = "The operation couldn’t be completed. (CKErrorDomain error 9.)";
        StoreContainer container = StoreContainer::create(*probes);
        QVERIFY(container.store->path().endsWith("local.sqlite"));
        QCOMPARE(container.syncStatus->reason(), probes->syncedError);
        QCOMPARE(probes->calls, QStringList({"entitlement", "token", "synced", "local"}));
    }

    void aLocalStoreThatCannotOpenIsFatalOnEveryPath_data()
    {
        QTest::addColumn<QVariant>("entitlement");
        QTest::addColumn<QVariant>("token");
        QTest::addColumn<QString>("syncedError");
        QTest::newRow("not entitled") << QVariant() << QVariant() << QString();
        QTest::newRow("not signed in") << entitled << QVariant() << QString();
        QTest::newRow("synced failed") << entitled << signedIn << QString("offline");
    }

    void aLocalStoreThatCannotOpenIsFatalOnEveryPath()
    {
        QFETCH(QVariant, entitlement);
        QFETCH(QVariant, token);
        QFETCH(QString, syncedError);
        probes->entitlement = entitlement;
        probes->token = token;
        probes->syncedError = syncedError;
        probes->localFails = true;
        const StoreContainer container = StoreContainer::create(*probes);
        QVERIFY(!container.store);
        QVERIFY(!container.syncStatus);
        QCOMPARE(container.failure, "disk on fire");
    }

    void recheckReportsTheAccountButNeverTouchesTheStore()
    {
        probes->entitlement = entitled;
        StoreContainer container = StoreContainer::create(*probes);
        IdeaStore *opened = container.store.get();
        SyncStatus &status = *container.syncStatus;
        QSignalSpy changed(&status, &SyncStatus::modeChanged);
        probes->calls.clear();

        // Signing in while running: reported at once, records stay local.
        probes->token = signedIn;
        status.recheck(*probes);
        QVERIFY(status.isCloudKit());
        QCOMPARE(changed.size(), 1);
        QCOMPARE(container.store.get(), opened);
        QVERIFY(opened->path().endsWith("local.sqlite"));

        // Signing out later has its own wording, unlike "not signed in" at start-up.
        probes->token = QVariant();
        status.recheck(*probes);
        QCOMPARE(status.reason(), "iCloud account signed out");
        QCOMPARE(changed.size(), 2);

        // Nothing changed: nobody is told.
        status.recheck(*probes);
        QCOMPARE(changed.size(), 2);

        QVERIFY(!probes->calls.contains("synced"));
        QVERIFY(!probes->calls.contains("local"));
    }

    void recheckWithoutEntitlementIgnoresTheAccount()
    {
        StoreContainer container = StoreContainer::create(*probes);
        QSignalSpy changed(container.syncStatus.get(), &SyncStatus::modeChanged);
        probes->calls.clear();
        probes->token = signedIn;
        container.syncStatus->recheck(*probes);
        QCOMPARE(container.syncStatus->reason(), "CloudKit entitlement not present in this build");
        QCOMPARE(changed.size(), 0);
        QCOMPARE(probes->calls, QStringList({"entitlement"}));
    }

    void thisBuildIsAlwaysLocalForLackOfEntitlement()
    {
        LocalCloudProbes local(folders.path() + "/linux/Fikranest.sqlite");
        StoreContainer container = StoreContainer::create(local);
        QVERIFY(container.store);
        QCOMPARE(container.syncStatus->reason(), "CloudKit entitlement not present in this build");
        container.syncStatus->recheck(local);
        QCOMPARE(container.syncStatus->reason(), "CloudKit entitlement not present in this build");
    }
};

QTEST_GUILESS_MAIN(TestSyncStatus)
#include "tst_syncstatus.moc"
