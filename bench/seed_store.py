"""Fills a store the program made with ideas, and its reminders file, the way
bench/startup seeds the homes it starts from (as bench/BenchStore.h does in C++)."""

import json, os, random, sqlite3, time, uuid


def fill(folder, count, reminders=0):
    """`count` ideas over the past year in one transaction; with `reminders`, that many
    waiting in the reminders file, all in the future."""
    store = sqlite3.connect(os.path.join(folder, "Fikranest.sqlite"), isolation_level=None)
    chance = random.Random(count)
    now = int(time.time() * 1000)
    year = 365 * 86_400_000
    rows = []
    for i in range(count):
        created = now - chance.randrange(year)
        rows.append((str(uuid.UUID(int=chance.getrandbits(128), version=4)).upper(), f"فكرة رقم {i} عن مشروع جديد 💡",
                     ["فكرة", "مهمة", "ملاحظة"][i % 3], "done" if i % 10 == 0 else "active", created,
                     min(now, created + chance.randrange(86_400_000))))
    store.execute("BEGIN")
    store.execute("DELETE FROM Idea")
    store.executemany("INSERT INTO Idea (id, title, body, category, status, hasReminder, reminderDate, isVoiceNote, "
                      "createdAt, updatedAt) VALUES (?, ?, '', ?, ?, 0, NULL, 0, ?, ?)", rows)
    store.execute("COMMIT")
    store.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    store.close()
    if reminders:
        with open(os.path.join(folder, "reminders.json"), "w", encoding="utf-8") as f:
            json.dump([{"identifier": f"R{i}", "title": "الفكرون 🗑️", "body": f"موعدك مع فكرتك حان 😤 {i}",
                        "sound": "default", "trigger": {"year": 2099, "month": 1 + i % 12, "day": 1 + i % 28,
                                                        "hour": i % 24, "minute": i % 60}}
                       for i in range(reminders)], f, ensure_ascii=False)
