#include "CalDavClient.h"

#include "DavMultistatus.h"

#include <QEventLoop>
#include <QHostAddress>
#include <QMap>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>
#include <QUuid>

using Failure = CalDavClient::Failure;
using Error = CalDavClient::Error;
using Query = DavMultistatus::Query;

namespace {

// Nothing this client asks for comes near this; a bigger answer is a broken or hostile server.
constexpr qint64 maxBody = 64 * 1024 * 1024;
constexpr int maxRedirects = 5;
constexpr int multigetChunk = 100;
// A truncated sync-collection asks again from its new token; a server that never
// finishes is refused rather than followed for ever.
constexpr int maxSyncRounds = 1000;

using Headers = QList<QPair<QByteArray, QByteArray>>;
const QPair<QByteArray, QByteArray> xmlType{"Content-Type", "application/xml; charset=utf-8"};

// Plain http only to this machine, where nothing on the way can read the password.
bool mayConnect(const QUrl &url)
{
    const QString host = url.host();
    if (!url.isValid() || host.isEmpty())
        return false;
    const bool loopback = host == QLatin1StringView("localhost") || QHostAddress(host).isLoopback();
    return url.scheme() == QLatin1StringView("https") || (url.scheme() == QLatin1StringView("http") && loopback);
}

Error failure(Failure kind, const QByteArray &method, const QUrl &url, const QString &what, int status = 0)
{
    return {kind, status,
            QString::fromLatin1(method) + QLatin1Char(' ') + url.path(QUrl::FullyEncoded) + QLatin1StringView(": ")
                + what};
}

Error statusError(const QByteArray &method, const QUrl &url, int status)
{
    const Failure kind = status == 401   ? Failure::unauthorized
        : status == 404 || status == 410 ? Failure::gone
        : status == 412                  ? Failure::precondition
                                         : Failure::server;
    return failure(kind, method, url, QStringLiteral("HTTP %1").arg(status), status);
}

Error notDav(const QByteArray &method, const QUrl &url, int status)
{
    return failure(Failure::server, method, url,
                   QStringLiteral("HTTP %1 with an answer that is not DAV XML").arg(status), status);
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
    const auto refused = [&](Failure kind, const QString &what) { return failure(kind, "REPORT", url, what, status); };
    if ((status == 403 || status == 409) && DavMultistatus::namesCondition(body, QLatin1StringView("valid-sync-token")))
        return refused(Failure::invalidToken, QStringLiteral("HTTP %1, sync token refused").arg(status));
    if (status == 400 && hadToken && body.toLower().contains("token"))
        return refused(Failure::invalidToken, QStringLiteral("HTTP 400 about the sync token"));
    if (status == 400 || status == 403 || status == 405 || status == 501)
        return refused(Failure::unsupported, QStringLiteral("HTTP %1, no sync-collection").arg(status));
    return statusError("REPORT", url, status);
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
                  Reply &reply)
    {
        if (!mayConnect(target))
            return failure(Failure::insecure, method, target, QStringLiteral("not https and not loopback"));
        QUrl url = target;
        bool withAuth = true;
        for (int hop = 0;; ++hop) {
            if (Error error = send(method, url, body, headers, withAuth, reply))
                return error;
            // A redirect that says nowhere is left to the caller as the odd status it is.
            if (!QList{301, 302, 303, 307, 308}.contains(reply.status) || reply.location.isEmpty())
                return {};
            if (hop == maxRedirects)
                return failure(Failure::server, method, target, QStringLiteral("too many redirects"), reply.status);
            const QUrl next = url.resolved(QUrl(QString::fromUtf8(reply.location)));
            // Plain http is followed only within the loopback server it started on.
            if (!mayConnect(next)
                || (next.scheme() != QLatin1StringView("https") && !DavMultistatus::sameOrigin(url, next)))
                return failure(Failure::insecure, method, url, QStringLiteral("redirect off https"), reply.status);
            // The password goes only to the host the person named.
            if (next.host().compare(url.host(), Qt::CaseInsensitive) != 0)
                withAuth = false;
            url = next;
        }
    }

    Error send(const QByteArray &method, const QUrl &url, const QByteArray &body, const Headers &headers, bool withAuth,
               Reply &reply)
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
        QObject::connect(raw, &QNetworkReply::metaDataChanged, raw,
                         [&] { refuseOver(raw->header(QNetworkRequest::ContentLengthHeader).toLongLong()); });
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
        reply.status = raw->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (Error error = connectionFailure(*raw, reply.status, method, url))
            return error;
        reply.body = raw->readAll();
        if (reply.body.size() > maxBody)
            return failure(Failure::server, method, url, QStringLiteral("answer over 64 MiB"), reply.status);
        reply.etag = raw->rawHeader("ETag");
        reply.location = raw->rawHeader("Location");
        reply.url = url;
        return {};
    }

    // Errors below ContentAccessDenied are the connection's own; above it the HTTP status speaks,
    // when there is one.
    Error connectionFailure(const QNetworkReply &reply, int status, const QByteArray &method, const QUrl &url) const
    {
        const QNetworkReply::NetworkError error = reply.error();
        if (error == QNetworkReply::NoError || (error >= QNetworkReply::ContentAccessDenied && status != 0))
            return {};
        switch (error) {
        case QNetworkReply::ConnectionRefusedError:
        case QNetworkReply::HostNotFoundError:
        case QNetworkReply::TemporaryNetworkFailureError:
        case QNetworkReply::NetworkSessionFailedError:
        case QNetworkReply::UnknownNetworkError:
            return failure(Failure::offline, method, url, reply.errorString());
        case QNetworkReply::OperationCanceledError:
        case QNetworkReply::TimeoutError:
            return failure(Failure::server, method, url, QStringLiteral("no answer within %1 ms").arg(timeoutMs));
        default:
            return failure(Failure::server, method, url, reply.errorString());
        }
    }

    // Any status but those in `ok` is an error.
    Error call(const QByteArray &method, const QUrl &url, const QByteArray &body, const Headers &headers,
               const QList<int> &ok, Reply &reply)
    {
        if (Error error = request(method, url, body, headers, reply))
            return error;
        if (!ok.contains(reply.status))
            return statusError(method, url, reply.status);
        return {};
    }

    Error multistatus(const QByteArray &method, const QUrl &url, const QByteArray &depth, const QByteArray &body,
                      DavMultistatus &answer)
    {
        Reply reply;
        if (Error error = request(method, url, body, {{"Depth", depth}, xmlType}, reply))
            return error;
        if (reply.status != 207)
            return statusError(method, reply.url, reply.status);
        if (!answer.read(reply.body, reply.url))
            return notDav(method, reply.url, reply.status);
        return {};
    }

    // The principal where the address says, else at /.well-known/caldav, else the address
    // itself; then the calendar home it names.
    Error calendarHome(QUrl &found)
    {
        const QUrl &server = account.server;
        QUrl principal;
        for (const QUrl &at : {server, server.resolved(QUrl(QStringLiteral("/.well-known/caldav")))}) {
            DavMultistatus answer;
            const Error error = multistatus("PROPFIND", at, "0", DavMultistatus::propfind(Query::principal), answer);
            if (!error)
                principal = answer.principal();
            else if (isFinal(error))
                return error;
            if (!principal.isEmpty())
                break;
        }
        // A server without current-user-principal may still have been given the principal itself.
        if (principal.isEmpty())
            principal = server;

        DavMultistatus homeSet;
        if (Error error =
                multistatus("PROPFIND", principal, "0", DavMultistatus::propfind(Query::calendarHome), homeSet))
            return error;
        found = homeSet.calendarHome();
        if (found.isEmpty())
            return failure(Failure::server, "PROPFIND", principal, QStringLiteral("no calendar-home-set"), 207);
        return {};
    }
};

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
    QUrl home;
    if (Error error = d->calendarHome(home))
        return error;
    DavMultistatus collections;
    if (Error error = d->multistatus("PROPFIND", home, "1", DavMultistatus::propfind(Query::collections), collections))
        return error;
    lists = collections.taskLists();
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
    if (Error error = d->call("MKCALENDAR", url, DavMultistatus::mkcalendar(displayName), {xmlType}, {201, 200}, reply))
        return error;
    made = {url, displayName};
    return {};
}

Error CalDavClient::checkList(const QUrl &list)
{
    DavMultistatus answer;
    return d->multistatus("PROPFIND", list, "0", DavMultistatus::propfind(Query::displayName), answer);
}

Error CalDavClient::syncCollection(const QUrl &list, const QByteArray &token, Changes &changes)
{
    changes = {};
    // Keyed by path, so that a later round of a truncated sync overrides an earlier one.
    QMap<QString, Resource> changed;
    QMap<QString, QUrl> removed;
    QByteArray from = token;
    for (int round = 0; round < maxSyncRounds; ++round) {
        Private::Reply reply;
        if (Error error =
                d->request("REPORT", list, DavMultistatus::syncCollection(from), {{"Depth", "0"}, xmlType}, reply))
            return error;
        if (reply.status != 207)
            return syncRefusal(list, reply.status, reply.body, !from.isEmpty());
        DavMultistatus answer;
        if (!answer.read(reply.body, reply.url))
            return notDav("REPORT", list, reply.status);
        if (!answer.syncToken())
            return failure(Failure::unsupported, "REPORT", list, QStringLiteral("HTTP 207 without a sync-token"), 207);
        answer.addChanges(changed, removed);
        const QByteArray reached = *answer.syncToken();
        if (!answer.truncated() || reached == from) {
            changes = {changed.values(), removed.values(), reached};
            return {};
        }
        from = reached;
    }
    return failure(Failure::server, "REPORT", list, QStringLiteral("sync-collection never completes"));
}

Error CalDavClient::etags(const QUrl &list, QList<Resource> &resources)
{
    resources.clear();
    DavMultistatus answer;
    if (Error error = d->multistatus("PROPFIND", list, "1", DavMultistatus::propfind(Query::etags), answer))
        return error;
    resources = answer.etags();
    return {};
}

Error CalDavClient::multiget(const QUrl &list, const QList<QUrl> &urls, QList<Resource> &resources)
{
    resources.clear();
    for (qsizetype first = 0; first < urls.size(); first += multigetChunk) {
        DavMultistatus answer;
        if (Error error =
                d->multistatus("REPORT", list, "1", DavMultistatus::multiget(urls.mid(first, multigetChunk)), answer))
            return error;
        resources += answer.texts();
    }
    return {};
}

Error CalDavClient::get(const QUrl &url, Resource &resource)
{
    Private::Reply reply;
    if (Error error = d->call("GET", url, {}, {}, {200}, reply))
        return error;
    resource = {url, reply.etag, reply.body};
    return {};
}

Error CalDavClient::put(const QUrl &url, const QByteArray &ics, const QByteArray &ifMatch, QByteArray &etag)
{
    Headers headers{{"Content-Type", "text/calendar; charset=utf-8"}};
    headers.append(ifMatch.isEmpty() ? QPair<QByteArray, QByteArray>("If-None-Match", "*")
                                     : QPair<QByteArray, QByteArray>("If-Match", ifMatch));
    Private::Reply reply;
    if (Error error = d->call("PUT", url, ics, headers, {201, 204, 200}, reply))
        return error;
    etag = reply.etag;
    if (!etag.isEmpty())
        return {};
    // The server changed the text on the way in, or does not say: ask for what it holds now.
    DavMultistatus answer;
    if (Error error = d->multistatus("PROPFIND", url, "0", DavMultistatus::propfind(Query::etags), answer))
        return error;
    etag = answer.ownEtag();
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
    return d->call("DELETE", url, {}, headers, {200, 204}, reply);
}
