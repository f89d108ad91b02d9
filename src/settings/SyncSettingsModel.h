#pragma once

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// The sheet that connects sync: the account's form, then the choice of a task list. The
// talking to the server is the sync service's; this keeps the sheet's stage and words.
class SyncSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool choosing READ choosing NOTIFY changed)
    Q_PROPERTY(bool working READ working NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(QVariantList lists READ lists NOTIFY changed)

public:
    explicit SyncSettingsModel(QObject *parent = nullptr);

    bool choosing() const { return !m_lists.isEmpty(); }
    bool working() const { return m_working; }
    QString error() const { return m_error; }
    // The lists to choose from, each {name, url}: a new one first, then those found.
    QVariantList lists() const { return m_lists; }

    static QString newListName();

    Q_INVOKABLE void connectAccount(const QString &server, const QString &user, const QString &password);
    Q_INVOKABLE void choose(int index);

signals:
    void changed();
    // Connected: the sheet closes.
    void finished();

private:
    void fail(const QString &error);

    bool m_working = false;
    QString m_error;
    QVariantList m_lists;
};
