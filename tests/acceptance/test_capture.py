#!/usr/bin/python3
"""Capturing an idea through the sheet, and its reminder arriving at its minute."""

import contextlib
import datetime
import sqlite3
import time
import unittest
import urllib.parse
import zoneinfo

from harness import Desktop, wait_until

MAIN = "الفكرون"
ADD = "فكرة جديدة"
FIELD = "وش الفكرة؟"
SAVE = "احفظ الفكرة 💾"
TOMORROW_MORNING = "بكرة الصباح ☀️"
ZONE = "Asia/Riyadh"
SETTLED = "[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n"
LINES = [
    "تنبيه عاجل!! يوجد لديك فكرة تصيح بالزاوية تقول وينكم عني 😱",
    "هذي الفكرة ما نامت من يومها وهي تنتظرك 🥺",
    "فكرتك تقول: أنا مهمة! لا تنسوني! 📢",
    "موعدك مع فكرتك حان.. لا تطنشها 😤",
    "الفكرة هذي بتزعل لو ما فتحتها الحين 😢",
    "وش ذا الإهمال؟ فكرتك تبي اهتمام! 😡",
    "كنت بنام بس فكرتك ما خلتني 🥱",
    "لو الفكرة تقدر تمشي كان جتك بنفسها 🚶",
    "الفكرة تقول: طال الانتظار يا صاحبي 😢",
    "هذي فكرتك وهي زعلانة منك 😤💡",
]


class CaptureTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()
        self.app.env["TZ"] = ZONE
        self.app.write_settings(SETTLED)

    def ideas(self):
        uri = "file:" + urllib.parse.quote(self.app.database_path) + "?mode=ro"
        with contextlib.closing(sqlite3.connect(uri, uri=True, timeout=10)) as db:
            db.row_factory = sqlite3.Row
            return [dict(row) for row in db.execute("SELECT * FROM Idea")]

    def open_sheet(self):
        self.app.start()
        self.app.wait_frame(MAIN)
        self.app.press(ADD)
        self.app.wait_find(FIELD, role="text")

    def test_a_saved_task_reminds_once_at_its_minute(self):
        self.open_sheet()
        self.desktop.screenshot("sheet-empty")

        self.app.type_text("اشتري هدية لأمي", name=FIELD)
        self.app.press("مهمة")
        self.app.press(TOMORROW_MORNING)
        self.desktop.screenshot("sheet-filled")
        saved_at = datetime.datetime.now(zoneinfo.ZoneInfo(ZONE))
        self.app.press(SAVE)
        idea = wait_until(lambda: self.ideas(), 20, "the idea in the store")[0]
        wait_until(lambda: not self.app.find(FIELD, role="text"), 20, "the sheet to close")
        self.desktop.screenshot("saved")

        self.assertEqual(idea["title"], "اشتري هدية لأمي")
        self.assertEqual(idea["category"], "مهمة")
        self.assertEqual(idea["status"], "active")
        self.assertEqual(idea["hasReminder"], 1)
        self.assertEqual(idea["isVoiceNote"], 0)
        tomorrow = saved_at.date() + datetime.timedelta(days=1)
        nine = datetime.datetime.combine(tomorrow, datetime.time(9), zoneinfo.ZoneInfo(ZONE))
        self.assertEqual(idea["reminderDate"], int(nine.timestamp() * 1000))

        pending = wait_until(self.app.pending_reminders, 10, "the reminder request")
        self.assertEqual([p["identifier"] for p in pending], [idea["id"]])
        self.assertEqual(self.desktop.notifications(), [])

        # Past the minute: exactly one notification, then nothing is left waiting.
        self.app.move_clock(nine.timestamp() - time.time() + 30)
        shown = wait_until(lambda: self.desktop.notifications(), 30, "the reminder")
        time.sleep(3)
        shown = self.desktop.notifications()
        self.assertEqual(len(shown), 1, shown)
        self.assertEqual(shown[0]["summary"], "الفكرون 🗑️")
        self.assertIn(shown[0]["body"], LINES)
        self.assertEqual(shown[0]["app_name"], "الفكرون")
        self.assertEqual(shown[0]["hints"].get("sound-name"), "message-new-instant")
        wait_until(lambda: self.app.pending_reminders() == [], 10, "the request to be done")
        self.desktop.screenshot("reminded")

        # Clicking the notification brings the main window back from the tray.
        self.app.close_window(MAIN)
        wait_until(lambda: not self.app.frames(MAIN, showing=True), 20, "the window to close")
        self.desktop.click_notification(shown[0]["id"])
        self.app.wait_frame(MAIN)
        self.desktop.screenshot("window-back-from-notification")

    def test_blank_titles_are_not_saved_and_escape_cancels(self):
        self.open_sheet()
        self.app.type_text("   ", name=FIELD)
        self.app.press(SAVE)
        time.sleep(1)
        self.assertTrue(self.app.find(FIELD, role="text"), "the sheet closed on a blank save")
        self.desktop.screenshot("blank-save-ignored")

        self.desktop.xdotool("key", "Escape")
        wait_until(lambda: not self.app.find(FIELD, role="text"), 20, "the sheet to close")
        self.assertEqual(self.ideas(), [])
        self.assertEqual(self.app.pending_reminders(), [])


if __name__ == "__main__":
    unittest.main()
