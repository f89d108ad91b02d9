#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtGlobal>

// Points the XDG folders at a private temporary folder for the life of a test run,
// so nothing the tests write lands in the user's own settings or data.
class TestFolders
{
public:
    TestFolders()
    {
        qputenv("XDG_DATA_HOME", QByteArray(m_root.path().toUtf8() + "/data"));
        qputenv("XDG_CONFIG_HOME", QByteArray(m_root.path().toUtf8() + "/config"));
        const QString runtime = m_root.path() + "/runtime";
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    }

    QString path() const { return m_root.path(); }

private:
    QTemporaryDir m_root;
};
