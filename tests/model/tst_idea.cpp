#include "AppClock.h"
#include "Idea.h"
#include "Vocabulary.h"

#include <QSet>
#include <QtTest>

class TestIdea : public QObject
{
    Q_OBJECT

private slots:
    void newRecordHasTheDefaults()
    {
        const QDateTime now = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
        const Idea idea = Idea::make("اشتر حليب", "", Vocabulary::defaultCategory(), false, std::nullopt, false, now);
        QCOMPARE(idea.title, "اشتر حليب");
        QCOMPARE(idea.body, "");
        QCOMPARE(idea.category, "فكرة");
        QCOMPARE(idea.status, "active");
        QVERIFY(!idea.hasReminder);
        QVERIFY(!idea.reminderDate);
        QVERIFY(!idea.isVoiceNote);
        QCOMPARE(idea.createdAt, now);
        QCOMPARE(idea.updatedAt, idea.createdAt);
        QVERIFY(!idea.id.isNull());
        QVERIFY(!idea.isStored());

        // A record built field by field starts the same way, with its own id and now.
        const QDateTime before = AppClock::now();
        const Idea blank;
        const Idea other;
        QCOMPARE(blank.category, "فكرة");
        QCOMPARE(blank.status, "active");
        QVERIFY(!blank.id.isNull() && blank.id != other.id);
        QVERIFY(blank.createdAt >= before && blank.createdAt <= AppClock::now());
        QCOMPARE(blank.updatedAt, blank.createdAt);
        QVERIFY(!blank.isStored() && !(blank == other));
    }

    void idTextIsUpperCaseHyphenatedWithoutBraces()
    {
        const Idea idea = Idea::make("x", "", "فكرة", false, std::nullopt, false);
        const QString text = idea.idText();
        QCOMPARE(text.size(), 36);
        QCOMPARE(text, text.toUpper());
        QVERIFY(!text.contains('{'));
        QCOMPARE(QUuid::fromString(text), idea.id);
    }

    void identityIsTheRecordNotItsFields()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const Idea first = Idea::make("نفس الشي", "", "فكرة", false, std::nullopt, false, now);
        Idea second = Idea::make("نفس الشي", "", "فكرة", false, std::nullopt, false, now);
        QVERIFY(first.id != second.id);
        QVERIFY(!(first == second));

        // Same record, fields changed: still the same idea.
        Idea copy = first;
        copy.title = "غيرتها";
        copy.status = "done";
        QVERIFY(copy == first);

        // Even with every field made identical, two records stay two.
        second.id = first.id;
        QVERIFY(!(second == first));

        QSet<Idea> set{first, copy, second};
        QCOMPARE(set.size(), 2);
    }

    void categoriesAndEmoji_data()
    {
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("emoji");
        QTest::newRow("idea") << "فكرة" << "💡";
        QTest::newRow("task") << "مهمة" << "✅";
        QTest::newRow("note") << "ملاحظة" << "📝";
        QTest::newRow("unknown word") << "شي ثاني" << "💡";
        QTest::newRow("empty") << "" << "💡";
        QTest::newRow("filter label is not a category") << "الكل" << "💡";
    }

    void categoriesAndEmoji()
    {
        QFETCH(QString, category);
        QFETCH(QString, emoji);
        QCOMPARE(Vocabulary::emoji(category), emoji);
    }

    void vocabulariesKeepTheirOrder()
    {
        QCOMPARE(Vocabulary::categories(), QStringList({"فكرة", "مهمة", "ملاحظة"}));
        QCOMPARE(Vocabulary::defaultCategory(), Vocabulary::categories().first());
        QCOMPARE(Vocabulary::filterLabels(), QStringList({"الكل", "فكرة", "مهمة", "ملاحظة", "لها موعد"}));
    }

    void completingToggles_data()
    {
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("toggled");
        QTest::newRow("done reopens") << "done" << "active";
        QTest::newRow("active completes") << "active" << "done";
        QTest::newRow("any other word completes") << "archived" << "done";
        QTest::newRow("case matters") << "Done" << "done";
    }

    void completingToggles()
    {
        QFETCH(QString, status);
        QFETCH(QString, toggled);
        QCOMPARE(Vocabulary::toggledStatus(status), toggled);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
