#include "Idea.h"
#include "Vocabulary.h"

#include <QSet>
#include <QtTest>

class TestIdea : public QObject
{
    Q_OBJECT

private slots:
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

    // Titles typed in the sheet, the panel or at the command line, and names at the first run.
    void trimsSpacesAndTabsButNotLineBreaks_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("kept");
        QTest::newRow("spaces and tabs") << " \t فكرة \t " << "فكرة";
        QTest::newRow("inner spaces stay") << "  اشتر  حليب " << "اشتر  حليب";
        QTest::newRow("no-break and ideographic spaces") << "\u00A0\u3000فكرة\u2009" << "فكرة";
        QTest::newRow("line breaks stay") << "\n فكرة \n" << "\n فكرة \n";
        QTest::newRow("a pasted line break stays") << " سارة\n" << "سارة\n";
        QTest::newRow("only newlines") << "\n\n" << "\n\n";
        QTest::newRow("only blanks") << " \t \u00A0" << "";
    }

    void trimsSpacesAndTabsButNotLineBreaks()
    {
        QFETCH(QString, typed);
        QTEST(Idea::trimmedTitle(typed), "kept");
    }

    // Completing toggles: only "done" reopens.
    void onlyDoneReopens()
    {
        for (const auto &[status, toggled] : {std::pair{"done", "active"}, {"active", "done"}, {"archived", "done"}, {"Done", "done"}})
            QCOMPARE(Vocabulary::toggledStatus(status), toggled);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
