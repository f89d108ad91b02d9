#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkRequest;
class QNetworkReply;

// The program's own CalDAV client (RFC 4791, 6578, 6764) over Qt Network. Every call
// waits for its answer in a local event loop, so it belongs on the sync thread, never on
// the UI thread; make it on the thread that uses it, which its network access belongs to.
// The password is sent to the server and nowhere else: never into an error's text.
class CalDavClient
{
public:
    struct Account
    {
        QUrl server; // what the person typed: a host, a base address or the list itself
        QString user;
        QString password;
    };

    enum class Failure {
        none,
        offline,            // no route, refused, host not found
        unauthorized,       // 401: wrong user name or password
        untrusted,          // a certificate the system does not trust
        insecure,           // plain http to a host that is not loopback, or a redirect off https
        gone,               // 404/410 on the list itself
        precondition,       // 412 on a conditional write
        invalidToken,       // the sync token was refused (RFC 6578 valid-sync-token)
        unsupported,        // the server has no sync-collection report
        server,             // 5xx, a timeout, or an answer that is not DAV
    };

    struct Error
    {
        Failure failure = Failure::none;
        int status = 0;  // the HTTP status, when there was one
        QString detail;  // for logs: the method and the path, never the password
        explicit operator bool() const { return failure != Failure::none; }
    };

    struct TaskList
    {
        QUrl url;
        QString displayName;
    };

    struct Resource
    {
        QUrl url;
        QByteArray etag;
        QByteArray ics; // empty when only the ETag was asked for
    };

    struct Changes
    {
        QList<Resource> changed; // URL and ETag; the text is fetched with multiget
        QList<QUrl> removed;
        QByteArray token;
    };

    explicit CalDavClient(const Account &account, int timeoutMs = 30000);
    ~CalDavClient();

    // Discovery: /.well-known/caldav, current-user-principal, calendar-home-set, then the
    // collections of that home whose supported-calendar-component-set holds VTODO.
    Error taskLists(QList<TaskList> &lists);
    // MKCALENDAR for VTODO in the calendar home, named `displayName`.
    Error makeTaskList(const QString &displayName, TaskList &made);
    // The list's display name, to check that it is still there.
    Error checkList(const QUrl &list);

    // sync-collection from `token` (empty: the initial sync).
    Error syncCollection(const QUrl &list, const QByteArray &token, Changes &changes);
    // Every resource of the list with its ETag (PROPFIND, depth 1).
    Error etags(const QUrl &list, QList<Resource> &resources);
    // The texts of `urls` (calendar-multiget); missing ones are left out.
    Error multiget(const QUrl &list, const QList<QUrl> &urls, QList<Resource> &resources);
    Error get(const QUrl &url, Resource &resource);
    // PUT with If-None-Match: * when `ifMatch` is empty, else If-Match: `ifMatch`. The new
    // ETag comes back in `etag` (asked for when the server does not say).
    Error put(const QUrl &url, const QByteArray &ics, const QByteArray &ifMatch, QByteArray &etag);
    // DELETE with If-Match: `ifMatch`.
    Error remove(const QUrl &url, const QByteArray &ifMatch);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
