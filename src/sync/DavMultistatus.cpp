#include "DavMultistatus.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <vector>

using Resource = CalDavClient::Resource;

namespace {

// No honest answer nests this deep; the limit keeps a hostile one from costing memory and stack.
constexpr int maxXmlDepth = 64;

const QString dav = QStringLiteral("DAV:");
const QString caldav = QStringLiteral("urn:ietf:params:xml:ns:caldav");

// A body under the root element `ns`:`root`, whose content `fill` writes. Only a CalDAV
// root declares the CalDAV prefix: no other body uses it.
template <typename Fill>
QByteArray xmlBody(const QString &ns, const QString &root, Fill fill)
{
    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.writeStartDocument();
    xml.writeNamespace(dav, QStringLiteral("D"));
    if (ns == caldav)
        xml.writeNamespace(caldav, QStringLiteral("C"));
    xml.writeStartElement(ns, root);
    fill(xml);
    xml.writeEndDocument();
    return body;
}

int statusOfLine(const QString &line)
{
    const QStringList parts = line.simplified().split(QLatin1Char(' '));
    return parts.size() >= 2 ? parts.at(1).toInt() : 0;
}

// Servers spell the same path with and without a closing slash, and encode it differently.
QString pathKey(const QUrl &url)
{
    QString path = url.path(QUrl::FullyDecoded);
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

bool samePlace(const QUrl &a, const QUrl &b)
{
    return DavMultistatus::sameOrigin(a, b) && pathKey(a) == pathKey(b);
}

// A resource directly inside `list`: never the list itself, nor one deeper down.
bool isMember(const QUrl &list, const QUrl &url)
{
    if (!DavMultistatus::sameOrigin(list, url))
        return false;
    const QString prefix = pathKey(list) + QLatin1Char('/');
    const QString path = pathKey(url);
    return path.startsWith(prefix) && path.size() > prefix.size()
        && !QStringView(path).mid(prefix.size()).contains(QLatin1Char('/'));
}

QUrl asFolder(QUrl url)
{
    if (!url.path().endsWith(QLatin1Char('/')))
        url.setPath(url.path() + QLatin1Char('/'));
    return url;
}

} // namespace

struct DavMultistatus::Node
{
    QString ns;
    QString name;
    QString nameAttribute; // the `name` of a CalDAV comp
    QString text;
    std::vector<Node> children;

    bool is(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        return name == wantedName && ns == wantedNs;
    }

    const Node *child(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        for (const Node &node : children) {
            if (node.is(wantedNs, wantedName))
                return &node;
        }
        return nullptr;
    }

    bool contains(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        if (is(wantedNs, wantedName))
            return true;
        for (const Node &node : children) {
            if (node.contains(wantedNs, wantedName))
                return true;
        }
        return false;
    }

    QString childText(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        const Node *node = child(wantedNs, wantedName);
        return node ? node->text.trimmed() : QString();
    }

    // The first href inside, resolved; empty when there is none or it is not a URL.
    QUrl href(const QUrl &base) const
    {
        const QUrl relative(childText(dav, QLatin1StringView("href")));
        return relative.isEmpty() || !relative.isValid() ? QUrl() : base.resolved(relative);
    }

    QUrl childHref(const QString &wantedNs, QLatin1StringView wantedName, const QUrl &base) const
    {
        const Node *node = child(wantedNs, wantedName);
        return node ? node->href(base) : QUrl();
    }

    bool holdsTasks() const
    {
        for (const Node &comp : children) {
            if (comp.is(caldav, QLatin1StringView("comp"))
                && comp.nameAttribute.compare(QLatin1StringView("VTODO"), Qt::CaseInsensitive) == 0)
                return true;
        }
        return false;
    }

    // Reads `body` into this node as its root element.
    bool parse(const QByteArray &body)
    {
        QXmlStreamReader xml(body);
        // Each open element is the last child of the one below it, and a parent's list of
        // children only grows while that parent is open, so these pointers stay valid.
        std::vector<Node *> open;
        bool seenRoot = false;
        while (!xml.atEnd()) {
            switch (xml.readNext()) {
            case QXmlStreamReader::StartElement: {
                if (open.size() >= maxXmlDepth)
                    return false;
                Node *node = this;
                if (open.empty()) {
                    seenRoot = true;
                } else {
                    open.back()->children.emplace_back();
                    node = &open.back()->children.back();
                }
                node->ns = xml.namespaceUri().toString();
                node->name = xml.name().toString();
                node->nameAttribute = xml.attributes().value(QLatin1StringView("name")).toString();
                open.push_back(node);
                break;
            }
            case QXmlStreamReader::EndElement:
                if (!open.empty())
                    open.pop_back();
                break;
            case QXmlStreamReader::Characters:
                if (!open.empty())
                    open.back()->text += xml.text();
                break;
            default:
                break;
            }
        }
        return !xml.hasError() && seenRoot;
    }
};

QByteArray DavMultistatus::propfind(Query query)
{
    // In the order of Query.
    static const char *const props[] = {
        "<D:current-user-principal/>",
        "<C:calendar-home-set/>",
        "<D:resourcetype/><D:displayname/><C:supported-calendar-component-set/>",
        "<D:displayname/>",
        "<D:getetag/><D:resourcetype/>",
    };
    return QByteArray(R"(<?xml version="1.0" encoding="utf-8"?>)"
                      "\n"
                      R"(<D:propfind xmlns:D="DAV:" xmlns:C="urn:ietf:params:xml:ns:caldav"><D:prop>)")
        + props[int(query)] + "</D:prop></D:propfind>";
}

QByteArray DavMultistatus::syncCollection(const QByteArray &token)
{
    return xmlBody(dav, QStringLiteral("sync-collection"), [&](QXmlStreamWriter &xml) {
        xml.writeTextElement(dav, QStringLiteral("sync-token"), QString::fromUtf8(token));
        xml.writeTextElement(dav, QStringLiteral("sync-level"), QStringLiteral("1"));
        xml.writeStartElement(dav, QStringLiteral("prop"));
        xml.writeEmptyElement(dav, QStringLiteral("getetag"));
    });
}

QByteArray DavMultistatus::multiget(const QList<QUrl> &urls)
{
    return xmlBody(caldav, QStringLiteral("calendar-multiget"), [&](QXmlStreamWriter &xml) {
        xml.writeStartElement(dav, QStringLiteral("prop"));
        xml.writeEmptyElement(dav, QStringLiteral("getetag"));
        xml.writeEmptyElement(caldav, QStringLiteral("calendar-data"));
        xml.writeEndElement();
        for (const QUrl &url : urls)
            xml.writeTextElement(dav, QStringLiteral("href"), url.path(QUrl::FullyEncoded));
    });
}

QByteArray DavMultistatus::mkcalendar(const QString &displayName)
{
    return xmlBody(caldav, QStringLiteral("mkcalendar"), [&](QXmlStreamWriter &xml) {
        xml.writeStartElement(dav, QStringLiteral("set"));
        xml.writeStartElement(dav, QStringLiteral("prop"));
        xml.writeTextElement(dav, QStringLiteral("displayname"), displayName);
        xml.writeStartElement(caldav, QStringLiteral("supported-calendar-component-set"));
        xml.writeEmptyElement(caldav, QStringLiteral("comp"));
        xml.writeAttribute(QStringLiteral("name"), QStringLiteral("VTODO"));
    });
}

bool DavMultistatus::namesCondition(const QByteArray &body, QLatin1StringView condition)
{
    Node root;
    return root.parse(body) && root.contains(dav, condition);
}

bool DavMultistatus::sameOrigin(const QUrl &a, const QUrl &b)
{
    const auto port = [](const QUrl &url) { return url.port(url.scheme() == QLatin1StringView("https") ? 443 : 80); };
    return a.scheme() == b.scheme() && a.host().compare(b.host(), Qt::CaseInsensitive) == 0 && port(a) == port(b);
}

bool DavMultistatus::read(const QByteArray &body, const QUrl &base)
{
    Node root;
    if (!root.parse(body) || !root.is(dav, QLatin1StringView("multistatus")))
        return false;
    for (const Node &node : root.children) {
        if (node.is(dav, QLatin1StringView("sync-token")) && !node.text.trimmed().isEmpty())
            m_syncToken = node.text.trimmed().toUtf8();
        if (!node.is(dav, QLatin1StringView("response")))
            continue;
        Response response;
        if (!readResponse(node, base, response))
            return false;
        m_responses.append(response);
    }
    return true;
}

bool DavMultistatus::readResponse(const Node &node, const QUrl &base, Response &response)
{
    response.url = node.href(base);
    if (response.url.isEmpty())
        return false;
    response.key = pathKey(response.url);
    response.self = samePlace(base, response.url);
    response.member = isMember(base, response.url);
    if (const Node *status = node.child(dav, QLatin1StringView("status")))
        response.status = statusOfLine(status->text);
    for (const Node &propstat : node.children) {
        if (!propstat.is(dav, QLatin1StringView("propstat")))
            continue;
        const Node *status = propstat.child(dav, QLatin1StringView("status"));
        const Node *prop = propstat.child(dav, QLatin1StringView("prop"));
        if (status && prop && statusOfLine(status->text) == 200)
            readProperties(*prop, base, response);
    }
    return true;
}

void DavMultistatus::readProperties(const Node &prop, const QUrl &base, Response &response)
{
    const Node *type = prop.child(dav, QLatin1StringView("resourcetype"));
    const Node *data = prop.child(caldav, QLatin1StringView("calendar-data"));
    // No component set at all means every component (RFC 4791, 5.2.3).
    const Node *components = prop.child(caldav, QLatin1StringView("supported-calendar-component-set"));
    response.found = true;
    response.etag = prop.childText(dav, QLatin1StringView("getetag")).toUtf8();
    response.displayName = prop.childText(dav, QLatin1StringView("displayname"));
    response.calendarData = data ? std::optional(data->text.toUtf8()) : std::nullopt;
    response.principal = prop.childHref(dav, QLatin1StringView("current-user-principal"), base);
    response.calendarHome = prop.childHref(caldav, QLatin1StringView("calendar-home-set"), base);
    response.calendar = type && type->child(caldav, QLatin1StringView("calendar"));
    response.collection = type && type->child(dav, QLatin1StringView("collection"));
    response.holdsTasks = !components || components->holdsTasks();
}

QUrl DavMultistatus::firstHref(QUrl Response::*href) const
{
    for (const Response &response : m_responses) {
        if (!(response.*href).isEmpty())
            return response.*href;
    }
    return {};
}

QUrl DavMultistatus::principal() const
{
    return firstHref(&Response::principal);
}

QUrl DavMultistatus::calendarHome() const
{
    const QUrl home = firstHref(&Response::calendarHome);
    return home.isEmpty() ? home : asFolder(home);
}

QList<CalDavClient::TaskList> DavMultistatus::taskLists() const
{
    QList<CalDavClient::TaskList> lists;
    for (const Response &response : m_responses) {
        if (!response.calendar || !response.holdsTasks)
            continue;
        const QString name = response.displayName;
        lists.append({asFolder(response.url), name.isEmpty() ? response.key.section(QLatin1Char('/'), -1) : name});
    }
    return lists;
}

QList<Resource> DavMultistatus::etags() const
{
    QList<Resource> resources;
    for (const Response &response : m_responses) {
        if (response.found && response.member && !response.collection)
            resources.append({response.url, response.etag, {}});
    }
    return resources;
}

QList<Resource> DavMultistatus::texts() const
{
    QList<Resource> resources;
    for (const Response &response : m_responses) {
        if (response.calendarData && response.member)
            resources.append({response.url, response.etag, *response.calendarData});
    }
    return resources;
}

QByteArray DavMultistatus::ownEtag() const
{
    QByteArray etag;
    for (const Response &response : m_responses) {
        if (response.self)
            etag = response.etag;
    }
    return etag;
}

bool DavMultistatus::truncated() const
{
    for (const Response &response : m_responses) {
        if (response.self && response.status == 507)
            return true;
    }
    return false;
}

void DavMultistatus::addChanges(QMap<QString, Resource> &changed, QMap<QString, QUrl> &removed) const
{
    for (const Response &response : m_responses) {
        if (!response.member || !response.key.endsWith(QLatin1StringView(".ics"), Qt::CaseInsensitive))
            continue;
        if (response.status == 404) {
            changed.remove(response.key);
            removed.insert(response.key, response.url);
        } else if (response.found) {
            removed.remove(response.key);
            changed.insert(response.key, {response.url, response.etag, {}});
        }
    }
}
