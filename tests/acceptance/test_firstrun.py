#!/usr/bin/python3
"""The first run: the walkthrough from a fresh start, then what is new after an update."""

import time
import unittest

from harness import Desktop, stop_process, wait_until

MAIN = "الفكرون"
WHATS_NEW = "وش الجديد؟"


class FirstRunTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()

    def settings(self):
        with open(self.app.settings_path, encoding="utf-8") as f:
            return dict(line.rstrip("\n").split("=", 1) for line in f if "=" in line)

    def shot(self, step):
        time.sleep(0.6)  # past the page's fade
        self.desktop.screenshot(step)

    def restart(self):
        stop_process(self.app.proc)
        self.app.start()
        self.app.wait_frame(MAIN)

    def test_walkthrough_then_whats_new_once_after_an_update(self):
        self.app.start()
        self.app.wait_frame(MAIN)
        self.app.wait_find("أهلاً فيك!")
        self.shot("onboarding-welcome")
        # A blank name cannot be sent, and Return in the field neither saves nor moves on.
        self.app.type_text("   ", name="وش اسمك؟")
        self.assertNotIn("enabled", self.app.find("يلا نبدأ", role="push button")["states"])
        x, y, w, h = self.app.find("يلا نبدأ", role="push button")["extents"]
        self.desktop.click(x + w // 2, y + h // 2)
        self.app.type_text("  ريم  ", name="وش اسمك؟")
        self.desktop.xdotool("key", "Return")
        time.sleep(0.5)
        self.assertTrue(self.app.find("وش اسمك؟", role="text"), "left the first page")
        self.assertNotIn("userName", self.settings())
        self.assertIn("enabled", self.app.find("يلا نبدأ", role="push button")["states"])
        self.shot("onboarding-welcome-named")
        self.app.press("يلا نبدأ")

        self.app.wait_find("وش تقدر تسوي؟")
        self.shot("onboarding-features")
        self.app.press("حلو! وش بعد؟")
        self.app.wait_find("تبي تنبيهات؟")
        self.shot("onboarding-notifications")
        self.app.press("فعّل التنبيهات")
        self.app.wait_find("جاهز يا ريم!")
        self.shot("onboarding-ready")
        self.assertEqual(self.settings()["userName"], "ريم")
        self.assertNotEqual(self.settings().get("hasCompletedOnboarding"), "true")
        self.app.press("يلا نكب! 🗑️")
        self.app.wait_find("يا ريم 👋")
        self.assertEqual(self.settings()["hasCompletedOnboarding"], "true")
        self.assertIsNone(self.app.find(WHATS_NEW))

        # As if the last start had been the previous version.
        self.app.write_settings(open(self.app.settings_path, encoding="utf-8").read()
                                .replace("lastSeenVersion=1.1", "lastSeenVersion=1.0"))
        self.restart()
        self.app.wait_find(WHATS_NEW)
        self.assertTrue(self.app.find("الإصدار 1.1"))
        self.shot("whats-new")
        self.app.press("يلا نكمل! 🚀")
        wait_until(lambda: not self.app.find(WHATS_NEW), 10, "the sheet to close")
        self.assertEqual(self.settings()["lastSeenVersion"], "1.1")

        self.restart()
        self.app.wait_find("يا ريم 👋")
        time.sleep(1)
        self.assertIsNone(self.app.find(WHATS_NEW))
