#include "VTodo.h"

#include <QtTest>

#include <atomic>
#include <functional>
#include <thread>

// A VCALENDAR around one VTODO holding `lines`, and `outside` after the VTODO.
static QByteArray task(const QByteArray &lines, const QByteArray &outside = {})
{
    QByteArray text = "BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:-//Other//EN\nBEGIN:VTODO\nUID:t-1@example.com\n" + lines
        + "END:VTODO\n" + outside + "END:VCALENDAR\n";
    return text.replace("\n", "\r\n");
}

static QString field(const Idea &idea, const QString &name)
{
    const auto utc = [](const QDateTime &t) { return t.toUTC().toString(Qt::ISODate); };
    if (name == "reminder")
        return idea.hasReminder && idea.reminderDate ? utc(*idea.reminderDate) : "none";
    const QStringList values{idea.title, idea.body, idea.category, idea.status, idea.isVoiceNote ? "yes" : "no",
                             utc(idea.createdAt), utc(idea.updatedAt)};
    return values.value(QStringList{"title", "body", "category", "status", "voice", "created", "updated"}.indexOf(name));
}

// The object's own zones: one that says Paris is at +03:00, one whose rule fires every second.
static const QByteArray zones = "BEGIN:VTIMEZONE\nTZID:Europe/Paris\nBEGIN:STANDARD\nDTSTART:19700101T000000\n"
                                "TZOFFSETFROM:+0300\nTZOFFSETTO:+0300\nEND:STANDARD\nEND:VTIMEZONE\n"
                                "BEGIN:VTIMEZONE\nTZID:Wild\nBEGIN:STANDARD\nDTSTART:00010101T000000\nRRULE:FREQ=SECONDLY\n"
                                "TZOFFSETFROM:+0100\nTZOFFSETTO:+0200\nEND:STANDARD\nEND:VTIMEZONE\n";

// Lines Fikranest never writes, each of which must come back byte for byte.
static const QByteArray foreign = "PRIORITY:1\nRELATED-TO;RELTYPE=PARENT:p-9\nX-OTHER-APP;X-P=\"a:b\":keep\\,me\n"
                                  "FOOBAR;Z=1:an IANA property libical does not know\nRRULE:FREQ=WEEKLY;BYDAY=MO\n";
static const QByteArray otherAlarm = "BEGIN:VALARM\nACTION:AUDIO\nTRIGGER;RELATED=END:-PT30M\nEND:VALARM\n";
static const QByteArray ownAlarm = "BEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:milk\nTRIGGER;VALUE=DATE-TIME:20240301T090000Z\nEND:VALARM\n";

class TestVTodo : public QObject
{
    Q_OBJECT

private slots:
    void reads_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::newRow("title trimmed, escapes undone") << QByteArray("SUMMARY: a\\, b\\nc \n") << "title" << "a, b\nc";
        QTest::newRow("no SUMMARY") << QByteArray() << "title" << "";
        QTest::newRow("category in a list") << QByteArray("CATEGORIES:Home,ملاحظة,مهمة\n") << "category" << "ملاحظة";
        QTest::newRow("category in a later property") << QByteArray("CATEGORIES:Home\nCATEGORIES:مهمة\n") << "category" << "مهمة";
        QTest::newRow("no category of ours") << QByteArray("CATEGORIES:Home\n") << "category" << "فكرة";
        QTest::newRow("cancelled is done") << QByteArray("STATUS:CANCELLED\n") << "status" << "done";
        QTest::newRow("COMPLETED is done") << QByteArray("STATUS:IN-PROCESS\nCOMPLETED:20240101T000000Z\n") << "status" << "done";
        QTest::newRow("in process is active") << QByteArray("STATUS:IN-PROCESS\n") << "status" << "active";
        QTest::newRow("voice") << QByteArray("X-FIKRANEST-VOICE:true\n") << "voice" << "yes";
        QTest::newRow("no DUE, no alarm") << QByteArray("DTSTART:20240301T120000Z\n") << "reminder" << "none";
        QTest::newRow("DUE in UTC") << QByteArray("DUE:20240301T120000Z\n") << "reminder" << "2024-03-01T12:00:00Z";
        QTest::newRow("DUE by built-in zone") << QByteArray("DUE;TZID=Europe/Berlin:20240701T120000\n") << "reminder" << "2024-07-01T10:00:00Z";
        QTest::newRow("DUE by prefixed zone")
            << QByteArray("DUE;TZID=/mozilla.org/20050126_1/Europe/Berlin:20240101T120000\n") << "reminder" << "2024-01-01T11:00:00Z";
        QTest::newRow("DUE by the object's zone") << QByteArray("DUE;TZID=Europe/Paris:20240301T120000\n") << "reminder" << "2024-03-01T09:00:00Z";
        QTest::newRow("a zone that never ends is floating") << QByteArray("DUE;TZID=Wild:20240301T120000\n") << "reminder" << "2024-03-01T09:00:00Z";
        QTest::newRow("zone name is no path") << QByteArray("DUE;TZID=../../../etc/passwd:20240301T120000\n") << "reminder" << "2024-03-01T09:00:00Z";
        QTest::newRow("date-only DUE at 09:00") << QByteArray("DUE;VALUE=DATE:20240301\n") << "reminder" << "2024-03-01T06:00:00Z";
        QTest::newRow("earliest alarm, relative to DUE")
            << QByteArray("DUE:20240301T120000Z\n" + ownAlarm + otherAlarm) << "reminder" << "2024-03-01T09:00:00Z";
        QTest::newRow("alarm relative to DTSTART")
            << QByteArray("DTSTART:20240301T120000Z\nBEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:x\nTRIGGER:-P1D\nEND:VALARM\n")
            << "reminder" << "2024-02-29T12:00:00Z";
        QTest::newRow("CREATED from DTSTAMP") << QByteArray("DTSTAMP:20240102T000000Z\nLAST-MODIFIED:20240103T000000Z\n") << "created" << "2024-01-02T00:00:00Z";
        QTest::newRow("LAST-MODIFIED from DTSTAMP") << QByteArray("DTSTAMP:20240102T000000Z\nCREATED:20240101T000000Z\n") << "updated" << "2024-01-02T00:00:00Z";
    }
    void reads()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QString, name);
        QFETCH(QString, value);
        const VTodo::Reading reading = VTodo::read(task(lines, zones), QTimeZone("Asia/Riyadh"));
        QVERIFY2(reading.idea, qPrintable(reading.error));
        QCOMPARE(field(*reading.idea, name), value);
    }

    void derivesIdsFromUids()
    {
        const QUuid byName = VTodo::read(task("")).idea->id;
        QCOMPARE(byName.version(), QUuid::Sha1);
        QCOMPARE(VTodo::read(task("")).idea->id, byName);
        QByteArray other = task("");
        QVERIFY(VTodo::read(other.replace("t-1@", "t-2@")).idea->id != byName);
        const QByteArray uuid = "{1B4E28BA-2FA1-11D2-883F-0016D3CCA427}";
        QCOMPARE(VTodo::read(task("").replace("t-1@example.com", uuid)).idea->id, QUuid::fromString(uuid));
        QCOMPARE(VTodo::uid(task("")), "t-1@example.com");
    }

    void refuses_data()
    {
        QTest::addColumn<QByteArray>("ics");
        QTest::addColumn<QString>("error");
        QTest::newRow("empty") << QByteArray() << "not iCalendar";
        QTest::newRow("garbage") << QByteArray("\x01\xff garbage\n:;:\n") << "not iCalendar";
        QTest::newRow("an event") << QByteArray("BEGIN:VEVENT\r\nUID:1\r\nEND:VEVENT\r\n") << "no VCALENDAR";
        QTest::newRow("no task") << QByteArray("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nEND:VCALENDAR\r\n") << "no VTODO";
        QTest::newRow("no UID") << task("").replace("UID:t-1@example.com\r\n", "") << "no UID";
        QTest::newRow("UID libical would change") << task("").replace("t-1@", "t-1\r@") << "UID libical cannot write back";
        QTest::newRow("no such day") << task("DUE:20241345T256000Z\n") << "invalid date in DUE";
        QTest::newRow("alarm past the year 3000") << task("DUE:20240101T000000Z\nBEGIN:VALARM\nTRIGGER;RELATED=END:P999999W\nEND:VALARM\n") << "invalid date in TRIGGER";
        QTest::newRow("NUL") << task(QByteArray("SUMMARY:a\0b\n", 12)) << "NUL";
        QTest::newRow("huge") << task(QByteArray("X-A:a\n").repeated(1 << 20)) << "too large";
        QTest::newRow("one long line") << task("X-A:" + QByteArray(2 << 20, 'a') + "\n") << "line too long";
        QTest::newRow("deep") << task(QByteArray("BEGIN:X-A\n").repeated(20) + QByteArray("END:X-A\n").repeated(20)) << "nested too deep";
        QTest::newRow("wide") << task(QByteArray("BEGIN:VALARM\nEND:VALARM\n").repeated(5001)) << "too many components";
    }
    void refuses()
    {
        QFETCH(QByteArray, ics);
        QFETCH(QString, error);
        const VTodo::Reading reading = VTodo::read(ics);
        QVERIFY(!reading.idea);
        QVERIFY2(reading.error.contains(error), qPrintable(reading.error));
    }

    // A new task, read back, is the idea; written again over itself, it is the same text.
    void writesNewTasks()
    {
        const QDateTime now = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
        Idea idea = Idea::make("  لبن, خبز; \\ شاي\nو" + QString(40, u'ق'), "سطر\r\nثاني \t", "مهمة", true, now.addDays(1), true, now);
        idea.status = "done";
        const QByteArray text = VTodo::write(idea);
        for (const QByteArray line : {"VERSION:2.0", "PRODID:-//Fikranest//Fikranest//AR", "STATUS:COMPLETED", "PERCENT-COMPLETE:100",
                                      "X-FIKRANEST-VOICE:TRUE", "ACTION:DISPLAY", "TRIGGER;VALUE=DATE-TIME:"})
            QVERIFY2(text.contains(line), line);
        const Idea back = *VTodo::read(text).idea;
        QCOMPARE(back.id, idea.id);
        QCOMPARE(back.title, Idea::trimmedTitle(idea.title));
        QCOMPARE(back.body, "سطر\nثاني");
        for (const QString name : {"category", "status", "reminder", "voice", "created", "updated"})
            QCOMPARE(field(back, name), field(idea, name));
        QCOMPARE(VTodo::write(idea, text), text);
        QCOMPARE(VTodo::write(back, text), text);
    }

    // Each change touches only its own lines; everything else leaves as it came.
    void writesOnlyWhatChanged_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<std::function<void(Idea &)>>("change");
        QTest::addColumn<QByteArrayList>("gone");
        QTest::addColumn<QByteArrayList>("added");
        const QByteArray base = "DTSTAMP:20240101T000000Z\nSUMMARY:milk\nCATEGORIES:Home,مهمة\nDESCRIPTION:two\nDUE:20240301T090000Z\n" + foreign;
        QTest::newRow("title") << base << std::function<void(Idea &)>([](Idea &i) { i.title = "oat milk"; })
                               << QByteArrayList{"SUMMARY:milk", "DESCRIPTION:milk"} << QByteArrayList{"SUMMARY:oat milk", "DESCRIPTION:oat milk"};
        QTest::newRow("category") << base << std::function<void(Idea &)>([](Idea &i) { i.category = "فكرة"; })
                                  << QByteArrayList{"CATEGORIES:Home,مهمة"} << QByteArrayList{"CATEGORIES:Home", "CATEGORIES:فكرة"};
        QTest::newRow("done") << base + "STATUS:IN-PROCESS\nPERCENT-COMPLETE:40\n" << std::function<void(Idea &)>([](Idea &i) { i.status = "done"; })
                              << QByteArrayList{"STATUS:IN-PROCESS", "PERCENT-COMPLETE:40"}
                              << QByteArrayList{"STATUS:COMPLETED", "COMPLETED:", "PERCENT-COMPLETE:100"};
        QTest::newRow("reopened") << base + "STATUS:COMPLETED\nCOMPLETED:20240101T000000Z\nPERCENT-COMPLETE:100\n"
                                  << std::function<void(Idea &)>([](Idea &i) { i.status = "active"; })
                                  << QByteArrayList{"STATUS:COMPLETED", "COMPLETED:", "PERCENT-COMPLETE"} << QByteArrayList{"STATUS:NEEDS-ACTION"};
        QTest::newRow("no reminder") << base << std::function<void(Idea &)>([](Idea &i) { i.hasReminder = false; })
                                     << QByteArrayList{"DUE:", "ACTION:DISPLAY", "DESCRIPTION:milk", "TRIGGER;VALUE"} << QByteArrayList{};
        QTest::newRow("moved reminder") << base << std::function<void(Idea &)>([](Idea &i) { i.reminderDate = QDateTime({2025, 1, 2}, {3, 4}, Qt::UTC); })
                                        << QByteArrayList{"DUE:2024", "TRIGGER;VALUE=DATE-TIME:2024"}
                                        << QByteArrayList{"DUE:20250102T030400Z", "TRIGGER;VALUE=DATE-TIME:20250102T030400Z"};
        QTest::newRow("reminder before a date-only start")
            << base + "DTSTART;VALUE=DATE:20260101\n" << std::function<void(Idea &)>([](Idea &i) { i.reminderDate = QDateTime({2025, 1, 2}, {3, 4}, Qt::UTC); })
            << QByteArrayList{"DUE:2024", "DTSTART;VALUE=DATE", "TRIGGER;VALUE=DATE-TIME:2024"} << QByteArrayList{"DTSTART:20250102T030400Z"};
        QTest::newRow("empty body, voice") << base << std::function<void(Idea &)>([](Idea &i) {
                                               i.body.clear();
                                               i.isVoiceNote = true;
                                           })
                                           << QByteArrayList{"DESCRIPTION:two"} << QByteArrayList{"X-FIKRANEST-VOICE:TRUE"};
        QTest::newRow("updated") << base
                                 << std::function<void(Idea &)>([](Idea &i) { i.updatedAt = QDateTime({2024, 5, 6}, {7, 8, 9}, Qt::UTC); })
                                 << QByteArrayList{"DTSTAMP:20240101"} << QByteArrayList{"DTSTAMP:20240506T070809Z", "LAST-MODIFIED:20240506T070809Z"};
    }
    void writesOnlyWhatChanged()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QByteArrayList, gone);
        QFETCH(QByteArrayList, added);
        QFETCH(std::function<void(Idea &)>, change);
        const QByteArray before = task(lines + ownAlarm + otherAlarm + "BEGIN:X-THING\nX:1\nEND:X-THING\n", zones);
        Idea idea = *VTodo::read(before).idea;
        QCOMPARE(VTodo::write(idea, before), before);
        change(idea);
        const QByteArray after = VTodo::write(idea, before);
        const QByteArrayList written = after.split('\n');
        for (const QByteArray &line : before.split('\n')) {
            const bool owned = std::any_of(gone.begin(), gone.end(), [&](const QByteArray &g) { return line.startsWith(g); });
            QVERIFY2(written.contains(line) != owned, line);
        }
        for (const QByteArray &line : added)
            QVERIFY2(std::any_of(written.begin(), written.end(), [&](const QByteArray &w) { return w.startsWith(line); }), line);
        const Idea back = *VTodo::read(after).idea;
        for (const QString name : {"title", "body", "category", "status", "voice", "updated"})
            QCOMPARE(field(back, name), field(idea, name));
        QCOMPARE(VTodo::write(back, after), after);
    }

    // What the writer cannot edit in place it prints once through libical, or starts anew.
    void writesOverOddText()
    {
        Idea idea = Idea::make("new", "", "فكرة", false, std::nullopt, false);
        for (const QByteArray &odd : {QByteArray("BEGIN:VTODO\r\nUID:bare\r\nSUMMARY:old\r\nPRIORITY:2\r\nEND:VTODO\r\n"),
                                      task("PRIORITY:2\n") + task("SUMMARY:second\n"), QByteArray("garbage")}) {
            const QByteArray text = VTodo::write(idea, odd);
            const VTodo::Reading back = VTodo::read(text);
            QVERIFY2(back.idea, qPrintable(back.error));
            QCOMPARE(back.idea->title, "new");
            QCOMPARE(text.contains("PRIORITY:2"), odd != "garbage");
        }
    }

    // libical's zones and error state are shared by every thread that reads.
    void readsOnSeveralThreads()
    {
        const QByteArray text = task("DUE;TZID=America/New_York:20240701T120000\nSUMMARY:x\n", zones);
        std::vector<std::thread> threads;
        std::atomic<int> right{0};
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 50; ++i)
                    right += field(*VTodo::read(text).idea, "reminder") == "2024-07-01T16:00:00Z";
            });
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(right.load(), 200);
    }
};

QTEST_GUILESS_MAIN(TestVTodo)
#include "tst_vtodo.moc"
