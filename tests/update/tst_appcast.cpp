#include "Appcast.h"
#include "UpdateSignature.h"
#include "VersionOrder.h"

#include <QtTest>

#include <openssl/evp.h>

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
    void ordersVersions_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order");
        QTest::newRow("shorter release first") << "1.1" << "1.1.1" << -1;
        QTest::newRow("by number, not text") << "1.2" << "1.10" << -1;
        QTest::newRow("fewer parts, larger number") << "2" << "1.9.9" << 1;
        QTest::newRow("pre-release before release") << "1.0b1" << "1.0" << -1;
        QTest::newRow("pre-release before patch") << "1.0b1" << "1.0.1" << -1;
        QTest::newRow("letters by text") << "1.0a" << "1.0b" << -1;
        QTest::newRow("number beats letters") << "1.0" << "1.a" << 1;
        QTest::newRow("leading zeros") << "1.01" << "1.1" << 0;
        QTest::newRow("past 64 bits") << "1.99999999999999999999" << "1.100000000000000000000" << -1;
    }

    void ordersVersions()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QTEST(VersionOrder::compare(a, b), "order");
        QCOMPARE(VersionOrder::compare(b, a), -VersionOrder::compare(a, b));
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

    void acceptsOnlyTheKeysOwnSignatureOfTheWholeFile()
    {
        EVP_PKEY *key = EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
        QVERIFY(key);
        QByteArray publicKey(32, 0), signature(64, 0);
        size_t size = 32;
        EVP_PKEY_get_raw_public_key(key, reinterpret_cast<unsigned char *>(publicKey.data()), &size);
        const QByteArray file(70'000, 'r');
        EVP_MD_CTX *context = EVP_MD_CTX_new();
        size = 64;
        QVERIFY(EVP_DigestSignInit(context, nullptr, nullptr, nullptr, key) == 1
                && EVP_DigestSign(context, reinterpret_cast<unsigned char *>(signature.data()), &size,
                                  reinterpret_cast<const unsigned char *>(file.data()), size_t(file.size())) == 1);
        EVP_MD_CTX_free(context);
        EVP_PKEY_free(key);

        const QByteArray key64 = publicKey.toBase64(), signature64 = signature.toBase64();
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
