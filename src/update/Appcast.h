#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

// One release offered by an update feed in Sparkle's RSS format.
struct AppcastItem
{
    QString title;
    // sparkle:version, the one versions are compared by; shortVersionString when absent.
    QString version;
    // sparkle:shortVersionString, the one people read; version when absent.
    QString displayVersion;
    // The item's <description>, HTML as the feed gives it.
    QString releaseNotesHtml;
    QUrl url;
    // Bytes the enclosure declares, -1 when it declares none.
    qint64 length = -1;
    // sparkle:edSignature: base64 of the Ed25519 signature of the file.
    QByteArray edSignature;
    // What the download is kept under: the address's own name when it is a plain one,
    // else one made from the version, never a path or a hidden name.
    QString fileName;
};

// A feed as Sparkle signs it: the bytes read as the feed, and the base64 Ed25519
// signature of exactly those bytes that trails them.
struct SignedFeed
{
    QByteArray content;
    QByteArray edSignature;
};

// Reading an update feed. Feeds come from the network, so anything oversized,
// malformed or too deeply nested is refused with a reason rather than trusted.
class Appcast
{
public:
    // Splits off the trailing comment Sparkle signs feeds with
    // ("<!-- sparkle-signatures:", then "edSignature: ", "length: " lines, "-->");
    // nullopt unless it is there, ends the feed and counts the bytes before it.
    static std::optional<SignedFeed> unwrap(const QByteArray &feed);
    // The items with a version and a download, in feed order; nullopt and `error`
    // when the feed cannot be read at all.
    static std::optional<QList<AppcastItem>> parse(const QByteArray &xml, QString *error = nullptr);
    // The newest item by Sparkle's version order; nullopt for none.
    static std::optional<AppcastItem> newest(const QList<AppcastItem> &items);
};
