#pragma once

#include "CalDavClient.h"

#include <QByteArray>
#include <QLatin1StringView>
#include <QList>
#include <QMap>
#include <QString>
#include <QUrl>

#include <optional>

// The XML side of the client's WebDAV and CalDAV requests (RFC 4918, 4791, 6578), with no
// network in it: the bodies it sends, and a multistatus answer read back into what each
// request is after. The XML is read with its namespaces, so any prefix a server picks is
// understood; hrefs are read against the address the answer came from.
class DavMultistatus
{
public:
    enum class Query { principal, calendarHome, collections, displayName, etags };

    static QByteArray propfind(Query query);
    static QByteArray syncCollection(const QByteArray &token);
    static QByteArray multiget(const QList<QUrl> &urls);
    // MKCALENDAR's body sets the same properties a PROPFIND reads.
    static QByteArray mkcalendar(const QString &displayName);

    // Whether an error body is XML that names the DAV precondition `condition` anywhere.
    static bool namesCondition(const QByteArray &body, QLatin1StringView condition);
    // Scheme, host and port, the port being the scheme's own when none is given.
    static bool sameOrigin(const QUrl &a, const QUrl &b);

    // False when `body` is not a DAV multistatus, or a response has no usable href.
    bool read(const QByteArray &body, const QUrl &base);

    // The first that any response names; the home as a folder.
    QUrl principal() const;
    QUrl calendarHome() const;
    // The calendars that hold tasks.
    QList<CalDavClient::TaskList> taskLists() const;
    // The resources directly inside, with their ETags; collections left out.
    QList<CalDavClient::Resource> etags() const;
    // The resources directly inside that came with their text.
    QList<CalDavClient::Resource> texts() const;
    // The ETag of the address asked about itself.
    QByteArray ownEtag() const;

    const std::optional<QByteArray> &syncToken() const { return m_syncToken; }
    // A sync-collection cut short: the collection itself answers 507 (RFC 6578, 3.6).
    bool truncated() const;
    // Lays a sync-collection answer's tasks over what earlier rounds said, keyed by path: a
    // 404 is a removal, any other with properties a change.
    void addChanges(QMap<QString, CalDavClient::Resource> &changed, QMap<QString, QUrl> &removed) const;

private:
    struct Node;

    struct Response
    {
        QUrl url;
        QString key;         // the path decoded and without a closing slash: servers spell one path many ways
        bool self = false;   // the address asked about, however the server spells it
        bool member = false; // directly inside it, never deeper down
        int status = 0;      // the response's own status, when it carries one
        bool found = false;  // it has a 200 propstat: the properties below come from the last one
        QByteArray etag;
        QString displayName;
        std::optional<QByteArray> calendarData;
        QUrl principal;
        QUrl calendarHome;
        bool calendar = false;
        bool collection = false;
        bool holdsTasks = false; // VTODO is among its components, or it names none, which means all
    };

    static bool readResponse(const Node &node, const QUrl &base, Response &response);
    static void readProperties(const Node &prop, const QUrl &base, Response &response);
    QUrl firstHref(QUrl Response::*href) const;

    QList<Response> m_responses;
    std::optional<QByteArray> m_syncToken;
};
