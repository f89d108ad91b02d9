#!/usr/bin/python3
"""The program's shell: how it starts, stays single, stores, and hides to the tray."""

import contextlib
import os
import sqlite3
import stat
import time
import unittest
import urllib.parse

from harness import Desktop, wait_until

MAIN = "الفكرون"
PANEL = "لوحة الفكرون"
OPEN_ALL = "افتح كل الأفكار"
ONBOARDED = "[General]\nhasCompletedOnboarding=true\n"

IDEA_COLUMNS = ["id", "title", "body", "category", "status", "hasReminder",
                "reminderDate", "isVoiceNote", "createdAt", "updatedAt"]
SCHEMA_1_0_0 = 10000


class ShellTestCase(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()

    def shot(self, step):
        self.desktop.screenshot(step)

    def assertStaysRunning(self, seconds=2.0):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            self.assertTrue(self.app.running(), f"the program exited\n{self.app.output()}")
            time.sleep(0.2)

    def assertMainWindowHidden(self):
        self.assertEqual(self.app.frames(MAIN, showing=True), [],
                         f"main window is showing\n{self.app.tree()}")
        self.assertEqual(self.app.windows(MAIN, mapped_only=True), [],
                         "main window is mapped on screen")


class StartupTest(ShellTestCase):
    def test_first_run_in_background_still_opens_main_window(self):
        # Nobody could find a program that never showed itself even once.
        self.app.start("--background")
        frame = self.app.wait_frame(MAIN)
        self.shot("first-run-main-window")
        self.assertIn("visible", frame["states"])
        self.assertTrue(self.app.windows(MAIN, mapped_only=True), "no mapped X window")

    def test_background_start_after_onboarding_stays_in_tray(self):
        self.app.write_settings(ONBOARDED)
        self.app.start("--background")
        wait_until(self.app.registered, 20, "the program on the accessibility bus")
        wait_until(self.app.tray_icon_present, 20, "the tray icon")
        self.assertStaysRunning(3)
        self.shot("tray-only")
        self.assertMainWindowHidden()


class SingleInstanceTest(ShellTestCase):
    def test_second_launch_hands_over_and_exits(self):
        self.app.start()
        first = self.app.wait_frame(MAIN)
        self.shot("first-instance")

        self.assertEqual(self.app.run_again(), 0, self.app.output())
        self.assertStaysRunning(2)
        self.shot("after-second-launch")
        self.assertEqual(self.app.processes(), [self.app.pid])
        frames = self.app.frames(MAIN)
        self.assertEqual(len(frames), 1, self.app.tree())
        self.assertEqual(frames[0]["path"], first["path"], "main window was replaced")


class StorageTest(ShellTestCase):
    def _read(self, sql):
        uri = "file:" + urllib.parse.quote(self.app.database_path) + "?mode=ro"
        # Read-only, and closed at once, so the program never waits on our lock.
        with contextlib.closing(sqlite3.connect(uri, uri=True, timeout=10)) as db:
            return db.execute(sql).fetchall()

    def _idea_columns(self):
        if not os.path.exists(self.app.database_path):
            return None
        return [row[1] for row in self._read("PRAGMA table_info(Idea)")] or None

    def test_database_is_private_wal_and_at_schema_1_0_0(self):
        self.app.start()
        self.app.wait_frame(MAIN)
        self.shot("started")
        columns = wait_until(self._idea_columns, 20, "table Idea in the database")

        self.assertEqual(columns, IDEA_COLUMNS)
        folder = os.path.dirname(self.app.database_path)
        self.assertEqual(oct(stat.S_IMODE(os.stat(folder).st_mode)), oct(0o700))
        self.assertEqual(oct(stat.S_IMODE(os.stat(self.app.database_path).st_mode)), oct(0o600))
        self.assertEqual(self._read("PRAGMA journal_mode"), [("wal",)])
        self.assertEqual(self._read("PRAGMA user_version"), [(SCHEMA_1_0_0,)])

    def test_a_store_it_cannot_read_stops_the_program_untouched(self):
        os.makedirs(os.path.dirname(self.app.database_path), mode=0o700)
        garbage = b"not an ideas database\n" * 400
        with open(self.app.database_path, "wb") as f:
            f.write(garbage)

        status = self.app.run_again()
        self.assertNotEqual(status, 0)
        with open(self.app.database_path, "rb") as f:
            self.assertEqual(f.read(), garbage)
        self.assertEqual(sorted(os.listdir(os.path.dirname(self.app.database_path))),
                         ["Fikranest.sqlite"])
        errors = [line for line in self.app.output().splitlines() if "fikranest:" in line]
        self.assertEqual(len(errors), 1, self.app.output())
        self.assertIn(self.app.database_path, errors[0])
        self.assertIn("not a database", errors[0])


class TrayTest(ShellTestCase):
    def test_closed_main_window_comes_back_through_tray_panel(self):
        self.app.start()
        main = self.app.wait_frame(MAIN)
        wait_until(self.app.tray_icon_present, 20, "the tray icon")
        self.shot("main-window")

        self.app.close_window(MAIN)
        wait_until(lambda: not self.app.frames(MAIN, showing=True), 20,
                   "the main window to close")
        self.assertStaysRunning(2)
        self.assertMainWindowHidden()
        self.assertTrue(self.app.tray_icon_present(), "tray icon went away with the window")
        self.shot("closed-to-tray")

        self.app.click_tray_icon()
        self.app.wait_frame(PANEL)
        self.shot("tray-panel")

        self.app.press(OPEN_ALL, frame=PANEL)
        back = self.app.wait_frame(MAIN)
        self.shot("main-window-back")
        self.assertEqual(len(self.app.frames(MAIN)), 1, self.app.tree())
        self.assertEqual(back["path"], main["path"], "a new main window was made")


if __name__ == "__main__":
    unittest.main()
