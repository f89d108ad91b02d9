#pragma once

#include "IdeaStore.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QUuid>

#include <map>
#include <sqlite3.h>

inline QTemporaryDir &folder()
{
    static QTemporaryDir dir;
    return dir;
}

// A store file holding `count` ideas, made once per size. The rows go in through one
// raw transaction: a hundred thousand durable single inserts would take minutes.
inline QString storeWith(int count)
{
    static std::map<int, QString> made;
    if (const auto found = made.find(count); found != made.end())
        return found->second;
    const QString path = folder().path() + QString("/ideas-%1.sqlite").arg(count);
    IdeaStore::open(path);

    sqlite3 *db = nullptr;
    sqlite3_open(path.toUtf8(), &db);
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt *insert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO Idea (id, title, body, category, status, hasReminder, reminderDate, "
                       "isVoiceNote, createdAt, updatedAt) VALUES (?, ?, '', ?, ?, ?, ?, 0, ?, ?)",
                       -1, &insert, nullptr);
    const QStringList categories = {"فكرة", "مهمة", "ملاحظة"};
    for (int i = 0; i < count; ++i) {
        const QByteArray id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toUtf8();
        const QByteArray title = QString("فكرة رقم %1 عن مشروع جديد 💡").arg(i).toUtf8();
        const QByteArray category = categories.at(i % 3).toUtf8();
        const qint64 created = 1'600'000'000'000 + qint64(i) * 60'000;
        sqlite3_bind_text(insert, 1, id.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, title.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 3, category.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 4, i % 4 == 0 ? "done" : "active", -1, SQLITE_STATIC);
        sqlite3_bind_int(insert, 5, i % 5 == 0);
        if (i % 5 == 0)
            sqlite3_bind_int64(insert, 6, created + 86'400'000);
        else
            sqlite3_bind_null(insert, 6);
        sqlite3_bind_int64(insert, 7, created);
        sqlite3_bind_int64(insert, 8, created);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(db, "COMMIT; PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    made[count] = path;
    return path;
}
