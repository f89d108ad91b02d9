#!/usr/bin/python3
"""Browsing the ideas: the list, a card's menu and the detail view, whatever their text."""

import contextlib
import http.server
import json
import os
import re
import signal
import sqlite3
import threading
import time
import unittest
import uuid

from harness import Desktop, normalize, wait_until

MAIN = "الفكرون"
SETTLED = "[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\nuserName=سارة\n"
CONGRATULATIONS = [
    "يا بطل! خلصت فكرة 🎉", "ماشاء الله عليك! فخورين فيك 💪", "واحدة راحت.. يلا الباقي! 🚀",
    "كذا نبيك! منجز ما يوقفه شي 🔥", "تمام التمام! وش بعد؟ 😎", "الله الله! كملت وحدة 👏",
    "أنت وحش إنجاز! 🏆", "شطارة! الحين ارتاح شوي ☕", "خلصتها؟ يستاهل تصفيق 👏👏",
    "إنجاز جديد! كمّل على هالمستوى 📈",
]
SCHEMA = """CREATE TABLE Idea (id TEXT NOT NULL, title TEXT NOT NULL DEFAULT '',
    body TEXT NOT NULL DEFAULT '', category TEXT NOT NULL DEFAULT 'فكرة',
    status TEXT NOT NULL DEFAULT 'active', hasReminder INTEGER NOT NULL DEFAULT 0,
    reminderDate INTEGER, isVoiceNote INTEGER NOT NULL DEFAULT 0,
    createdAt INTEGER NOT NULL, updatedAt INTEGER NOT NULL);
PRAGMA application_id = 1181446766; PRAGMA user_version = 10000;"""


class BrowseTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()
        self.app.write_settings(SETTLED)

    def seed(self, *ideas):
        """(title, category, status, minutes ago, reminder in days or None) rows, and their reminders."""
        os.makedirs(os.path.dirname(self.app.database_path), exist_ok=True)
        now = int(time.time() * 1000)
        requests = []
        self.titles = {idea[0] for idea in ideas if isinstance(idea[0], str)}
        with contextlib.closing(sqlite3.connect(self.app.database_path)) as db:
            db.executescript(SCHEMA)
            for title, category, status, minutes, days in ideas:
                ident = str(uuid.uuid4()).upper()
                created = now - minutes * 60_000
                when = None if days is None else now + days * 86_400_000
                # Bytes go in as they are, as TEXT: another writer may have left invalid UTF-8.
                db.execute("INSERT INTO Idea VALUES (?, CAST(? AS TEXT), '', ?, ?, ?, ?, 0, ?, ?)",
                           (ident, title, category, status, int(when is not None), when, created, created))
                if when is not None:
                    t = time.localtime(when / 1000)
                    requests.append({"identifier": ident, "title": "الفكرون 🗑️", "body": "x", "sound": "default",
                                     "trigger": {"year": t.tm_year, "month": t.tm_mon, "day": t.tm_mday,
                                                 "hour": t.tm_hour, "minute": t.tm_min}})
            db.commit()
        with open(self.app.reminders_path, "w", encoding="utf-8") as f:
            json.dump(requests, f, ensure_ascii=False)

    def ideas(self):
        uri = "file:" + self.app.database_path + "?mode=ro"
        with contextlib.closing(sqlite3.connect(uri, uri=True, timeout=10)) as db:
            db.row_factory = sqlite3.Row
            db.text_factory = lambda b: b.decode(errors="surrogateescape")
            return {row["title"]: dict(row) for row in db.execute("SELECT * FROM Idea")}

    def showing(self, with_extents=False):
        """(y, name, role) of everything on screen, from one look at the accessibility tree."""
        found = []

        def walk(node):
            if "showing" in node["states"]:
                where = (node["extents"] or [0, 0, 0, 0])[slice(None) if with_extents else 1]
                found.append((where, normalize(node["name"]), node["role"]))
            for child in node.get("children", []):
                walk(child)
        walk(json.loads(self.app.tree()))
        return sorted(found)

    def cards(self):
        """Titles of the cards on screen, top to bottom."""
        return [name for _, name, role in self.showing() if role == "push button" and name in self.titles]

    def card_menu(self, title, keys="shift+F10"):
        """Opens a card's menu from the keyboard, as someone without a mouse would."""
        window = self.app.windows(MAIN, mapped_only=True)[0]
        self.desktop.xdotool("windowfocus", "--sync", window)
        self.app.wait_find(title, role="push button")
        self.assertTrue(self.app._query("focus", name=title, role="push button"))
        self.desktop.xdotool("key", keys)
        self.app.wait_find("حذف", role="menu item")

    def toast(self):
        # One look, not one per message: the toast is only up for 2.5 s.
        return [name for _, name, _ in self.showing() if name in CONGRATULATIONS]

    def shot(self, step):
        time.sleep(0.6)  # past the page's slide
        self.desktop.screenshot(step)

    def start(self):
        self.app.start()
        self.app.wait_frame(MAIN)

    def test_the_list_filters_completes_and_deletes_from_card_menus(self):
        self.seed(("اشتري خبز", "فكرة", "active", 180, None),
                  ("موعد الأسنان", "مهمة", "active", 120, 2),
                  ("ملاحظة قديمة", "ملاحظة", "active", 60, None),
                  ("خلصتها من زمان", "فكرة", "done", 240, None))
        self.start()
        self.app.wait_find("يا سارة 👋")
        wait_until(lambda: self.cards() == ["ملاحظة قديمة", "موعد الأسنان", "اشتري خبز"], 20, "the cards")
        self.app.wait_find("✅ المنجز (1)", role="push button")
        self.shot("list-full")
        # The system speaks C here; the cards' ages are Arabic all the same.
        self.assertTrue([name for _, name, _ in self.showing() if re.fullmatch(r"قبل [٠-٩]+ ساع\w+", name)],
                        self.showing())
        # The chips start at the right edge, where the reading does.
        window = self.app.frames(MAIN)[0]["extents"]
        chip = self.app.wait_find("الكل", role="push button")["extents"]
        self.assertAlmostEqual(window[0] + window[2] - (chip[0] + chip[2]), 20, delta=2)

        self.app.press("لها موعد")
        wait_until(lambda: self.cards() == ["موعد الأسنان"], 10, "only the idea with a reminder")
        self.desktop.screenshot("filter-has-reminder")
        self.app.press("الكل")

        self.card_menu("موعد الأسنان")
        self.desktop.screenshot("active-card-menu")
        self.app.press("تم الإنجاز", role="menu item")
        self.app.wait_find("✅ المنجز (2)", role="push button")
        shown = wait_until(self.toast, 10, "a congratulation")
        self.desktop.screenshot("marked-done-toast")
        self.assertEqual(len(shown), 1)
        wait_until(lambda: self.cards() == ["ملاحظة قديمة", "اشتري خبز"], 10, "the card to leave")
        self.assertEqual(self.ideas()["موعد الأسنان"]["status"], "done")
        self.assertEqual(len(self.app.pending_reminders()), 1, "completing must keep the reminder")
        wait_until(lambda: not self.toast(), 10, "the toast to go")

        self.app.press("✅ المنجز (2)")
        wait_until(lambda: self.cards() == ["ملاحظة قديمة", "اشتري خبز", "موعد الأسنان", "خلصتها من زمان"],
                   10, "the done section")
        self.shot("done-section-open")

        self.card_menu("موعد الأسنان", keys="Menu")
        self.assertTrue(self.app.find("إرجاع للنشطة", role="menu item"))
        self.desktop.screenshot("done-card-menu")
        self.app.press("حذف", role="menu item")
        wait_until(lambda: "موعد الأسنان" not in self.ideas(), 10, "the record to go")
        self.assertEqual(self.app.pending_reminders(), [])
        self.card_menu("اشتري خبز")
        self.app.press("حذف", role="menu item")
        wait_until(lambda: self.cards() == ["ملاحظة قديمة", "خلصتها من زمان"], 10, "both deletions")
        self.assertEqual(set(self.ideas()), {"ملاحظة قديمة", "خلصتها من زمان"})
        self.assertEqual(self.toast(), [], "deleting is not congratulated")

    def test_the_detail_view_edits_completes_reopens_and_deletes(self):
        self.app.env["LANG"] = "en_US.UTF-8"
        self.seed(("فكرة المشروع", "فكرة", "active", 30 * 60, 1))
        before = self.ideas()["فكرة المشروع"]
        self.start()
        self.app.wait_find("أمس")  # the card's age, worded in the user's language
        self.app.press("فكرة المشروع")
        self.app.wait_find("عنوان الفكرة", role="text")
        self.shot("detail-active")

        # Typed, then the power goes a second later: the text is already in the store.
        self.app.type_text("مشروع التطبيق", name="عنوان الفكرة")
        time.sleep(1)
        os.kill(self.app.pid, signal.SIGKILL)
        self.app.proc.wait()
        after = self.ideas()["مشروع التطبيق"]
        self.assertEqual(after["updatedAt"], before["updatedAt"], "typing alone moved updatedAt")

        self.start()
        self.app.press("مشروع التطبيق")
        # The title is one line: Return ends its edit rather than breaking it.
        self.app.type_text("مشروع التطبيق", name="عنوان الفكرة")
        self.desktop.xdotool("key", "Return")
        wait_until(lambda: "focused" not in self.app.find("عنوان الفكرة", role="text")["states"], 5, "the edit to end")
        self.assertEqual(self.app.text("عنوان الفكرة", role="text"), "مشروع التطبيق")
        self.app.press("تم الإنجاز")
        shown = wait_until(self.toast, 10, "a congratulation back on the list")
        self.assertEqual(len(shown), 1)
        self.assertEqual(self.ideas()["مشروع التطبيق"]["status"], "done")
        self.assertEqual(len(self.app.pending_reminders()), 1)
        wait_until(lambda: not self.toast(), 10, "the toast to go")

        self.app.press("✅ المنجز (1)")
        self.app.press("مشروع التطبيق")
        self.app.wait_find("تم الإنجاز! 🎉")
        self.shot("detail-done")
        self.app.press("إرجاع للنشطة")
        wait_until(lambda: not self.app.find("✅ المنجز (1)"), 10, "the done section to empty")
        time.sleep(1)
        self.assertEqual(self.toast(), [], "reopening is not congratulated")
        self.assertEqual(self.ideas()["مشروع التطبيق"]["status"], "active")

        self.app.press("مشروع التطبيق")
        self.app.press("حذف الفكرة")
        self.app.wait_find("بتروح ولن ترجع.. متأكد؟")
        self.shot("delete-alert")
        self.app.press("إلغاء")
        wait_until(lambda: not self.app.find("بتروح ولن ترجع.. متأكد؟"), 10, "the alert to close")
        self.assertIn("مشروع التطبيق", self.ideas())
        self.app.press("حذف الفكرة")
        self.app.press("احذف")
        self.app.wait_find("الفكرون فاضية!")
        self.assertEqual(self.ideas(), {})
        self.assertEqual(self.app.pending_reminders(), [])
        self.assertTrue(self.app.find("اضغط + عشان تكب أول فكرة"))
        self.shot("list-empty")

    def open_card(self, prefix):
        """Clicks the card whose name starts with prefix: a megabyte does not fit a query's argv."""
        # Back from a detail view, the list shows once the view has slid away.
        x, y, w, h = wait_until(lambda: next((extents for extents, name, role in self.showing(with_extents=True)
                                              if role == "push button" and name.startswith(prefix)), None),
                                10, f"the card {prefix}")
        self.desktop.click(x + w - 20, y + 15)  # its top right corner: the button floats mid-bottom
        return self.app.wait_find("عنوان الفكرة", role="text")["text"]

    def test_hostile_text_is_shown_plainly_without_freezing_and_kept_byte_for_byte(self):
        huge = "طويلة " + "كلام كثير بلا نهاية " * 26_000  # a megabyte on one line
        lines = "\n".join(f"سطر {i}" for i in range(10_000))
        markup = "\u202eمقلوب\u202c <b>x</b> <img src=\"file:///etc/passwd\"> &amp; \u2066عربي\u2069 a\u00a0b\tc\u2028d"
        nul, invalid = "قبل\x00بعد\r\nآخر", b"\xff\xfe bad \xc3\x28 utf8"
        self.seed((huge, "فكرة", "active", 5, None), (lines, "مهمة", "active", 4, None),
                  (nul, "ملاحظة", "active", 3, None), (invalid, "فكرة", "active", 2, None))
        self.start()
        self.app.run_again("--add", markup)
        wait_until(lambda: markup in self.ideas(), 10, "the added idea")
        stored = self.ideas()
        self.shot("hostile-list")

        for text, prefix in ((markup, "مقلوب"), (huge, "طويلة"), (lines, "سطر 0"), (nul, "قبل"),
                             (invalid.decode(errors="replace"), "\ufffd")):
            # Read out with paragraph separators for line breaks; D-Bus strings end at a NUL.
            shown = self.open_card(prefix).replace("\u2029", "\n")
            self.assertEqual(shown, text.split("\x00")[0], prefix)
            self.shot(f"hostile-detail-{prefix}")
            self.app.press("رجوع")
            self.app.wait_find("يا سارة 👋")
        self.app.click_tray_icon()
        self.app.wait_find("فكرة سريعة", role="text")
        self.desktop.screenshot("hostile-panel")
        time.sleep(2)  # past the save timer, had viewing written anything
        after = self.ideas()
        self.assertEqual([t[:20] for t in stored if after.get(t) != stored[t]], [], "viewing rewrote these")

    def test_a_name_that_looks_like_markup_is_shown_as_typed_and_loads_nothing(self):
        asked = []

        class Server(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                asked.append(self.path)
                self.send_error(404)

            def log_message(self, *args):
                pass
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        name = f'<b>سارة</b><img src="http://127.0.0.1:{server.server_address[1]}/name.png">'
        self.app.write_settings(SETTLED.replace("userName=سارة", f"userName={json.dumps(name, ensure_ascii=False)}"))
        self.start()
        self.app.wait_find(f"يا {name} 👋")
        self.shot("markup-name-list")
        self.app.press("الإعدادات")
        self.app.wait_find(f"أهلاً {name}")
        self.shot("markup-name-settings")
        time.sleep(1)  # what a styled text would have fetched by now
        self.assertEqual(asked, [])


if __name__ == "__main__":
    unittest.main()
