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

    void vocabularies()
    {
        // Completing toggles: only "done" reopens.
        const QList<std::pair<QString, QString>> toggles = {
            {"done", "active"}, {"active", "done"}, {"archived", "done"}, {"Done", "done"}};
        for (const auto &[status, toggled] : toggles)
            QCOMPARE(Vocabulary::toggledStatus(status), toggled);
    }
};

QTEST_GUILESS_MAIN(TestIdea)
#include "tst_idea.moc"
