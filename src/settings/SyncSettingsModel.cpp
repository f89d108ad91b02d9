#include "SyncSettingsModel.h"

#include "SyncService.h"

#include <QUrl>

SyncSettingsModel::SyncSettingsModel(QObject *parent)
    : QObject(parent)
{
    SyncService &sync = SyncService::instance();
    connect(&sync, &SyncService::listsFound, this, [this](const QVariantList &found) {
        if (!m_working)
            return;
        m_working = false;
        m_error.clear();
        m_lists = {QVariantMap{{QStringLiteral("name"), QStringLiteral("قائمة جديدة: ") + newListName()},
                               {QStringLiteral("url"), QString()}}};
        m_lists += found;
        emit changed();
    });
    connect(&sync, &SyncService::connectFailed, this, [this](const QString &text) {
        if (m_working)
            fail(text);
    });
    connect(&sync, &SyncService::connectedNow, this, [this] {
        if (!std::exchange(m_working, false))
            return;
        emit changed();
        emit finished();
    });
}

QString SyncSettingsModel::newListName()
{
    return QStringLiteral("الفكرون");
}

void SyncSettingsModel::connectAccount(const QString &server, const QString &user, const QString &password)
{
    const QUrl url = QUrl::fromUserInput(server.trimmed());
    if (server.trimmed().isEmpty() || !url.isValid() || url.host().isEmpty())
        return fail(QStringLiteral("اكتب عنوان السيرفر، مثل https://cloud.example.com"));
    if (user.trimmed().isEmpty() || password.isEmpty())
        return fail(QStringLiteral("اكتب اسم المستخدم وكلمة السر"));
    m_working = true;
    m_error.clear();
    m_lists.clear();
    emit changed();
    SyncService::instance().findLists(server, user, password);
}

void SyncSettingsModel::choose(int index)
{
    if (m_working || index < 0 || index >= m_lists.size())
        return;
    m_working = true;
    m_error.clear();
    emit changed();
    const QString url = m_lists.at(index).toMap().value(QStringLiteral("url")).toString();
    SyncService::instance().useList(url, url.isEmpty() ? newListName() : QString());
}

void SyncSettingsModel::fail(const QString &error)
{
    m_working = false;
    m_error = error;
    emit changed();
}
