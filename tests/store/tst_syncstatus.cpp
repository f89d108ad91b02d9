#include "FakeCloudProbes.h"
#include "StoreContainer.h"
#include "TestFolders.h"

#include <QtTest>

static const QVariant entitled = QStringList{"CloudKit"};
static const QVariant signedIn = QByteArray("token");

class TestSyncStatus : public QObject
{
    Q_OBJECT

    TestFolders folders;

private slots:
    // Absent, or texts without "CloudKit" as spelled: not entitled. Any other value is.
    void entitlementRule()
    {
        for (const QVariant &no : {QVariant(), QVariant(QStringList{"cloudkit"}), QVariant(QVariantList{"Other"})})
            QVERIFY(!CloudProbes::isCloudKitEntitled(no));
        for (const QVariant &yes : {entitled, QVariant(QVariantList{"CloudKit"}), QVariant(QVariantList{1, "Other"}),
                                    QVariant(QString("nope"))})
            QVERIFY(CloudProbes::isCloudKitEntitled(yes));
    }

    // The account is asked only when entitled, and a local store that cannot open is
    // fatal on every path that needs it.
    void openingAtStart()
    {
        const QString ck = "The operation couldn’t be completed. (CKErrorDomain error 9.)";
        struct Case { QVariant entitlement, token; QString syncedError; QStringList calls; QString reason; };
        for (const Case &c : {Case{{}, signedIn, "", {"entitlement", "local"}, "CloudKit entitlement not present in this build"},
                              Case{entitled, {}, "", {"entitlement", "token", "local"}, "iCloud account is not signed in"},
                              Case{entitled, signedIn, "", {"entitlement", "token", "synced"}, ""},
                              Case{entitled, signedIn, ck, {"entitlement", "token", "synced", "local"}, ck}}) {
            for (const QString localError : {"", "disk on fire"}) {
                FakeCloudProbes probes(folders.path());
                std::tie(probes.entitlement, probes.token, probes.syncedError) = std::tie(c.entitlement, c.token, c.syncedError);
                probes.localError = localError;
                const StoreContainer container = StoreContainer::create(probes);
                QCOMPARE(probes.calls, c.calls);
                if (!c.reason.isEmpty() && !localError.isEmpty()) {
                    QVERIFY(!container.store && !container.syncStatus);
                    QCOMPARE(container.failure, localError);
                    continue;
                }
                QVERIFY(container.store->path().endsWith(c.reason.isEmpty() ? "synced.sqlite" : "local.sqlite"));
                QCOMPARE(container.syncStatus->isCloudKit(), c.reason.isEmpty());
                QCOMPARE(container.syncStatus->reason(), c.reason);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestSyncStatus)
#include "tst_syncstatus.moc"
