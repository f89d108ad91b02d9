#!/usr/bin/python3
"""Sync through a real CalDAV server: two installs and a phone converge, conflicts keep
every text, failures are told, and a sync killed at any moment loses nothing."""

import base64
import datetime
import json
import os
import random
import sys
import time
import unittest
import urllib.request

import contextlib
import tempfile

from harness import Desktop, wait_until
from sync_world import PASSWORD, USER, Proxy, Radicale, World, phone, start_keyring

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "bench"))
import seed_store  # noqa: E402

LIST = "الفكرون"
COPY = " ⚠️ (نسخة من جهاز ثاني)"
PHONE_TASK = """BEGIN:VCALENDAR
VERSION:2.0
PRODID:-//Phone//Tasks//EN
BEGIN:VTODO
UID:phone-task-1@example.org
DTSTAMP:20260101T080000Z
SUMMARY:من الجوال
CATEGORIES:مهمة,شغل
PRIORITY:1
RELATED-TO:parent-task@example.org
X-PHONE-COLOR;X-SHADE=dark:teal
DUE:20991231T100000Z
BEGIN:VALARM
ACTION:DISPLAY
DESCRIPTION:من الجوال
TRIGGER;RELATED=END:-PT30M
END:VALARM
END:VTODO
END:VCALENDAR
"""


def now_ms():
    return int(time.time() * 1000)


class SyncTest(unittest.TestCase):
    def setUp(self):
        self.world = self.enterContext(World())

    def connected(self, name, url=None):
        home = self.world.home(name)
        status, output = home.run("--sync-setup", url or self.world.server.url, USER, stdin=PASSWORD + "\n")
        self.assertEqual(status, 0, output)
        return home

    def phone_list(self, url=None):
        return next(c for c in self.world.phone(url).calendars() if c.name == LIST)

    def phone_tasks(self, url=None):
        return {str(t.icalendar_component["summary"]): t for t in self.phone_list(url).todos(include_completed=True)}

    def test_two_installs_and_a_phone_converge(self):
        laptop = self.world.home("laptop")
        laptop.run("--add", "اشتري حليب", "--category", "مهمة")
        laptop.run("--add", "فكرة تطبيق")
        status, output = laptop.run("--sync-setup", self.world.server.url, USER, stdin=PASSWORD + "\n")
        self.assertEqual(status, 0, output)
        self.assertIn("وانرسل له 2", output)
        with open(os.path.join(laptop.env["XDG_CONFIG_HOME"], "Fikranest", "Fikranest.conf"), encoding="utf-8") as f:
            self.assertNotIn(PASSWORD, f.read(), "the password belongs in the keyring")
        desk = self.connected("desk")
        self.assertEqual(desk.ideas(), laptop.ideas())

        # The phone adds a task with its own properties and completes one of ours.
        self.phone_list().save_todo(ical=PHONE_TASK)
        self.phone_tasks()["اشتري حليب"].complete()
        laptop.sync()
        ideas = laptop.ideas()
        self.assertEqual(ideas["اشتري حليب"][1], "done")
        # Half an hour before its DUE, from the alarm relative to it.
        due = datetime.datetime(2099, 12, 31, 10, tzinfo=datetime.timezone.utc).timestamp() * 1000
        self.assertEqual(ideas["من الجوال"], ("مهمة", "active", due - 30 * 60 * 1000))
        with open(os.path.join(laptop.env["XDG_DATA_HOME"], "Fikranest", "reminders.json"), encoding="utf-8") as f:
            self.assertIn(2099, [r["trigger"]["year"] for r in json.load(f)], "its reminder is set")

        # Renamed here, the phone's task keeps everything else it held.
        laptop.change("UPDATE Idea SET title = 'من الجوال ✏️', updatedAt = ? WHERE title = 'من الجوال'", now_ms())
        laptop.sync()
        text = self.phone_tasks()["من الجوال ✏️"].data
        for line in ["PRIORITY:1", "RELATED-TO:parent-task@example.org", "X-PHONE-COLOR;X-SHADE=dark:teal",
                     "TRIGGER;RELATED=END:-PT30M", "UID:phone-task-1@example.org"]:
            self.assertIn(line, text.replace("\r\n", "\n"))
        self.assertRegex(text, "CATEGORIES:(مهمة,شغل|شغل,مهمة)")

        # Deleted on the phone, and deleted on the desk.
        self.phone_tasks()["فكرة تطبيق"].delete()
        desk.sync()
        desk.change("DELETE FROM Idea WHERE title = 'اشتري حليب'")
        desk.sync()
        laptop.sync()
        self.assertEqual(list(laptop.ideas()), ["من الجوال ✏️"])
        self.assertEqual(desk.ideas(), laptop.ideas())
        self.assertEqual(list(self.phone_tasks()), ["من الجوال ✏️"])

    def test_a_conflict_keeps_both_texts_and_the_later_category(self):
        laptop = self.connected("laptop")
        laptop.run("--add", "النص الأصلي")
        laptop.sync()
        desk = self.connected("desk")
        laptop.change("UPDATE Idea SET title = 'من اللابتوب', category = 'مهمة', updatedAt = ?", now_ms())
        desk.change("UPDATE Idea SET title = 'من المكتب', category = 'ملاحظة', updatedAt = ?", now_ms() + 60_000)
        laptop.sync()
        desk.sync()
        laptop.sync()
        expected = {"من المكتب": "ملاحظة", "من اللابتوب" + COPY: "مهمة"}
        for home in (laptop, desk):
            self.assertEqual({title: fields[0] for title, fields in home.ideas().items()}, expected)
        self.assertEqual(set(self.phone_tasks()), set(expected))

    def test_failures_are_told_and_nothing_is_lost(self):
        stranger = self.world.home("stranger")
        status, output = stranger.run("--sync-setup", self.world.server.url, USER, stdin="wrong\n")
        self.assertEqual((status, output), (1, "fikranest: اسم المستخدم أو كلمة السر غلط 🔑"))

        laptop = self.connected("laptop")
        laptop.run("--add", "قبل ما يطيح السيرفر")
        self.world.server.stop()
        self.assertEqual(laptop.run("--sync"), (1, "ما فيه نت 🌐"))
        self.world.server.start()
        laptop.sync()
        self.assertIn("قبل ما يطيح السيرفر", self.phone_tasks())

        # A task another program wrote that cannot be read is named, counted, and left alone.
        nested = "".join(f"BEGIN:X-PART{i}\n" for i in range(20)) + "".join(
            f"END:X-PART{i}\n" for i in reversed(range(20)))
        broken = PHONE_TASK.replace("phone-task-1", "too-deep").replace("END:VTODO", nested + "END:VTODO")
        credentials = base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
        urllib.request.urlopen(urllib.request.Request(
            str(self.phone_list().url) + "broken.ics", data=broken.encode(), method="PUT",
            headers={"Content-Type": "text/calendar", "Authorization": f"Basic {credentials}"}))
        self.assertIn("ما قدرنا نقرأ 1 من المهام اللي على السيرفر", laptop.sync())
        self.assertEqual(list(laptop.ideas()), ["قبل ما يطيح السيرفر"])

        # The list deleted on the server stops sync and keeps the ideas; disconnecting too.
        self.phone_list().delete()
        self.assertEqual(laptop.run("--sync"), (1, "القائمة انحذفت من السيرفر 🤷"))
        self.assertEqual(laptop.run("--sync-off"), (0, "انفصلت المزامنة، أفكارك باقية في جهازك 👍"))
        self.assertEqual(laptop.run("--sync"), (1, "المزامنة مو مربوطة، اربطها أول 🔗"))
        self.assertEqual(list(laptop.ideas()), ["قبل ما يطيح السيرفر"])

    def test_a_write_refused_for_a_change_made_meanwhile_is_merged(self):
        def phone_first():
            task = self.phone_tasks()["الأصل"]
            task.icalendar_component["categories"] = ["ملاحظة"]
            task.save()
        proxy = Proxy(self.world.server.url, before_write=phone_first)
        self.addCleanup(proxy.close)
        laptop = self.connected("laptop", proxy.url)
        laptop.run("--add", "الأصل")
        laptop.sync()
        laptop.change("UPDATE Idea SET title = 'معدّل', updatedAt = ?", now_ms())
        laptop.sync()
        self.assertEqual(laptop.ideas()["معدّل"][0], "ملاحظة")
        self.assertEqual(list(self.phone_tasks()), ["معدّل"])
        self.assertIn("ملاحظة", self.phone_tasks()["معدّل"].data)

    def test_a_server_without_sync_tokens(self):
        proxy = Proxy(self.world.server.url, tokens=False)
        self.addCleanup(proxy.close)
        laptop = self.connected("laptop", proxy.url)
        laptop.run("--add", "بدون توكن")
        laptop.sync()
        self.phone_tasks()["بدون توكن"].complete()
        self.phone_list().save_todo(ical=PHONE_TASK)
        laptop.sync()
        self.assertEqual(laptop.ideas()["بدون توكن"][1], "done")
        self.assertIn("من الجوال", laptop.ideas())
        self.assertIn("وصل من السيرفر 0 وانرسل له 0", laptop.sync())

    def test_cut_short_twenty_times_loses_and_doubles_nothing(self):
        laptop = self.connected("laptop")
        seed_store.fill(os.path.dirname(laptop.database), 400)
        # The server gone in the middle of a sync, then the sync killed at random moments.
        sync = laptop.start("--sync")
        time.sleep(0.5)
        self.world.server.stop()
        self.assertEqual(sync.wait(60), 1)
        self.world.server.start()
        chance = random.Random(20)
        for _ in range(20):
            sync = laptop.start("--sync")
            time.sleep(chance.uniform(0.05, 1.5))
            sync.kill()
            sync.wait()
        laptop.sync()
        self.assertIn("وصل من السيرفر 0 وانرسل له 0", laptop.sync())
        tasks = self.phone_list().todos(include_completed=True)
        uids = [str(t.icalendar_component["uid"]) for t in tasks]
        self.assertEqual(len(uids), len(set(uids)))
        self.assertEqual(len(uids), 400)
        desk = self.connected("desk")
        self.assertEqual(desk.ideas(), laptop.ideas())


class SyncRoadTest(unittest.TestCase):
    """Connecting from the settings sheet, and ideas going both ways while the program runs."""

    # Typed through xdotool, which cannot type Arabic reliably into a field it cannot read back.
    ROAD_PASSWORD = "road-password-7"

    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        tmp = self.enterContext(tempfile.TemporaryDirectory(prefix="fikranest-road-"))
        stack = self.enterContext(contextlib.ExitStack())
        start_keyring(stack, self.desktop.base_env(), os.path.join(tmp, "keyring"))
        self.server = Radicale(tmp, self.ROAD_PASSWORD)
        self.addCleanup(self.server.stop)
        self.app = self.desktop.app()
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\nuserName=سارة\n")

    def type_password(self, text):
        self.assertTrue(self.app._query("focus", name="", role="password text"))
        self.desktop.xdotool("key", "--clearmodifiers", "ctrl+a", "BackSpace")
        self.desktop.xdotool("type", "--delay", "40", text)

    def shot_of_the_card(self, step):
        # The card is below the fold of the settings sheet.
        self.desktop.xdotool("mousemove", "200", "400", "click", "--repeat", "10", "5")
        time.sleep(0.5)
        self.desktop.screenshot(step)

    def phone_tasks(self):
        lists = [c for c in phone(self.server.url, self.ROAD_PASSWORD).calendars() if c.name == LIST]
        return {str(t.icalendar_component["summary"]) for t in lists[0].todos(include_completed=True)} if lists else set()

    def test_connect_in_the_settings_then_ideas_go_both_ways(self):
        self.app.start()
        self.app.press("الإعدادات")
        self.app.wait_find("🔄 المزامنة")
        self.shot_of_the_card("sync-card-off")
        self.app.press("اربط حسابك 🔗")
        self.app.type_text(self.server.url, name="https://cloud.example.com")
        self.app.type_text(USER, name="اسم المستخدم")
        self.type_password("wrong")
        self.app.press("اربط 🔗")
        self.app.wait_find("اسم المستخدم أو كلمة السر غلط 🔑")
        self.desktop.screenshot("sync-sheet-wrong-password")
        self.type_password(self.ROAD_PASSWORD)
        self.app.press("اربط 🔗")
        self.app.wait_find("وين نحط أفكارك؟")
        self.desktop.screenshot("sync-sheet-lists")
        self.app.press("قائمة جديدة: الفكرون")
        self.app.wait_find("المزامنة مع 127.0.0.1 شغّالة ✅")
        wait_until(lambda: LIST in [c.name for c in phone(self.server.url, self.ROAD_PASSWORD).calendars()],
                   30, "the new list on the server")
        self.shot_of_the_card("sync-card-on")
        self.app.press("إغلاق")

        self.app.click_tray_icon()
        self.app.type_text("من اللوحة", name="فكرة سريعة")
        self.app.press("احفظ")
        wait_until(lambda: "من اللوحة" in self.phone_tasks(), 30, "the panel's idea on the server")

        lists = [c for c in phone(self.server.url, self.ROAD_PASSWORD).calendars() if c.name == LIST]
        lists[0].save_todo(ical=PHONE_TASK)
        self.assertEqual(self.app.run_again("--sync"), 0)
        self.app.wait_find("من الجوال")

        self.server.stop()
        self.assertEqual(self.app.run_again("--sync"), 1)
        self.app.press("الإعدادات")
        self.app.wait_find("المزامنة واقفة: ما فيه نت 🌐")
        self.shot_of_the_card("sync-card-offline")


if __name__ == "__main__":
    unittest.main()
