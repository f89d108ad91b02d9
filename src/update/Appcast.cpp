#include "Appcast.h"

#include "VersionOrder.h"

#include <QRegularExpression>
#include <QXmlStreamReader>

namespace {

constexpr qsizetype maxFeedBytes = 4 * 1024 * 1024;
constexpr qsizetype maxDepth = 32;
constexpr qsizetype maxTextChars = 1024 * 1024;
constexpr qsizetype maxItems = 1000;

const QString sparkleNamespace = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

constexpr QByteArrayView signaturesStart("<!-- sparkle-signatures:\n");
constexpr QByteArrayView commentEnd("-->");

// What one <item> says, element and enclosure attribute kept apart until the end,
// where the element wins.
struct ItemFields
{
    QString title;
    QString notes;
    QString version;
    QString shortVersion;
    QString enclosureVersion;
    QString enclosureShortVersion;
    QUrl url;
    qint64 length = -1;
    QByteArray edSignature;
    bool hasEnclosure = false;
};

bool isDownloadUrl(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == u"http" || scheme == u"https") && !url.host().isEmpty();
}

void takeEnclosure(const QXmlStreamAttributes &attributes, ItemFields &fields)
{
    // The first usable enclosure is the download; later ones are ignored.
    if (fields.hasEnclosure)
        return;
    const QUrl url(attributes.value(QString(), QLatin1StringView("url")).trimmed().toString(), QUrl::StrictMode);
    if (!isDownloadUrl(url))
        return;
    fields.hasEnclosure = true;
    fields.url = url;
    bool ok = false;
    const qint64 length = attributes.value(QString(), QLatin1StringView("length")).trimmed().toLongLong(&ok);
    fields.length = ok && length >= 0 ? length : -1;
    fields.edSignature = attributes.value(sparkleNamespace, QLatin1StringView("edSignature")).trimmed().toUtf8();
    fields.enclosureVersion = attributes.value(sparkleNamespace, QLatin1StringView("version")).trimmed().toString();
    fields.enclosureShortVersion =
        attributes.value(sparkleNamespace, QLatin1StringView("shortVersionString")).trimmed().toString();
}

// A name the downloads folder can take as it is: no folders, no dot or hidden names,
// nothing a file manager or a shell would read as more than a name.
bool isPlainFileName(const QString &name)
{
    static const QRegularExpression plain(
        QRegularExpression::anchoredPattern(QStringLiteral("[A-Za-z0-9][A-Za-z0-9._+-]{0,99}")));
    return !name.contains(QLatin1StringView("..")) && plain.match(name).hasMatch();
}

std::optional<AppcastItem> finish(const ItemFields &fields)
{
    AppcastItem item;
    item.title = fields.title.trimmed();
    item.releaseNotesHtml = fields.notes;
    item.url = fields.url;
    item.length = fields.length;
    item.edSignature = fields.edSignature;
    const QString version = fields.version.trimmed();
    const QString shortVersion = fields.shortVersion.trimmed();
    item.version = !version.isEmpty() ? version : fields.enclosureVersion;
    item.displayVersion = !shortVersion.isEmpty() ? shortVersion : fields.enclosureShortVersion;
    if (item.version.isEmpty())
        item.version = item.displayVersion;
    if (item.displayVersion.isEmpty())
        item.displayVersion = item.version;
    if (item.version.isEmpty() || !fields.hasEnclosure)
        return std::nullopt;
    const QString urlName = item.url.fileName();
    if (isPlainFileName(urlName))
        item.fileName = urlName;
    else if (isPlainFileName(item.displayVersion))
        item.fileName = QStringLiteral("Fikranest-") + item.displayVersion;
    else
        item.fileName = QStringLiteral("Fikranest-update");
    return item;
}

// The field of ItemFields a direct child of <item> fills, or null for one we ignore.
QString *fieldFor(const QXmlStreamReader &reader, ItemFields &fields)
{
    if (reader.namespaceUri().isEmpty()) {
        if (reader.name() == u"title")
            return &fields.title;
        if (reader.name() == u"description")
            return &fields.notes;
    } else if (reader.namespaceUri() == sparkleNamespace) {
        if (reader.name() == u"version")
            return &fields.version;
        if (reader.name() == u"shortVersionString")
            return &fields.shortVersion;
    }
    return nullptr;
}

std::optional<QList<AppcastItem>> refuse(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return std::nullopt;
}

} // namespace

std::optional<SignedFeed> Appcast::unwrap(const QByteArray &feed)
{
    const qsizetype start = feed.lastIndexOf(signaturesStart);
    if (start < 0)
        return std::nullopt;
    const qsizetype lines = start + signaturesStart.size();
    const qsizetype end = feed.indexOf(commentEnd, lines);
    // Anything after the comment would be bytes nobody signed.
    if (end < 0 || !feed.sliced(end + commentEnd.size()).trimmed().isEmpty())
        return std::nullopt;
    SignedFeed result;
    bool counted = false;
    qint64 length = 0;
    for (const QByteArray &line : feed.sliced(lines, end - lines).split('\n')) {
        if (line.startsWith("edSignature:"))
            result.edSignature = line.sliced(12).trimmed();
        else if (line.startsWith("length:"))
            length = line.sliced(7).trimmed().toLongLong(&counted);
    }
    if (!counted || length != start || result.edSignature.isEmpty())
        return std::nullopt;
    result.content = feed.first(start);
    return result;
}

std::optional<QList<AppcastItem>> Appcast::parse(const QByteArray &xml, QString *error)
{
    if (xml.size() > maxFeedBytes)
        return refuse(error, QStringLiteral("feed larger than 4 MiB"));

    QXmlStreamReader reader(xml);
    QList<AppcastItem> items;
    qsizetype depth = 0;
    bool sawRoot = false;
    bool inChannel = false;
    bool inItem = false; // inside an <item> of the <channel>, at depth 3
    ItemFields fields;
    QString *text = nullptr; // the field being read, while inside one
    const auto plain = [&](QStringView name) {
        return reader.name() == name && reader.namespaceUri().isEmpty();
    };

    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD:
        case QXmlStreamReader::EntityReference:
            return refuse(error, QStringLiteral("feed declares a DTD or entities"));
        case QXmlStreamReader::StartElement:
            if (depth == maxDepth)
                return refuse(error, QStringLiteral("feed nested deeper than 32 elements"));
            if (depth == 0 && !plain(u"rss"))
                return refuse(error, QStringLiteral("feed is not RSS"));
            ++depth;
            sawRoot = true;
            if (depth == 2) {
                inChannel = plain(u"channel");
            } else if (depth == 3 && inChannel && plain(u"item")) {
                inItem = true;
                fields = ItemFields();
            } else if (depth == 4 && inItem) {
                if (plain(u"enclosure"))
                    takeEnclosure(reader.attributes(), fields);
                else
                    text = fieldFor(reader, fields);
            }
            break;
        case QXmlStreamReader::Characters:
            if (text && text->size() < maxTextChars)
                text->append(reader.text().left(maxTextChars - text->size()));
            break;
        case QXmlStreamReader::EndElement:
            if (depth == 4)
                text = nullptr;
            if (depth == 3 && inItem) {
                inItem = false;
                if (items.size() < maxItems) {
                    if (std::optional<AppcastItem> item = finish(fields))
                        items.append(std::move(*item));
                }
            }
            --depth;
            break;
        default:
            break;
        }
    }
    if (reader.hasError()) {
        return refuse(error, QStringLiteral("malformed XML at line %1: %2")
                                 .arg(reader.lineNumber())
                                 .arg(reader.errorString()));
    }
    if (!sawRoot)
        return refuse(error, QStringLiteral("feed is not RSS"));
    if (error)
        error->clear();
    return items;
}

std::optional<AppcastItem> Appcast::newest(const QList<AppcastItem> &items)
{
    if (items.isEmpty())
        return std::nullopt;
    const AppcastItem *best = &items.front();
    for (const AppcastItem &item : items) {
        // Strictly newer only, so among equal versions the feed's first stays.
        if (VersionOrder::compare(item.version, best->version) > 0)
            best = &item;
    }
    return *best;
}
