#include "SyncMerge.h"

#include <QtTest>

static const QDateTime base = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

static Idea changed(Idea idea, const QString &field, int side)
{
    if (field == "reminder") {
        idea.hasReminder = !idea.hasReminder;
        if (side == 2)
            idea.reminderDate = base.addDays(side);
    } else if (field == "isVoiceNote") {
        idea.isVoiceNote = !idea.isVoiceNote;
    } else {
        (field == "title" ? idea.title : field == "body" ? idea.body : field == "category" ? idea.category : idea.status) =
            QString("قيمة %1").arg(side);
    }
    return idea;
}

class TestSyncMerge : public QObject
{
    Q_OBJECT

private slots:
    void eachFieldByWhoChangedIt_data()
    {
        for (const char *column : {"onLocal", "onRemote", "withBase"})
            QTest::addColumn<bool>(column);
        QTest::addColumn<QString>("field");
        QTest::addColumn<int>("remoteAfterLocal"); // ms
        for (const QString field : {"title", "body", "category", "status", "reminder", "isVoiceNote"}) {
            const auto add = [&](const char *who, bool local, bool remote, bool withBase, int after) {
                QTest::addRow("%s %s", qPrintable(field), who) << local << remote << withBase << field << after;
            };
            add("local only", true, false, true, -60'000);
            add("remote only", false, true, true, 60'000);
            if (field == "isVoiceNote") // a mark flipped on both sides agrees
                continue;
            add("both, remote later", true, true, true, 60'000);
            add("both, local later", true, true, true, -60'000);
            add("no base, remote later", true, true, false, 60'000);
            add("no base, local later", true, true, false, -60'000);
            // The server keeps whole seconds: a later millisecond there is a tie, which local wins.
            add("both, same second", true, true, true, 900);
        }
    }

    void eachFieldByWhoChangedIt()
    {
        QFETCH(bool, onLocal);
        QFETCH(bool, onRemote);
        QFETCH(bool, withBase);
        QFETCH(QString, field);
        QFETCH(int, remoteAfterLocal);
        Idea agreed = Idea::make("عنوان", "نص", "فكرة", true, base, false, base);
        agreed.status = "done";
        Idea local = onLocal ? changed(agreed, field, 1) : agreed;
        Idea remote = onRemote ? changed(agreed, field, 2) : agreed;
        // Local times are exact to the millisecond; what came back from the server is not.
        local.reminderDate = local.reminderDate->addMSecs(400);
        local.updatedAt = base.addSecs(120);
        remote.updatedAt = local.updatedAt.addMSecs(remoteAfterLocal);

        const bool text = field == "title" || field == "body";
        const bool keepsLocal = !onRemote || (onLocal && (text || remoteAfterLocal < 1000));
        const auto result = SyncMerge::merge(withBase ? std::optional(agreed) : std::nullopt, local, remote);
        QVERIFY(result.merged == local && result.merged.id == local.id);
        QVERIFY(SyncMerge::sameFields(result.merged, keepsLocal ? local : remote));
        QCOMPARE(result.localChanged, !keepsLocal);
        QCOMPARE(result.remoteChanged, keepsLocal);
        QCOMPARE(result.copy.has_value(), onLocal && onRemote && text);
        if (result.copy) {
            QCOMPARE(result.copy->title, remote.title + " ⚠️ (نسخة من جهاز ثاني)");
            remote.title = result.copy->title;
            remote.createdAt = remote.updatedAt;
            QVERIFY(SyncMerge::sameFields(*result.copy, remote) && result.copy->id != local.id);
        }
    }
};

QTEST_GUILESS_MAIN(TestSyncMerge)
#include "tst_syncmerge.moc"
