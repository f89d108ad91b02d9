#!/usr/bin/python3
"""The program's shell: how it starts, stays single, stores, and hides to the tray."""

import contextlib
import os
import pwd
import socket
import sqlite3
import stat
import subprocess
import sys
import tempfile
import time
import unittest

from harness import Desktop, stop_process, wait_until

MAIN = "الفكرون"
PANEL = "لوحة الفكرون"
# Another user's listener: it keeps what it is told and answers that it was stored.
STRANGER = """import socket, sys
listener = socket.socket(socket.AF_UNIX)
listener.bind(sys.argv[1])
listener.listen()
while True:
    with listener.accept()[0] as peer:
        peer.settimeout(2)
        try:
            told = peer.recv(65536)
            peer.sendall(b"\\x06")
        except OSError:
            continue
        if told:
            with open(sys.argv[2], "ab") as heard:
                heard.write(told)
"""
IDEA_COLUMNS = ["id", "title", "body", "category", "status", "hasReminder",
                "reminderDate", "isVoiceNote", "createdAt", "updatedAt"]


class ShellTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()

    def assertStaysHidden(self, seconds):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            self.assertTrue(self.app.running(), f"the program exited\n{self.app.output()}")
            time.sleep(0.2)
        self.assertEqual(self.app.frames(MAIN, showing=True), [], self.app.tree())
        self.assertEqual(self.app.windows(MAIN, mapped_only=True), [], "main window is mapped on screen")
        self.assertTrue(self.app.tray_icon_present(), "no tray icon")

    def columns(self):
        return os.path.exists(self.app.database_path) and [row[1] for row in self.sql("PRAGMA table_info(Idea)")]

    def sql(self, query):
        # Read-only, and closed at once, so the program never waits on our lock.
        with contextlib.closing(sqlite3.connect(f"file:{self.app.database_path}?mode=ro", uri=True)) as db:
            return db.execute(query).fetchall()

    def test_refuses_a_foreign_store_untouched_and_a_first_run_shows_itself(self):
        # Our own store with a trigger planted in it, that would empty it on the next write.
        self.assertEqual(self.app.run_again("--add", "أول فكرة"), 0, self.app.output())
        with contextlib.closing(sqlite3.connect(self.app.database_path)) as db:
            db.execute("CREATE TRIGGER wipe AFTER INSERT ON Idea BEGIN DELETE FROM Idea; END")
            db.commit()
        with open(self.app.database_path, "rb") as f:
            planted = f.read()
        garbage = b"not an ideas database\n" * 400
        for contents, reason in [(planted, "its tables are not the ones Fikranest makes"), (garbage, "not a database")]:
            with open(self.app.database_path, "wb") as f:
                f.write(contents)
            self.assertNotEqual(self.app.run_again("--add", "ثانية"), 0)
            with open(self.app.database_path, "rb") as f:
                self.assertEqual(f.read(), contents)
            self.assertEqual(os.listdir(os.path.dirname(self.app.database_path)), ["Fikranest.sqlite"])
            errors = [line for line in self.app.output().splitlines() if "fikranest:" in line]
            self.assertIn(self.app.database_path, errors[-1])
            self.assertIn(reason, errors[-1])

        # Nobody could find a program that never showed itself even once.
        os.remove(self.app.database_path)
        self.app.start("--background")
        self.app.wait_frame(MAIN)
        self.desktop.screenshot("first-run-main-window")
        self.assertTrue(self.app.windows(MAIN, mapped_only=True), "no mapped X window")

    def test_background_start_after_onboarding_stays_in_tray(self):
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\n")
        self.app.start("--background")
        wait_until(self.app.registered, 20, "the program on the accessibility bus")
        wait_until(self.app.tray_icon_present, 20, "the tray icon")
        self.assertStaysHidden(3)
        self.desktop.screenshot("tray-only")

    def test_one_instance_private_store_and_closing_to_the_tray(self):
        self.app.start()
        main = self.app.wait_frame(MAIN)
        self.assertEqual(wait_until(self.columns, 20, "table Idea in the store"), IDEA_COLUMNS)
        self.assertEqual(stat.S_IMODE(os.stat(os.path.dirname(self.app.database_path)).st_mode), 0o700)
        self.assertEqual(stat.S_IMODE(os.stat(self.app.database_path).st_mode), 0o600)
        self.assertEqual(self.sql("PRAGMA journal_mode") + self.sql("PRAGMA user_version"), [("wal",), (10000,)])

        self.assertEqual(self.app.run_again(), 0, self.app.output())
        self.assertEqual(self.app.processes(), [self.app.pid])
        self.desktop.screenshot("after-second-launch")

        self.app.close_window(MAIN)
        wait_until(lambda: not self.app.frames(MAIN, showing=True), 20, "the main window to close")
        self.assertStaysHidden(2)
        self.desktop.screenshot("closed-to-tray")
        self.app.click_tray_icon()
        self.app.wait_frame(PANEL)
        self.desktop.screenshot("tray-panel")
        self.app.press("افتح كل الأفكار", frame=PANEL)
        self.app.wait_frame(MAIN)
        self.desktop.screenshot("main-window-back")
        # The one main window all along: a second launch or the panel never make another.
        self.assertEqual([f["path"] for f in self.app.frames(MAIN)], [main["path"]], self.app.tree())

    def test_a_launch_from_any_session_reaches_the_running_one_and_never_a_stranger(self):
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        self.app.start()
        self.app.wait_frame(MAIN)
        # An ssh session has a runtime folder of its own, cron and su none at all.
        other = tempfile.mkdtemp(dir=self.desktop.tmp)
        for title, runtime in [("من جلسة ثانية", other), ("من غير جلسة", None)]:
            env = {k: v for k, v in self.app.env.items() if k != "XDG_RUNTIME_DIR"} | (
                {"XDG_RUNTIME_DIR": runtime} if runtime else {})
            launch = subprocess.run([self.app.binary, "--add", title], env=env, capture_output=True, timeout=30)
            self.assertEqual(launch.returncode, 0, launch.stderr)
            # Shown at once: the running instance stored it, not a second one beside it.
            self.app.wait_find(title, role="push button", frame=MAIN, timeout=10)
            self.assertEqual(self.app.processes(), [self.app.pid])
        stop_process(self.app.proc)

        # With no runtime folder of its own (one another user made, so unusable), nothing
        # listening in a shared folder is ever told anything, nor one a note points to.
        shared = tempfile.mkdtemp(dir=self.desktop.tmp)
        os.chmod(self.desktop.tmp, 0o755)
        os.chmod(shared, 0o1777)
        nobody = pwd.getpwnam("nobody")
        runtime = os.path.join(shared, "runtime")
        os.mkdir(runtime, 0o700)
        os.chown(runtime, nobody.pw_uid, nobody.pw_gid)
        listening, heard = os.path.join(shared, "fikranest.socket"), os.path.join(shared, "heard")
        stranger = subprocess.Popen(["setpriv", f"--reuid={nobody.pw_uid}", f"--regid={nobody.pw_gid}",
                                     "--clear-groups", sys.executable, "-c", STRANGER, listening, heard])
        self.addCleanup(stop_process, stranger)

        def listens():
            with socket.socket(socket.AF_UNIX) as probe:
                return probe.connect_ex(listening) == 0
        wait_until(listens, 10, "the stranger to listen")
        with open(os.path.join(os.path.dirname(self.app.database_path), "fikranest.instance"), "w") as f:
            f.write(listening)
        env = self.app.env | {"XDG_RUNTIME_DIR": runtime, "TMPDIR": shared}
        launch = subprocess.run([self.app.binary, "--add", "سر"], env=env, capture_output=True, timeout=30)
        self.assertEqual(launch.returncode, 0, launch.stderr)
        self.assertFalse(os.path.exists(heard), "the stranger was told something")
        self.assertIn(("سر",), self.sql("SELECT title FROM Idea"))

    def test_quick_capture_from_the_panel_reaches_the_list_and_opens_there(self):
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        self.app.start()
        self.app.click_tray_icon()
        self.app.wait_frame(PANEL)
        self.assertNotIn("showing", (self.app.find("آخر الأفكار", frame=PANEL) or {"states": []})["states"])
        self.desktop.screenshot("panel-without-recent-ideas")
        self.app.type_text("اتصل بالسباك", name="فكرة سريعة", frame=PANEL)
        # With the mouse, as a person would: Return must still reach the field afterwards.
        x, y, w, h = self.app.wait_find("مهمة", frame=PANEL)["extents"]
        self.desktop.click(x + w // 2, y + h // 2)
        self.desktop.xdotool("key", "Return")
        self.app.wait_find("تم الحفظ! ✓", frame=PANEL, timeout=1.2)
        self.assertEqual(self.sql("SELECT title, category, hasReminder FROM Idea"), [("اتصل بالسباك", "مهمة", 0)])
        self.app.wait_find("اتصل بالسباك", role="push button", frame=MAIN)
        self.app.wait_find("آخر الأفكار", frame=PANEL)
        self.desktop.screenshot("panel-with-recent-ideas")
        self.desktop.xdotool("key", "Escape")
        wait_until(lambda: not self.app.frames(PANEL, showing=True), 10, "Escape to close the panel")
        self.app.click_tray_icon()
        self.app.wait_frame(PANEL)
        # A recent idea opens in the main window, in its detail view.
        self.app.press("اتصل بالسباك", frame=PANEL)
        self.app.wait_find("رجوع", role="push button", frame=MAIN)
        self.desktop.screenshot("recent-idea-opened")


if __name__ == "__main__":
    unittest.main()
