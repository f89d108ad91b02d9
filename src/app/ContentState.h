#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

// The root view's own state: whether the what's-new sheet is due.
class ContentState : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool showWhatsNew READ showWhatsNew WRITE setShowWhatsNew NOTIFY showWhatsNewChanged)

public:
    using QObject::QObject;

    // Versions compare as plain text, so a downgrade counts as new too; an empty
    // last-seen version (settings from before it was kept) never shows the sheet.
    static bool isWhatsNewDue(bool hasCompletedOnboarding, const QString &lastSeenVersion,
                              const QString &currentVersion);

    // Once per appearance: decides about the sheet, then records the version as seen.
    Q_INVOKABLE void appear();

    bool showWhatsNew() const { return m_showWhatsNew; }
    void setShowWhatsNew(bool show);

    static QString versionFallback() { return QStringLiteral("1.0"); }

signals:
    void showWhatsNewChanged();

private:
    bool m_showWhatsNew = false;
};
