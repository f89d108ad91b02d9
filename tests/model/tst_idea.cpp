#include "AppPalette.h"
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

        // The schema's own defaults, for a record built field by field.
        const Idea blank;
        QCOMPARE(blank.category, "فكرة");
        QCOMPARE(blank.status, "active");
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

    void paletteIsOpaqueSrgb()
    {
        const AppPalette palette;
        QCOMPARE(palette.blue50().name(), "#f0f4ff");
        QCOMPARE(palette.blue100().name(), "#dbeafe");
        QCOMPARE(palette.blue600().name(), "#2563eb");
        QCOMPARE(palette.blue800().name(), "#1e40af");
        for (const QColor &color : {palette.blue50(), palette.blue100(), palette.blue600(), palette.blue800()})
            QCOMPARE(color.alphaF(), 1.0);
        QCOMPARE(palette.blue600().redF(), 37 / 255.0f);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
