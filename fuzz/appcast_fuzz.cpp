// Feeds arbitrary bytes to the update feed reader. Beyond the sanitizers, it stops
// on anything the reader promises: the signed part of a feed is exactly the bytes
// before its signing comment, items it keeps have a version, an http(s) download and
// a plain file name, the newest is one of them, and the version order is antisymmetric.
#include "FuzzInput.h"
#include "Appcast.h"
#include "VersionOrder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    if (const std::optional<SignedFeed> feed = Appcast::unwrap(bytes)) {
        check(!feed->edSignature.isEmpty());
        check(bytes.lastIndexOf("<!-- sparkle-signatures:\n") == feed->content.size());
    }

    QString error;
    const std::optional<QList<AppcastItem>> items = Appcast::parse(bytes, &error);
    check(items.has_value() == error.isEmpty());
    if (items) {
        check(items->size() <= 1000);
        for (const AppcastItem &item : *items) {
            check(!item.version.isEmpty() && !item.displayVersion.isEmpty());
            check(item.url.scheme().toLower().startsWith(u"http"));
            check(!item.fileName.isEmpty() && !item.fileName.startsWith(u'.') && !item.fileName.contains(u'/')
                  && !item.fileName.contains(QLatin1StringView("..")));
        }
        const std::optional<AppcastItem> newest = Appcast::newest(*items);
        check(newest.has_value() == !items->isEmpty());
        for (const AppcastItem &item : *items)
            check(VersionOrder::compare(item.version, newest->version) <= 0);
    }

    // The same bytes as two version strings, split at the first newline.
    const QString text = QString::fromUtf8(bytes);
    const qsizetype cut = text.indexOf(u'\n');
    const QString a = cut < 0 ? text : text.left(cut);
    const QString b = cut < 0 ? QString() : text.mid(cut + 1);
    check(VersionOrder::compare(a, a) == 0);
    check(VersionOrder::compare(a, b) == -VersionOrder::compare(b, a));
    return 0;
}
