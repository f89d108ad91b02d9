#include "SyncMerge.h"

#include <QtTest>

namespace {

const QDateTime base = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

Idea changed(Idea idea, const QString &field, int variant)
{
    const QString value = QString("قيمة %1").arg(variant);
    if (field == "reminder") {
        idea.hasReminder = true;
        idea.reminderDate = base.addDays(variant);
    } else if (field == "isVoiceNote") {
        idea.isVoiceNote = !idea.isVoiceNote;
    } else {
        (field == "title" ? idea.title : field == "body" ? idea.body : field == "category" ? idea.category : idea.status) = value;
    }
    return idea;
}

} // namespace

class TestSyncMerge : public QObject
{
    Q_OBJECT

private slots:
    void eachFieldByWhoChangedIt_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<bool>("onLocal");
        QTest::addColumn<bool>("onRemote");
        QTest::addColumn<int>("remoteAfterLocal"); // ms
        for (const char *field : {"title", "body", "category", "status", "reminder", "isVoiceNote"}) {
            QTest::addRow("%s local only", field) << QString(field) << true << false << -60'000;
            QTest::addRow("%s remote only", field) << QString(field) << false << true << 60'000;
            if (QString(field) == "isVoiceNote") // a mark flipped on both sides agrees
                continue;
            QTest::addRow("%s both, remote later", field) << QString(field) << true << true << 60'000;
            QTest::addRow("%s both, local later", field) << QString(field) << true << true << -60'000;
        }
        // The server keeps whole seconds: a later millisecond there is a tie, which local wins.
        QTest::addRow("status both, same second") << QString("status") << true << true << 900;
    }

    void eachFieldByWhoChangedIt()
    {
        QFETCH(QString, field);
        QFETCH(bool, onLocal);
        QFETCH(bool, onRemote);
        QFETCH(int, remoteAfterLocal);
        const Idea agreed = Idea::make("عنوان", "نص", "فكرة", false, std::nullopt, false, base);
        Idea local = onLocal ? changed(agreed, field, 1) : agreed;
        Idea remote = onRemote ? changed(agreed, field, 2) : agreed;
        local.updatedAt = base.addSecs(120);
        remote.updatedAt = local.updatedAt.addMSecs(remoteAfterLocal);
        remote.id = QUuid::createUuid();

        const bool text = field == "title" || field == "body";
        const bool keepsLocal = !onRemote || (onLocal && (text || remoteAfterLocal < 1000));
        const SyncMerge::Result result = SyncMerge::merge(agreed, local, remote);
        QVERIFY(result.merged == local && result.merged.id == local.id);
        QVERIFY(SyncMerge::sameFields(result.merged, keepsLocal ? local : remote));
        QCOMPARE(result.localChanged, !keepsLocal);
        QCOMPARE(result.remoteChanged, keepsLocal);
        QCOMPARE(result.copy.has_value(), onLocal && onRemote && text);
        if (result.copy) {
            QCOMPARE(result.copy->title, remote.title + " ⚠️ (نسخة من جهاز ثاني)");
            QCOMPARE(result.copy->body, remote.body);
            QVERIFY(result.copy->id != local.id && result.copy->id != remote.id);
            QCOMPARE(result.copy->createdAt, remote.updatedAt);
        }
    }

    void withoutBaseEveryDifferenceIsOnBoth()
    {
        Idea local = Idea::make("محلي", "", "فكرة", true, base.addMSecs(400), false, base.addSecs(10));
        Idea remote = changed(changed(local, "status", 2), "isVoiceNote", 0);
        remote.createdAt = base;
        remote.updatedAt = base.addSecs(20);
        remote.reminderDate = base;
        SyncMerge::Result result = SyncMerge::merge(std::nullopt, local, remote);
        QCOMPARE(result.merged.status, remote.status);
        QVERIFY(result.merged.isVoiceNote && !result.copy);
        QCOMPARE(result.merged.reminderDate, local.reminderDate);
        QCOMPARE(result.merged.createdAt, local.createdAt);
        QCOMPARE(result.merged.updatedAt, remote.updatedAt);
        QVERIFY(result.localChanged && result.remoteChanged);

        remote.title = "بعيد";
        result = SyncMerge::merge(std::nullopt, local, remote);
        QVERIFY(result.copy && result.copy->status == remote.status && result.copy->isVoiceNote);
    }
};

QTEST_GUILESS_MAIN(TestSyncMerge)
#include "tst_syncmerge.moc"
