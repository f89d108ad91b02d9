#include "Appcast.h"
#include "UpdateSignature.h"
#include "UpdaterManager.h"
#include "VersionOrder.h"

#include <QtTest>

static QByteArray feed(const QByteArray &items)
{
    return "<rss version='2.0' xmlns:sparkle='http://www.andymatuschak.org/xml-namespaces/sparkle'><channel>" + items + "</channel></rss>";
}

static QByteArray item(const QByteArray &version, const QByteArray &inside = {})
{
    return "<item><sparkle:version>" + version + "</sparkle:version>" + inside + "<enclosure url='https://e/f.tar.gz'/></item>";
}

class TestAppcast : public QObject
{
    Q_OBJECT

private slots:
    void ordersVersions()
    {
        for (const auto &[a, b, order] : {std::tuple{"1.1", "1.1.1", -1}, // shorter release first
                                          {"1.2", "1.10", -1}, // by number, not text
                                          {"2", "1.9.9", 1}, // fewer parts, larger number
                                          {"1.0b1", "1.0", -1}, // pre-release before release
                                          {"1.0b1", "1.0.1", -1}, // pre-release before patch
                                          {"1.0a", "1.0b", -1}, // letters by text
                                          {"1.0", "1.a", 1}, // number beats letters
                                          {"1.01", "1.1", 0}, // leading zeros
                                          {"1.99999999999999999999", "1.100000000000000000000", -1}}) {
            QCOMPARE(VersionOrder::compare(a, b), order);
            QCOMPARE(VersionOrder::compare(b, a), -order);
        }
    }

    // Each kept item as "version display", the newest one's version, and what a refusal says.
    void parses_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("newest");
        QTest::addColumn<QString>("refusal");
        QTest::newRow("newest of several") << feed(item("1.2") + item("1.10") + item("1.10b1")) << QStringList{"1.2 1.2", "1.10 1.10", "1.10b1 1.10b1"} << "1.10" << "";
        QTest::newRow("on the enclosure")
            << feed("<item><enclosure url='http://e/f' sparkle:version='20' sparkle:shortVersionString='2.0'/></item>") << QStringList{"20 2.0"} << "20" << "";
        QTest::newRow("element over attribute, short one as version")
            << feed("<item><sparkle:shortVersionString>3</sparkle:shortVersionString><enclosure url='https://e/f' sparkle:shortVersionString='2'/></item>")
            << QStringList{"3 3"} << "3" << "";
        QTest::newRow("no version, no enclosure, not http, no host")
            << feed("<item><enclosure url='https://e/f'/></item><item><sparkle:version>4</sparkle:version></item>" + item("5").replace("https", "ftp")
                    + item("6").replace("e/f", "/f")) << QStringList{} << "" << "";
        QTest::newRow("at most 1000") << feed(item("7").repeated(1001)) << QStringList(1000, "7 7") << "7" << "";
        // <rss> and <channel> make two of the levels.
        QTest::newRow("32 levels deep") << feed(QByteArray("<a>").repeated(30) + QByteArray("</a>").repeated(30)) << QStringList{} << "" << "";
        QTest::newRow("33 levels deep") << feed(QByteArray("<a>").repeated(31) + QByteArray("</a>").repeated(31)) << QStringList{} << "" << "deeper";
        QTest::newRow("malformed") << feed("<item>") << QStringList{} << "" << "malformed";
        QTest::newRow("not RSS") << QByteArray("<feed><channel/></feed>") << QStringList{} << "" << "not RSS";
        QTest::newRow("entity bomb") << "<!DOCTYPE rss [<!ENTITY a 'aaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;&b;&b;&b;&b;&b;'>]>"
                                            + feed("<item><title>&c;</title></item>") << QStringList{} << "" << "DTD";
        QTest::newRow("over 4 MiB") << feed(item("1", "<title>" + QByteArray(4 << 20, 'x') + "</title>")) << QStringList{} << "" << "4 MiB";
    }

    void parses()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, refusal);
        QString error = "stale";
        const std::optional<QList<AppcastItem>> items = Appcast::parse(xml, &error);
        QCOMPARE(items.has_value(), refusal.isEmpty());
        QVERIFY2(error.contains(refusal) && error.isEmpty() == refusal.isEmpty(), qPrintable(error));
        QStringList versions;
        for (const AppcastItem &item : items.value_or(QList<AppcastItem>()))
            versions << item.version + ' ' + item.displayVersion;
        QTEST(versions, "items");
        QTEST(Appcast::newest(items.value_or(QList<AppcastItem>())).value_or(AppcastItem()).version, "newest");
    }

    void readsTheRestOfAnItem()
    {
        const auto items = Appcast::parse(feed(
            item("1", "<title> T </title><description><![CDATA[<p>a &amp; b</p>]]></description><enclosure url=' https://e/g ' length='42' sparkle:edSignature=' c2ln '/>")
            + item("2", "<description>" + QByteArray(1536 * 1024, 'x') + "</description>")));
        QVERIFY(items && items->size() == 2);
        QCOMPARE(items->front().title, "T");
        QCOMPARE(items->front().releaseNotesHtml, "<p>a &amp; b</p>");
        QCOMPARE(items->front().url, QUrl("https://e/g"));
        QCOMPARE(items->front().length, 42);
        QCOMPARE(items->front().edSignature, "c2ln");
        QCOMPARE(items->back().releaseNotesHtml, QString(1024 * 1024, 'x'));
    }

    // The name a download is kept under never leaves the downloads folder nor hides in it.
    void namesTheDownloadPlainly()
    {
        for (const auto &[url, version, name] : {std::tuple{"https://e/d/", "../../x", "Fikranest-update"},
                                                 {"https://e/..%2F.profile", "1.2b1", "Fikranest-1.2b1"}})
            QCOMPARE(Appcast::parse(feed(item(version).replace("https://e/f.tar.gz", url))).value().front().fileName, name);
    }

    // A release must leave the spare room free; one of unknown length needs that much at least.
    void refusesADownloadTheDiskHasNoRoomFor()
    {
        constexpr qint64 length = qint64(500) << 20, spare = UpdaterManager::spareDiskBytes;
        QVERIFY(!UpdaterManager::refusalToDownload(length, length + spare));
        QVERIFY(UpdaterManager::refusalToDownload(length, length + spare - 1) == UpdaterManager::Failure::noRoom);
        QVERIFY(UpdaterManager::refusalToDownload(-1, spare - 1) == UpdaterManager::Failure::noRoom);
    }

    // The second Ed25519 test vector of RFC 8032: a one-byte file.
    void acceptsOnlyTheKeysOwnSignatureOfTheWholeFile()
    {
        const QByteArray file = QByteArray::fromHex("72");
        const QByteArray key = QByteArray::fromHex("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
        const QByteArray signature = QByteArray::fromHex("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                                                         "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00");
        const QByteArray key64 = key.toBase64(), signature64 = signature.toBase64();
        QVERIFY(UpdateSignature::verify(file, signature64, " " + key64 + "\n"));
        QVERIFY(!UpdateSignature::verify(file.left(file.size() - 1), signature64, key64));
        QVERIFY(!UpdateSignature::verify(file, signature64, QByteArray(32, 'k').toBase64()));
        QVERIFY(!UpdateSignature::verify(file, signature.left(63).toBase64(), key64));
        QVERIFY(!UpdateSignature::verify(file, {}, key64));
        QVERIFY(!UpdateSignature::verify(file, signature64, {}));
        QVERIFY(!UpdateSignature::verify(file, signature64, "!" + key64));
    }
};

QTEST_GUILESS_MAIN(TestAppcast)
#include "tst_appcast.moc"
