#!/usr/bin/python3
"""Fikranest as a desktop program: its command line, its login entry, signals, a running
one that does not answer, life without a tray, and a walk done with the keyboard alone."""

import os
import signal
import unittest

from harness import Desktop, wait_until

MAIN = "الفكرون"
FIELD = "وش الفكرة؟"
SETTLED = "[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n"
BACK_IN_THE_BACKGROUND = "الفكرون شغّال بالخلفية 👀"
FILTERS = ["الكل", "فكرة", "مهمة", "ملاحظة", "لها موعد"]


class OnADesktop(unittest.TestCase):
    tray = True

    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1], tray=self.tray))
        self.app = self.desktop.app()
        self.app.write_settings(SETTLED)
        self.entry = os.path.join(self.app.config_home, "autostart", "fikranest.desktop")

    def launch(self, *args):
        status = self.app.run_again(*args)
        with open(self.app._logs[-1] + ".stdout") as out, open(self.app._logs[-1] + ".stderr") as err:
            return status, out.read(), err.read()

    def focused(self, name, role):
        node = self.app.find(name, role=role)
        return bool(node) and "focused" in node["states"]



class DesktopTest(OnADesktop):
    def test_ideas_added_from_the_command_line_with_or_without_a_running_one(self):
        self.assertEqual(self.launch("--version")[:2], (0, "الفكرون (Fikranest) 1.1\n"))
        status, out, err = self.launch("--add", " \t ")
        self.assertEqual((status, out), (2, ""))
        self.assertIn("the idea is empty", err)
        status, _, err = self.launch("--add", "شي", "--category", "واجب")
        self.assertEqual(status, 2)
        self.assertIn("unknown category", err)

        # Nothing runs: stored straight away, and silently.
        self.assertEqual(self.launch("--add", "  من الطرفية ", "--category", "مهمة"), (0, "", ""))
        self.app.start()
        self.app.wait_find("من الطرفية", role="push button")
        self.app.wait_find("مهمة")

        self.app.close_window(MAIN)
        wait_until(lambda: not self.app.windows(MAIN, mapped_only=True), 10, "the window to close")
        self.assertEqual(self.launch("--capture")[0], 0)
        self.app.wait_frame(MAIN)
        # Without a window manager here, nobody else hands the window the keyboard.
        self.desktop.xdotool("windowfocus", "--sync", self.app.windows(MAIN, mapped_only=True)[0])
        self.app._wait(lambda: self.focused(FIELD, "text"), 20, "the sheet's field to have the focus")
        self.desktop.screenshot("captured-from-the-command-line")

    def test_the_login_entry_is_written_once_and_then_left_to_the_user(self):
        self.start_in_the_background()
        with open(self.entry) as f:
            self.assertIn("Exec=fikranest --background\n", f.read())

        disabled = "[Desktop Entry]\nType=Application\nName=Fikranest\nExec=fikranest --background\nHidden=true\n"
        with open(self.entry, "w") as f:
            f.write(disabled)
        self.start_in_the_background()
        with open(self.entry) as f:
            self.assertEqual(f.read(), disabled)

        # Deleting it is the user's choice too.
        os.remove(self.entry)
        self.start_in_the_background()
        self.assertFalse(os.path.exists(self.entry))

    def test_a_stopped_one_is_given_up_on_and_signals_close_it_cleanly(self):
        self.app.start()
        self.app.wait_frame(MAIN)
        os.kill(self.app.pid, signal.SIGSTOP)
        for args in ((), ("--capture",), ("--add", "ضاعت")):
            status, out, err = self.launch(*args)
            self.assertEqual((status, out, len(err.splitlines())), (1, "", 1), err)
            self.assertIn("does not answer", err)
        os.kill(self.app.pid, signal.SIGCONT)
        for number, sig in enumerate((signal.SIGTERM, signal.SIGINT, signal.SIGKILL)):
            self.assertEqual(self.launch("--add", f"قبل {number}"), (0, "", ""))
            for earlier in range(number + 1):
                self.app.wait_find(f"قبل {earlier}", role="push button")
            # Woken, it did not do behind the user's back what they were told had failed.
            self.assertIsNone(self.app.find("ضاعت", role="push button"))
            self.app.proc.send_signal(sig)
            if self.app.proc.wait(30) != -signal.SIGKILL:
                self.assertEqual(self.app.proc.returncode, 0, self.app.output())
                wal = self.app.database_path + "-wal"
                self.assertFalse(os.path.exists(wal) and os.path.getsize(wal), "the WAL was left behind")
                self.assertEqual([f for f in os.listdir(self.desktop.runtime_dir) if "fikranest" in f], [])
            # Killed, it leaves its socket and lock behind; they do not stand in the next one's way.
            self.app.start()
            self.app.wait_frame(MAIN)
        self.app.wait_find("قبل 2", role="push button")

    def start_in_the_background(self):
        if self.app.running():
            self.app.proc.terminate()
            self.app.proc.wait(20)
        self.app.start("--background")
        wait_until(self.app.registered, 20, "the program on the accessibility bus")

    def test_keyboard_alone_captures_an_idea_and_completes_it(self):
        self.app.start()
        window = self.app.windows(MAIN, mapped_only=True) or wait_until(
            lambda: self.app.windows(MAIN, mapped_only=True), 20, "the window")
        self.desktop.xdotool("windowfocus", "--sync", window[0])
        self.desktop.xdotool("key", "ctrl+n")
        self.app._wait(lambda: self.focused(FIELD, "text"), 20, "the sheet's field to have the focus")
        self.desktop.xdotool("type", "--delay", "60", "keyboard only")
        wait_until(lambda: self.app.text(FIELD, role="text") == "keyboard only", 10, "the typed text")
        # Tab leaves the field rather than typing into it, and Shift+Tab comes back.
        self.desktop.xdotool("key", "Tab")
        self.app._wait(lambda: self.focused("سجّل صوتياً 🎙️", "push button"), 10, "Tab to leave the field")
        self.desktop.xdotool("key", "shift+Tab")
        self.app._wait(lambda: self.focused(FIELD, "text"), 10, "Shift+Tab to come back")
        self.desktop.xdotool("key", "ctrl+Return")
        self.app.wait_find("keyboard only", role="push button")
        # Tab goes in reading order, right to left, and reaches the card.
        visited = []
        while not self.focused("keyboard only", "push button") and len(visited) < 12:
            self.desktop.xdotool("key", "Tab")
            visited += [name for name in FILTERS if self.focused(name, "push button")]
        self.assertTrue(self.focused("keyboard only", "push button"), "Tab never reached the new card")
        self.assertEqual(visited, FILTERS)
        self.desktop.screenshot("card-focused")
        self.desktop.xdotool("key", "Menu")
        self.app.wait_find("تم الإنجاز", role="menu item")
        self.desktop.xdotool("key", "Down", "Return")
        self.app.wait_find("✅ المنجز (1)")


class WithoutATrayTest(OnADesktop):
    tray = False

    def test_it_says_once_how_to_come_back_and_shows_its_icon_when_a_tray_appears(self):
        self.app.start()
        self.app.wait_frame(MAIN)
        self.assertFalse(self.app.tray_icon_present())
        for _ in range(2):
            self.app.close_window(MAIN)
            wait_until(lambda: not self.app.windows(MAIN, mapped_only=True), 10, "the window to close")
            wait_until(lambda: self.desktop.notifications(), 10, "a word on how to come back")
            self.assertEqual(self.app.run_again(), 0)
            self.app.wait_frame(MAIN)
        self.assertTrue(self.app.running())
        self.assertEqual([n["summary"] for n in self.desktop.notifications()], [BACK_IN_THE_BACKGROUND])
        self.desktop.start_tray()
        wait_until(self.app.tray_icon_present, 20, "the tray icon once a tray is there")


if __name__ == "__main__":
    unittest.main()
