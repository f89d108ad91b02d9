#include "FakeCloudProbes.h"
#include "StoreContainer.h"
#include "TestFolders.h"

#include <QSignalSpy>
#include <QtTest>

static const QVariant entitled = QStringList{"CloudKit"};
static const QVariant signedIn = QByteArray("token");
static const QString noEntitlement = "CloudKit entitlement not present in this build";

class TestSyncStatus : public QObject
{
    Q_OBJECT

    TestFolders folders;

private slots:
    void entitlementRule_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("entitledToCloudKit");
        QTest::newRow("absent") << QVariant() << false;
        QTest::newRow("list with CloudKit") << QVariant(QStringList{"CloudDocuments", "CloudKit"}) << true;
        QTest::newRow("case differs") << QVariant(QStringList{"cloudkit"}) << false;
        QTest::newRow("variant list of texts") << QVariant(QVariantList{"CloudKit"}) << true;
        QTest::newRow("mixed list is another type") << QVariant(QVariantList{1, "Other"}) << true;
        QTest::newRow("a bare text naming nothing") << QVariant(QString("nope")) << true;
    }

    void entitlementRule()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, entitledToCloudKit);
        QCOMPARE(CloudProbes::isCloudKitEntitled(value), entitledToCloudKit);
    }

    // The account is asked only when entitled, and a local store that cannot open is
    // fatal on every path that needs it.
    void openingAtStart_data()
    {
        QTest::addColumn<QVariant>("entitlement");
        QTest::addColumn<QVariant>("token");
        QTest::addColumn<QString>("syncedError");
        QTest::addColumn<QStringList>("calls");
        QTest::addColumn<QString>("reason"); // empty: synced
        const QString ck = "The operation couldn’t be completed. (CKErrorDomain error 9.)";
        QTest::newRow("not entitled") << QVariant() << signedIn << "" << QStringList{"entitlement", "local"}
                                      << noEntitlement;
        QTest::newRow("not signed in") << entitled << QVariant() << "" << QStringList{"entitlement", "token", "local"}
                                       << "iCloud account is not signed in";
        QTest::newRow("synced") << entitled << signedIn << "" << QStringList{"entitlement", "token", "synced"} << "";
        QTest::newRow("synced fails") << entitled << signedIn << ck
                                      << QStringList{"entitlement", "token", "synced", "local"} << ck;
    }

    void openingAtStart()
    {
        QFETCH(QVariant, entitlement);
        QFETCH(QVariant, token);
        QFETCH(QString, syncedError);
        QFETCH(QString, reason);
        for (const QString localError : {"", "disk on fire"}) {
            FakeCloudProbes probes(folders.path());
            std::tie(probes.entitlement, probes.token, probes.syncedError) = std::tie(entitlement, token, syncedError);
            probes.localError = localError;
            const StoreContainer container = StoreContainer::create(probes);
            QTEST(probes.calls, "calls");
            if (!reason.isEmpty() && !localError.isEmpty()) {
                QVERIFY(!container.store && !container.syncStatus);
                QCOMPARE(container.failure, localError);
                continue;
            }
            QVERIFY(container.store->path().endsWith(reason.isEmpty() ? "synced.sqlite" : "local.sqlite"));
            QCOMPARE(container.syncStatus->isCloudKit(), reason.isEmpty());
            QCOMPARE(container.syncStatus->reason(), reason);

            // An account signing in later changes what is said, never the store; without
            // the entitlement it is not even asked.
            probes.calls.clear();
            probes.token = signedIn;
            container.syncStatus->recheck(probes);
            QCOMPARE(container.syncStatus->isCloudKit(), entitlement.isValid());
            QCOMPARE(probes.calls, QStringList({"entitlement", "token"}).sliced(0, entitlement.isValid() ? 2 : 1));
        }
    }

    void recheckReportsOnlyRealChanges()
    {
        FakeCloudProbes probes(folders.path());
        probes.entitlement = entitled;
        StoreContainer container = StoreContainer::create(probes);
        SyncStatus &status = *container.syncStatus;
        QSignalSpy changed(&status, &SyncStatus::modeChanged);

        // Still signed out, but now in the wording for a running program.
        status.recheck(probes);
        status.recheck(probes);
        QCOMPARE(status.reason(), "iCloud account signed out");
        // Signing in while running is reported at once.
        probes.token = signedIn;
        status.recheck(probes);
        QVERIFY(status.isCloudKit());
        QCOMPARE(changed.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestSyncStatus)
#include "tst_syncstatus.moc"
