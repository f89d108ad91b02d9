#include "SingleInstance.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <future>

class TestSingleInstance : public QObject
{
    Q_OBJECT

    // Claims from another thread, as a second process would: the claim blocks until
    // the running instance answers, which needs this thread's event loop.
    static std::future<SingleInstance::Role> claimElsewhere(const QString &folder, const QStringList &arguments)
    {
        return std::async(std::launch::async, [folder, arguments] {
            SingleInstance later(folder);
            return later.claim(arguments);
        });
    }

    static SingleInstance::Role waitFor(std::future<SingleInstance::Role> &role)
    {
        while (role.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
            QCoreApplication::processEvents();
        return role.get();
    }

private slots:
    void theFirstServesAndLaterOnesHandOver()
    {
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QCOMPARE(first.claim({}), SingleInstance::Role::primary);
        QSignalSpy received(&first, &SingleInstance::argumentsReceived);

        auto second = claimElsewhere(folder.path(), {"--background"});
        QCOMPARE(waitFor(second), SingleInstance::Role::handedOver);
        auto third = claimElsewhere(folder.path(), {});
        QCOMPARE(waitFor(third), SingleInstance::Role::handedOver);

        QTRY_COMPARE(received.size(), 2);
        QCOMPARE(received.at(0).first().toStringList(), QStringList({"--background"}));
        QCOMPARE(received.at(1).first().toStringList(), QStringList());
    }

    void aLeftoverSocketFromACrashDoesNotBlockTheNextStart()
    {
        QTemporaryDir folder;
        QFile stale(folder.path() + "/fikranest.socket");
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        SingleInstance instance(folder.path());
        QCOMPARE(instance.claim({}), SingleInstance::Role::primary);
    }

    void theServerGoesWithTheInstance()
    {
        QTemporaryDir folder;
        {
            SingleInstance first(folder.path());
            QCOMPARE(first.claim({}), SingleInstance::Role::primary);
        }
        SingleInstance next(folder.path());
        QCOMPARE(next.claim({}), SingleInstance::Role::primary);
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
