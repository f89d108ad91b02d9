#include "CalDavClient.h"

#include <QEventLoop>
#include <QHostAddress>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>
#include <QUuid>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <vector>

using Failure = CalDavClient::Failure;
using Error = CalDavClient::Error;

namespace {

// Nothing this client asks for comes near this; a bigger answer is a broken or hostile server.
constexpr qint64 maxBody = 64 * 1024 * 1024;
constexpr int maxRedirects = 5;
constexpr int multigetChunk = 100;
// A truncated sync-collection asks again from its new token; a server that never
// finishes is refused rather than followed for ever.
constexpr int maxSyncRounds = 1000;
constexpr int maxXmlDepth = 64;

const QString dav = QStringLiteral("DAV:");
const QString caldav = QStringLiteral("urn:ietf:params:xml:ns:caldav");

using Headers = QList<QPair<QByteArray, QByteArray>>;
const QPair<QByteArray, QByteArray> xmlType{"Content-Type", "application/xml; charset=utf-8"};

QByteArray propfind(const char *props)
{
    return QByteArray(R"(<?xml version="1.0" encoding="utf-8"?>)"
                      "\n"
                      R"(<D:propfind xmlns:D="DAV:" xmlns:C="urn:ietf:params:xml:ns:caldav"><D:prop>)")
        + props + "</D:prop></D:propfind>";
}

const QByteArray principalBody = propfind("<D:current-user-principal/>");
const QByteArray homeSetBody = propfind("<C:calendar-home-set/>");
const QByteArray collectionsBody =
    propfind("<D:resourcetype/><D:displayname/><C:supported-calendar-component-set/>");
const QByteArray displayNameBody = propfind("<D:displayname/>");
const QByteArray etagsBody = propfind("<D:getetag/><D:resourcetype/>");

struct XmlNode
{
    QString ns;
    QString name;
    QString nameAttribute; // the `name` of a CalDAV comp
    QString text;
    std::vector<XmlNode> children;

    bool is(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        return name == wantedName && ns == wantedNs;
    }

    const XmlNode *child(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        for (const XmlNode &node : children) {
            if (node.is(wantedNs, wantedName))
                return &node;
        }
        return nullptr;
    }

    bool contains(const QString &wantedNs, QLatin1StringView wantedName) const
    {
        if (is(wantedNs, wantedName))
            return true;
        for (const XmlNode &node : children) {
            if (node.contains(wantedNs, wantedName))
                return true;
        }
        return false;
    }
};

bool parseXml(const QByteArray &body, XmlNode &root)
{
    QXmlStreamReader xml(body);
    // Each open element is the last child of the one below it, and a parent's list of
    // children only grows while that parent is open, so these pointers stay valid.
    std::vector<XmlNode *> open;
    bool seenRoot = false;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement: {
            if (open.size() >= maxXmlDepth)
                return false;
            XmlNode *node = &root;
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

int statusOfLine(const QString &line)
{
    const QStringList parts = line.simplified().split(QLatin1Char(' '));
    return parts.size() >= 2 ? parts.at(1).toInt() : 0;
}

struct DavResponse
{
    QUrl url;
    int status = 0;                 // the response's own status, when it carries one
    const XmlNode *found = nullptr; // the properties of its 200 propstat
};

// Pointers in `responses` point into `root`: a Multistatus is filled in place, never copied.
struct Multistatus
{
    XmlNode root;
    QList<DavResponse> responses;
    std::optional<QByteArray> syncToken;
};

bool readMultistatus(const QByteArray &body, const QUrl &base, Multistatus &out)
{
    if (!parseXml(body, out.root) || !out.root.is(dav, QLatin1StringView("multistatus")))
        return false;
    for (const XmlNode &node : out.root.children) {
        if (node.is(dav, QLatin1StringView("sync-token"))) {
            const QByteArray token = node.text.trimmed().toUtf8();
            if (!token.isEmpty())
                out.syncToken = token;
            continue;
        }
        if (!node.is(dav, QLatin1StringView("response")))
            continue;
        const XmlNode *href = node.child(dav, QLatin1StringView("href"));
        const QUrl relative(href ? href->text.trimmed() : QString());
        if (!href || relative.isEmpty() || !relative.isValid())
            return false;
        DavResponse response;
        response.url = base.resolved(relative);
        if (const XmlNode *status = node.child(dav, QLatin1StringView("status")))
            response.status = statusOfLine(status->text);
        for (const XmlNode &propstat : node.children) {
            if (!propstat.is(dav, QLatin1StringView("propstat")))
                continue;
            const XmlNode *status = propstat.child(dav, QLatin1StringView("status"));
            const XmlNode *prop = propstat.child(dav, QLatin1StringView("prop"));
            if (status && prop && statusOfLine(status->text) == 200)
                response.found = prop;
        }
        out.responses.append(response);
    }
    return true;
}

QString propText(const DavResponse &response, const QString &ns, QLatin1StringView name)
{
    const XmlNode *node = response.found ? response.found->child(ns, name) : nullptr;
    return node ? node->text.trimmed() : QString();
}

// The first href inside a property such as current-user-principal, resolved.
QUrl propHref(const DavResponse &response, const QUrl &base, const QString &ns, QLatin1StringView name)
{
    const XmlNode *node = response.found ? response.found->child(ns, name) : nullptr;
    const XmlNode *href = node ? node->child(dav, QLatin1StringView("href")) : nullptr;
    const QUrl relative(href ? href->text.trimmed() : QString());
    return relative.isEmpty() || !relative.isValid() ? QUrl() : base.resolved(relative);
}

bool isLoopback(const QUrl &url)
{
    const QString host = url.host();
    return host == QLatin1StringView("localhost") || QHostAddress(host).isLoopback();
}

int effectivePort(const QUrl &url)
{
    return url.port(url.scheme() == QLatin1StringView("https") ? 443 : 80);
}

bool sameOrigin(const QUrl &a, const QUrl &b)
{
    return a.scheme() == b.scheme() && a.host().compare(b.host(), Qt::CaseInsensitive) == 0
        && effectivePort(a) == effectivePort(b);
}

bool mayConnect(const QUrl &url)
{
    if (!url.isValid() || url.host().isEmpty())
        return false;
    const QString scheme = url.scheme();
    return scheme == QLatin1StringView("https") || (scheme == QLatin1StringView("http") && isLoopback(url));
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
    return sameOrigin(a, b) && pathKey(a) == pathKey(b);
}

// A resource directly inside `list`: never the list itself, nor one deeper down.
bool isMember(const QUrl &list, const QUrl &url)
{
    if (!sameOrigin(list, url))
        return false;
    const QString prefix = pathKey(list) + QLatin1Char('/');
    const QString path = pathKey(url);
    return path.startsWith(prefix) && path.size() > prefix.size()
        && !QStringView(path).mid(prefix.size()).contains(QLatin1Char('/'));
}

bool isTask(const QUrl &list, const QUrl &url)
{
    return isMember(list, url) && pathKey(url).endsWith(QLatin1StringView(".ics"), Qt::CaseInsensitive);
}

QUrl asFolder(QUrl url)
{
    if (!url.path().endsWith(QLatin1Char('/')))
        url.setPath(url.path() + QLatin1Char('/'));
    return url;
}

QString detail(const QByteArray &method, const QUrl &url, const QString &what)
{
    return QString::fromLatin1(method) + QLatin1Char(' ') + url.path(QUrl::FullyEncoded) + QLatin1StringView(": ")
        + what;
}

Error failure(Failure kind, const QByteArray &method, const QUrl &url, const QString &what, int status = 0)
{
    return {kind, status, detail(method, url, what)};
}

Error statusError(const QByteArray &method, const QUrl &url, int status)
{
    Failure kind = Failure::server;
    if (status == 401)
        kind = Failure::unauthorized;
    else if (status == 404 || status == 410)
        kind = Failure::gone;
    else if (status == 412)
        kind = Failure::precondition;
    return failure(kind, method, url, QStringLiteral("HTTP %1").arg(status), status);
}

Error notDav(const QByteArray &method, const QUrl &url, int status)
{
    const QString what = QStringLiteral("HTTP %1 with an answer that is not DAV XML").arg(status);
    return failure(Failure::server, method, url, what, status);
}

// Failures after which asking the same server somewhere else cannot help: all but an
// answer that was simply not the one wanted (a 404, an HTML page).
bool isFinal(const Error &error)
{
    return error.status == 0 || (error.failure != Failure::gone && error.failure != Failure::server);
}

// Answers to a sync-collection REPORT that say the token, or the report itself, is refused.
Error syncRefusal(const QUrl &url, int status, const QByteArray &body, bool hadToken)
{
    const QByteArray method = "REPORT";
    XmlNode root;
    const bool namesToken = parseXml(body, root) && root.contains(dav, QLatin1StringView("valid-sync-token"));
    if ((status == 403 || status == 409) && namesToken)
        return failure(Failure::invalidToken, method, url, QStringLiteral("HTTP %1, sync token refused").arg(status),
                       status);
    if (status == 400 && hadToken && body.toLower().contains("token"))
        return failure(Failure::invalidToken, method, url, QStringLiteral("HTTP 400 about the sync token"), status);
    if (status == 400 || status == 403 || status == 405 || status == 501)
        return failure(Failure::unsupported, method, url, QStringLiteral("HTTP %1, no sync-collection").arg(status),
                       status);
    return statusError(method, url, status);
}

QByteArray syncBody(const QByteArray &token)
{
    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.writeStartDocument();
    xml.writeNamespace(dav, QStringLiteral("D"));
    xml.writeStartElement(dav, QStringLiteral("sync-collection"));
    xml.writeTextElement(dav, QStringLiteral("sync-token"), QString::fromUtf8(token));
    xml.writeTextElement(dav, QStringLiteral("sync-level"), QStringLiteral("1"));
    xml.writeStartElement(dav, QStringLiteral("prop"));
    xml.writeEmptyElement(dav, QStringLiteral("getetag"));
    xml.writeEndDocument();
    return body;
}

QByteArray multigetBody(const QList<QUrl> &urls)
{
    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.writeStartDocument();
    xml.writeNamespace(dav, QStringLiteral("D"));
    xml.writeNamespace(caldav, QStringLiteral("C"));
    xml.writeStartElement(caldav, QStringLiteral("calendar-multiget"));
    xml.writeStartElement(dav, QStringLiteral("prop"));
    xml.writeEmptyElement(dav, QStringLiteral("getetag"));
    xml.writeEmptyElement(caldav, QStringLiteral("calendar-data"));
    xml.writeEndElement();
    for (const QUrl &url : urls)
        xml.writeTextElement(dav, QStringLiteral("href"), url.path(QUrl::FullyEncoded));
    xml.writeEndDocument();
    return body;
}

QByteArray mkcalendarBody(const QString &displayName)
{
    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.writeStartDocument();
    xml.writeNamespace(dav, QStringLiteral("D"));
    xml.writeNamespace(caldav, QStringLiteral("C"));
    xml.writeStartElement(caldav, QStringLiteral("mkcalendar"));
    xml.writeStartElement(dav, QStringLiteral("set"));
    xml.writeStartElement(dav, QStringLiteral("prop"));
    xml.writeTextElement(dav, QStringLiteral("displayname"), displayName);
    xml.writeStartElement(caldav, QStringLiteral("supported-calendar-component-set"));
    xml.writeEmptyElement(caldav, QStringLiteral("comp"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("VTODO"));
    xml.writeEndDocument();
    return body;
}

bool holdsTasks(const XmlNode &components)
{
    for (const XmlNode &comp : components.children) {
        if (comp.is(caldav, QLatin1StringView("comp"))
            && comp.nameAttribute.compare(QLatin1StringView("VTODO"), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QByteArray etagOf(const DavResponse &response)
{
    return propText(response, dav, QLatin1StringView("getetag")).toUtf8();
}

} // namespace

struct CalDavClient::Private
{
    struct Reply
    {
        int status = 0;
        QByteArray body;
        QByteArray etag;
        QByteArray location;
        QUrl url; // where the answer came from, after redirects: hrefs resolve against it
    };

    Account account;
    int timeoutMs;
    QNetworkAccessManager network;
    QUrl home;

    Error request(const QByteArray &method, const QUrl &target, const QByteArray &body, const Headers &headers,
                  Reply &reply);
    Error send(const QByteArray &method, const QUrl &url, const QByteArray &body, const Headers &headers,
               bool withAuth, Reply &reply);
    Error multistatus(const QByteArray &method, const QUrl &url, const QByteArray &depth, const QByteArray &body,
                      Multistatus &out, QUrl &base);
    Error principalAt(const QUrl &url, QUrl &principal);
};

Error CalDavClient::Private::request(const QByteArray &method, const QUrl &target, const QByteArray &body,
                                     const Headers &headers, Reply &reply)
{
    if (!mayConnect(target))
        return failure(Failure::insecure, method, target, QStringLiteral("not https and not loopback"));
    QUrl url = target;
    bool withAuth = true;
    for (int hop = 0;; ++hop) {
        if (Error error = send(method, url, body, headers, withAuth, reply))
            return error;
        const int status = reply.status;
        const bool redirect = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
        // A redirect that says nowhere is left to the caller as the odd status it is.
        if (!redirect || reply.location.isEmpty())
            return {};
        if (hop == maxRedirects)
            return failure(Failure::server, method, target, QStringLiteral("too many redirects"), status);
        const QUrl next = url.resolved(QUrl(QString::fromUtf8(reply.location)));
        const bool safe = next.scheme() == QLatin1StringView("https")
            || (url.scheme() == QLatin1StringView("http") && isLoopback(url) && sameOrigin(url, next));
        if (!next.isValid() || next.host().isEmpty() || !safe)
            return failure(Failure::insecure, method, url, QStringLiteral("redirect off https"), status);
        // The password goes only to the host the person named.
        if (next.host().compare(url.host(), Qt::CaseInsensitive) != 0)
            withAuth = false;
        url = next;
    }
}

Error CalDavClient::Private::send(const QByteArray &method, const QUrl &url, const QByteArray &body,
                                  const Headers &headers, bool withAuth, Reply &reply)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setTransferTimeout(timeoutMs);
    if (withAuth) {
        const QByteArray credentials = (account.user + QLatin1Char(':') + account.password).toUtf8();
        request.setRawHeader("Authorization", "Basic " + credentials.toBase64());
    }
    for (const auto &[name, value] : headers)
        request.setRawHeader(name, value);

    std::unique_ptr<QNetworkReply> answer(network.sendCustomRequest(request, method, body));
    QNetworkReply *raw = answer.get();
    bool tooLarge = false;
    QStringList sslProblems;
    // The announced length and what has come so far: Qt reports download progress only
    // now and then, too late to stop a flood.
    const auto refuseOver = [&](qint64 size) {
        if (size > maxBody && !tooLarge) {
            tooLarge = true;
            raw->abort();
        }
    };
    QObject::connect(raw, &QNetworkReply::metaDataChanged, raw, [&] {
        refuseOver(raw->header(QNetworkRequest::ContentLengthHeader).toLongLong());
    });
    QObject::connect(raw, &QNetworkReply::readyRead, raw, [&] { refuseOver(raw->bytesAvailable()); });
    QObject::connect(raw, &QNetworkReply::sslErrors, raw, [&](const QList<QSslError> &errors) {
        for (const QSslError &error : errors)
            sslProblems.append(error.errorString());
    });
    QEventLoop loop;
    QObject::connect(raw, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!raw->isFinished())
        loop.exec();

    if (tooLarge)
        return failure(Failure::server, method, url, QStringLiteral("answer over 64 MiB"));
    if (!sslProblems.isEmpty())
        return failure(Failure::untrusted, method, url, sslProblems.join(QLatin1StringView("; ")));

    const QNetworkReply::NetworkError error = raw->error();
    reply.status = raw->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // Errors below ContentAccessDenied are the connection's own; above it the HTTP status speaks.
    if (error != QNetworkReply::NoError && (error < QNetworkReply::ContentAccessDenied || reply.status == 0)) {
        switch (error) {
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::HostNotFoundError:
        case QNetworkReply::TemporaryNetworkFailureError:
        case QNetworkReply::NetworkSessionFailedError:
        case QNetworkReply::UnknownNetworkError:
            return failure(Failure::offline, method, url, raw->errorString());
        case QNetworkReply::OperationCanceledError:
        case QNetworkReply::TimeoutError:
            return failure(Failure::server, method, url, QStringLiteral("no answer within %1 ms").arg(timeoutMs));
        default:
            return failure(Failure::server, method, url, raw->errorString());
        }
    }
    reply.body = raw->readAll();
    if (reply.body.size() > maxBody)
        return failure(Failure::server, method, url, QStringLiteral("answer over 64 MiB"), reply.status);
    reply.etag = raw->rawHeader("ETag");
    reply.location = raw->rawHeader("Location");
    reply.url = url;
    return {};
}

Error CalDavClient::Private::multistatus(const QByteArray &method, const QUrl &url, const QByteArray &depth,
                                         const QByteArray &body, Multistatus &out, QUrl &base)
{
    Reply reply;
    if (Error error = request(method, url, body, {{"Depth", depth}, xmlType}, reply))
        return error;
    if (reply.status != 207)
        return statusError(method, reply.url, reply.status);
    if (!readMultistatus(reply.body, reply.url, out))
        return notDav(method, reply.url, reply.status);
    base = reply.url;
    return {};
}

Error CalDavClient::Private::principalAt(const QUrl &url, QUrl &principal)
{
    Multistatus answer;
    QUrl base;
    if (Error error = multistatus("PROPFIND", url, "0", principalBody, answer, base))
        return error;
    for (const DavResponse &response : answer.responses) {
        principal = propHref(response, base, dav, QLatin1StringView("current-user-principal"));
        if (!principal.isEmpty())
            return {};
    }
    return {};
}

CalDavClient::CalDavClient(const Account &account, int timeoutMs)
    : d(std::make_unique<Private>())
{
    d->account = account;
    // A password typed into the address would otherwise travel in every error's text.
    d->account.server.setUserInfo(QString());
    if (d->account.server.path().isEmpty())
        d->account.server.setPath(QStringLiteral("/"));
    d->timeoutMs = timeoutMs;
}

CalDavClient::~CalDavClient() = default;

Error CalDavClient::taskLists(QList<TaskList> &lists)
{
    lists.clear();
    const QUrl &server = d->account.server;
    QUrl principal;
    Error error = d->principalAt(server, principal);
    if (error && isFinal(error))
        return error;
    if (principal.isEmpty()) {
        error = d->principalAt(server.resolved(QUrl(QStringLiteral("/.well-known/caldav"))), principal);
        if (error && isFinal(error))
            return error;
    }
    // A server without current-user-principal may still have been given the principal itself.
    if (principal.isEmpty())
        principal = server;

    Multistatus homeSet;
    QUrl base;
    if (Error homeError = d->multistatus("PROPFIND", principal, "0", homeSetBody, homeSet, base))
        return homeError;
    QUrl home;
    for (const DavResponse &response : homeSet.responses) {
        home = propHref(response, base, caldav, QLatin1StringView("calendar-home-set"));
        if (!home.isEmpty())
            break;
    }
    if (home.isEmpty())
        return failure(Failure::server, "PROPFIND", principal, QStringLiteral("no calendar-home-set"), 207);
    home = asFolder(home);

    Multistatus collections;
    if (Error listError = d->multistatus("PROPFIND", home, "1", collectionsBody, collections, base))
        return listError;
    for (const DavResponse &response : collections.responses) {
        const XmlNode *type = response.found ? response.found->child(dav, QLatin1StringView("resourcetype")) : nullptr;
        if (!type || !type->child(caldav, QLatin1StringView("calendar")))
            continue;
        // No component set at all means every component (RFC 4791, 5.2.3).
        const XmlNode *components =
            response.found->child(caldav, QLatin1StringView("supported-calendar-component-set"));
        if (components && !holdsTasks(*components))
            continue;
        QString name = propText(response, dav, QLatin1StringView("displayname"));
        if (name.isEmpty())
            name = pathKey(response.url).section(QLatin1Char('/'), -1);
        lists.append({asFolder(response.url), name});
    }
    d->home = home;
    return {};
}

Error CalDavClient::makeTaskList(const QString &displayName, TaskList &made)
{
    if (d->home.isEmpty()) {
        QList<TaskList> known;
        if (Error error = taskLists(known))
            return error;
    }
    const QUrl url = d->home.resolved(QUrl(QUuid::createUuid().toString(QUuid::WithoutBraces) + QLatin1Char('/')));
    Private::Reply reply;
    if (Error error = d->request("MKCALENDAR", url, mkcalendarBody(displayName), {xmlType}, reply))
        return error;
    if (reply.status != 201 && reply.status != 200)
        return statusError("MKCALENDAR", url, reply.status);
    made = {url, displayName};
    return {};
}

Error CalDavClient::checkList(const QUrl &list)
{
    Multistatus answer;
    QUrl base;
    return d->multistatus("PROPFIND", list, "0", displayNameBody, answer, base);
}

Error CalDavClient::syncCollection(const QUrl &list, const QByteArray &token, Changes &changes)
{
    changes = {};
    // Keyed by path, so that a later round of a truncated sync overrides an earlier one.
    QMap<QString, Resource> changed;
    QMap<QString, QUrl> removed;
    QByteArray from = token;
    for (int round = 0;; ++round) {
        if (round == maxSyncRounds)
            return failure(Failure::server, "REPORT", list, QStringLiteral("sync-collection never completes"));
        Private::Reply reply;
        if (Error error = d->request("REPORT", list, syncBody(from), {{"Depth", "0"}, xmlType}, reply))
            return error;
        if (reply.status != 207)
            return syncRefusal(list, reply.status, reply.body, !from.isEmpty());
        Multistatus answer;
        if (!readMultistatus(reply.body, reply.url, answer))
            return notDav("REPORT", list, reply.status);
        if (!answer.syncToken)
            return failure(Failure::unsupported, "REPORT", list, QStringLiteral("HTTP 207 without a sync-token"), 207);
        bool truncated = false;
        for (const DavResponse &response : answer.responses) {
            if (samePlace(response.url, reply.url)) {
                truncated = truncated || response.status == 507;
                continue;
            }
            if (!isTask(reply.url, response.url))
                continue;
            const QString key = pathKey(response.url);
            if (response.status == 404) {
                changed.remove(key);
                removed.insert(key, response.url);
            } else if (response.found) {
                removed.remove(key);
                changed.insert(key, {response.url, etagOf(response), {}});
            }
        }
        const QByteArray reached = *answer.syncToken;
        if (!truncated || reached == from) {
            changes.token = reached;
            break;
        }
        from = reached;
    }
    changes.changed = changed.values();
    changes.removed = removed.values();
    return {};
}

Error CalDavClient::etags(const QUrl &list, QList<Resource> &resources)
{
    resources.clear();
    Multistatus answer;
    QUrl base;
    if (Error error = d->multistatus("PROPFIND", list, "1", etagsBody, answer, base))
        return error;
    for (const DavResponse &response : answer.responses) {
        const XmlNode *type = response.found ? response.found->child(dav, QLatin1StringView("resourcetype")) : nullptr;
        if (!response.found || !isMember(base, response.url)
            || (type && type->child(dav, QLatin1StringView("collection"))))
            continue;
        resources.append({response.url, etagOf(response), {}});
    }
    return {};
}

Error CalDavClient::multiget(const QUrl &list, const QList<QUrl> &urls, QList<Resource> &resources)
{
    resources.clear();
    for (qsizetype first = 0; first < urls.size(); first += multigetChunk) {
        Multistatus answer;
        QUrl base;
        const QByteArray body = multigetBody(urls.mid(first, multigetChunk));
        if (Error error = d->multistatus("REPORT", list, "1", body, answer, base))
            return error;
        for (const DavResponse &response : answer.responses) {
            const XmlNode *data =
                response.found ? response.found->child(caldav, QLatin1StringView("calendar-data")) : nullptr;
            if (data && isMember(base, response.url))
                resources.append({response.url, etagOf(response), data->text.toUtf8()});
        }
    }
    return {};
}

Error CalDavClient::get(const QUrl &url, Resource &resource)
{
    Private::Reply reply;
    if (Error error = d->request("GET", url, {}, {}, reply))
        return error;
    if (reply.status != 200)
        return statusError("GET", url, reply.status);
    resource = {url, reply.etag, reply.body};
    return {};
}

Error CalDavClient::put(const QUrl &url, const QByteArray &ics, const QByteArray &ifMatch, QByteArray &etag)
{
    Headers headers{{"Content-Type", "text/calendar; charset=utf-8"}};
    headers.append(ifMatch.isEmpty() ? QPair<QByteArray, QByteArray>("If-None-Match", "*")
                                     : QPair<QByteArray, QByteArray>("If-Match", ifMatch));
    Private::Reply reply;
    if (Error error = d->request("PUT", url, ics, headers, reply))
        return error;
    if (reply.status != 201 && reply.status != 204 && reply.status != 200)
        return statusError("PUT", url, reply.status);
    etag = reply.etag;
    if (!etag.isEmpty())
        return {};
    // The server changed the text on the way in, or does not say: ask for what it holds now.
    Multistatus answer;
    QUrl base;
    if (Error error = d->multistatus("PROPFIND", url, "0", etagsBody, answer, base))
        return error;
    for (const DavResponse &response : answer.responses) {
        if (samePlace(response.url, base))
            etag = etagOf(response);
    }
    if (etag.isEmpty())
        return failure(Failure::server, "PROPFIND", url, QStringLiteral("no getetag after PUT"), 207);
    return {};
}

Error CalDavClient::remove(const QUrl &url, const QByteArray &ifMatch)
{
    Headers headers;
    if (!ifMatch.isEmpty())
        headers.append({"If-Match", ifMatch});
    Private::Reply reply;
    if (Error error = d->request("DELETE", url, {}, headers, reply))
        return error;
    if (reply.status != 200 && reply.status != 204)
        return statusError("DELETE", url, reply.status);
    return {};
}
