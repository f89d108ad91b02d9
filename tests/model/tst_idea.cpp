#include "Idea.h"

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
    void trimsSpacesAndTabsButNotLineBreaks()
    {
        for (const auto &[typed, kept] : {std::pair{" \t فكرة \t ", "فكرة"},
                                          {"  اشتر  حليب ", "اشتر  حليب"},
                                          {"\u00A0\u3000فكرة\u2009", "فكرة"}, // no-break and ideographic spaces
                                          {"\n فكرة \n", "\n فكرة \n"},
                                          {" سارة\n", "سارة\n"},
                                          {"\n\n", "\n\n"},
                                          {" \t \u00A0", ""}})
            QCOMPARE(Idea::trimmedTitle(typed), kept);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
