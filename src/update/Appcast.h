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
};

// Reading an update feed. Feeds come from the network, so anything oversized,
// malformed or too deeply nested is refused with a reason rather than trusted.
class Appcast
{
public:
    // The items with a version and a download, in feed order; nullopt and `error`
    // when the feed cannot be read at all.
    static std::optional<QList<AppcastItem>> parse(const QByteArray &xml, QString *error = nullptr);
    // The newest item by Sparkle's version order; nullopt for none.
    static std::optional<AppcastItem> newest(const QList<AppcastItem> &items);
};
