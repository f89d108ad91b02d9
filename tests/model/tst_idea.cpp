#include "AppClock.h"
#include "Idea.h"
#include "Vocabulary.h"

#include <QSet>
#include <QtTest>

class TestIdea : public QObject
{
    Q_OBJECT

private slots:
    // Made by the initialiser or field by field, a new record is active, unstored, with
    // its own id and one creation instant for both dates.
    void newRecordsStartAlike()
    {
        const QDateTime now = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
        const Idea made = Idea::make("اشتر حليب", "", Vocabulary::defaultCategory(), false, std::nullopt, false, now);
        QVERIFY(made.category == "فكرة" && made.status == "active");
        QVERIFY(made.createdAt == now && made.updatedAt == now);
        QVERIFY(!made.hasReminder && !made.reminderDate && !made.isVoiceNote && !made.isStored());

        const QDateTime before = AppClock::now();
        const Idea blank;
        QVERIFY(blank.category == "فكرة" && blank.status == "active");
        QVERIFY(blank.createdAt >= before && blank.createdAt <= AppClock::now());
        QCOMPARE(blank.updatedAt, blank.createdAt);
        QVERIFY(!blank.isStored() && !blank.id.isNull() && blank.id != made.id);

        const QString text = made.idText();
        QCOMPARE(text, text.toUpper());
        QVERIFY(text.size() == 36 && !text.contains('{'));
        QCOMPARE(QUuid::fromString(text), made.id);
    }

    void identityIsTheRecordNotItsFields()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const Idea first = Idea::make("نفس الشي", "", "فكرة", false, std::nullopt, false, now);
        Idea second = Idea::make("نفس الشي", "", "فكرة", false, std::nullopt, false, now);
        QVERIFY(first.id != second.id && !(first == second));

        // Same record, fields changed: still the same idea.
        Idea copy = first;
        copy.title = "غيرتها";
        copy.status = "done";
        QVERIFY(copy == first);

        // Even with every field made identical, two records stay two.
        second.id = first.id;
        QVERIFY(!(second == first));
        QCOMPARE((QSet<Idea>{first, copy, second}).size(), 2);
    }

    void vocabularies()
    {
        const QList<std::pair<QString, QString>> emoji = {
            {"فكرة", "💡"}, {"مهمة", "✅"}, {"ملاحظة", "📝"}, {"شي ثاني", "💡"}, {"", "💡"}, {"الكل", "💡"}};
        for (const auto &[category, expected] : emoji)
            QCOMPARE(Vocabulary::emoji(category), expected);
        QCOMPARE(Vocabulary::filterLabels(), QStringList({"الكل", "فكرة", "مهمة", "ملاحظة", "لها موعد"}));
        QCOMPARE(Vocabulary::defaultCategory(), Vocabulary::categories().first());

        // Completing toggles: only "done" reopens.
        const QList<std::pair<QString, QString>> toggles = {
            {"done", "active"}, {"active", "done"}, {"archived", "done"}, {"Done", "done"}};
        for (const auto &[status, toggled] : toggles)
            QCOMPARE(Vocabulary::toggledStatus(status), toggled);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
