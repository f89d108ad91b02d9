#include "ReminderKeeper.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <sys/stat.h>

namespace {

constexpr QFileDevice::Permissions privateFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

QString journalPath(const QString &path)
{
    return path + QStringLiteral(".shown");
}

QString asidePath(const QString &path)
{
    QString aside = path + QStringLiteral(".corrupt");
    for (int n = 2; QFileInfo::exists(aside); ++n)
        aside = path + QStringLiteral(".corrupt.") + QString::number(n);
    return aside;
}

} // namespace

ReminderKeeper::ReminderKeeper(const QString &path) : m_path(path)
{
}

QString ReminderKeeper::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/Fikranest/reminders.json");
}

ReminderFile::Contents ReminderKeeper::read(const QString &path)
{
    QFile file(path);
    if (path.isEmpty() || !file.exists())
        return {};
    file.setPermissions(privateFile);
    QFile::setPermissions(journalPath(path), privateFile);
    const bool opened = file.open(QIODevice::ReadOnly);
    QFile journal(journalPath(path));
    const QByteArray shown = journal.open(QIODevice::ReadOnly) ? journal.readAll() : QByteArray();
    ReminderFile::Contents contents = ReminderFile::read(file.readAll(), shown);
    contents.complete = opened && contents.complete;
    return contents;
}

bool ReminderKeeper::adopt(const ReminderFile::Contents &contents)
{
    if (contents.complete)
        return contents.journaled;
    const QString aside = asidePath(m_path);
    if (QFile::rename(m_path, aside)) {
        qWarning("Reminders file %s could not be read in full; kept as %s", qPrintable(m_path), qPrintable(aside));
        return true;
    }
    // Writing now would lose what could not be read: work from memory only.
    qWarning("Reminders file %s could not be read in full nor moved aside; changes will not be kept",
             qPrintable(m_path));
    m_path.clear();
    return false;
}

void ReminderKeeper::save(const QList<NotificationRequest> &requests)
{
    if (m_path.isEmpty())
        return;
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        qWarning("Cannot write the reminders file %s: %s", qPrintable(m_path), qPrintable(file.errorString()));
        return;
    }
    ::fchmod(file.handle(), S_IRUSR | S_IWUSR);
    file.write(ReminderFile::write(requests));
    if (!file.commit()) {
        qWarning("Cannot write the reminders file %s: %s", qPrintable(m_path), qPrintable(file.errorString()));
        return;
    }
    m_journal.close();
    QFile::remove(journalPath(m_path));
}

void ReminderKeeper::journal(const NotificationRequest &request)
{
    if (m_path.isEmpty())
        return;
    if (!m_journal.isOpen()) {
        m_journal.setFileName(journalPath(m_path));
        if (!m_journal.open(QIODevice::WriteOnly | QIODevice::Append)) {
            qWarning("Cannot write the reminders journal %s: %s", qPrintable(m_journal.fileName()),
                     qPrintable(m_journal.errorString()));
            return;
        }
        ::fchmod(m_journal.handle(), S_IRUSR | S_IWUSR);
    }
    m_journal.write(ReminderFile::journalLine(request));
    m_journal.flush();
}
