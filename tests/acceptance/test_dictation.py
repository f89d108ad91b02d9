#!/usr/bin/python3
"""Dictating into the capture sheet through a virtual microphone (run by with_pulseaudio.sh)."""

import os
import signal
import subprocess
import tempfile
import unittest

from harness import Desktop, wait_until

ADD = "فكرة جديدة"
FIELD = "وش الفكرة؟"
RECORD = "سجّل صوتياً 🎙️"
RECORDING = "جاري التسجيل... اضغط للإيقاف"
USE = "استخدم النص ✓"
# What the test engine makes of any speech it hears.
HEARD = "فكرة قلتها بصوتي"


def recordings():
    """Microphone streams opened by clients (the virtual microphone holds one of its own)."""
    out = subprocess.run(["pactl", "list", "short", "source-outputs"], capture_output=True, text=True, check=True)
    return [line for line in out.stdout.splitlines() if "module-remap-source" not in line]


class DictationTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()
        self.app.env["FIKRANEST_TEST_LOUDNESS_ENGINE"] = "1"
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        self.speech = os.path.join(self.enterContext(tempfile.TemporaryDirectory()), "speech.wav")
        subprocess.run(["espeak-ng", "-v", "ar", "-w", self.speech, "عندي فكرة جديدة عن السوق"], check=True)

    def offered(self):
        button = self.app.find(USE, role="push button")
        return bool(button) and "showing" in button["states"]

    def test_speech_becomes_text_that_joins_the_title_and_closing_stops_the_microphone(self):
        self.app.start()
        self.app.press(ADD)
        self.app.type_text("أول", name=FIELD)
        self.app.press(RECORD)
        self.app.wait_find(RECORDING)
        self.assertEqual(len(recordings()), 1)
        player = subprocess.Popen(["paplay", "-d", "virtmic", "--latency-msec=40", self.speech])
        self.addCleanup(player.wait)
        wait_until(lambda: self.offered(), 20, "the dictated text to be offered")
        self.desktop.screenshot("recording")
        player.wait()

        self.app.press(RECORDING)
        self.app.wait_find(RECORD)
        wait_until(lambda: not recordings(), 10, "the microphone to close")
        self.app.press(USE)
        self.assertEqual(self.app.text(FIELD, role="text"), f"أول {HEARD}")
        self.assertFalse(self.offered())

        # Leaving the sheet mid-recording closes the microphone too.
        self.app.press(RECORD)
        self.app.wait_find(RECORDING)
        self.desktop.xdotool("key", "Escape")
        wait_until(lambda: not self.app.find(FIELD, role="text"), 20, "the sheet to close")
        wait_until(lambda: not recordings(), 10, "the microphone to close")

    def test_a_sound_server_lost_mid_recording_ends_it_and_keeps_what_was_heard(self):
        # A sound server of the test's own, to kill.
        script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../capture/dictation/with_pulseaudio.sh")
        pulse = subprocess.Popen([script, "sh", "-c", 'echo "$PULSE_SERVER $PULSE_RUNTIME_PATH"; exec cat'],
                                 stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(pulse.communicate)
        server, runtime = pulse.stdout.readline().split()
        self.app.env["PULSE_SERVER"] = server
        self.app.start()
        self.app.press(ADD)
        self.app.press(RECORD)
        self.app.wait_find(RECORDING)
        subprocess.run(["paplay", "-d", "virtmic", self.speech], env=dict(os.environ, PULSE_SERVER=server), check=True)
        wait_until(self.offered, 20, "the dictated text to be offered")
        with open(os.path.join(runtime, "pid")) as f:
            os.kill(int(f.read()), signal.SIGKILL)
        self.app.wait_find("خطأ في تشغيل التسجيل")
        self.app.wait_find(RECORD)
        self.app.press(USE)
        self.assertEqual(self.app.text(FIELD, role="text"), HEARD)

    def test_without_a_sound_server_or_a_speech_model_it_says_so_and_keeps_the_typed_text(self):
        for engine, message in ((False, "نحتاج صلاحية المايكروفون والتعرف على الكلام عشان نسجل صوتك"),
                                (True, "خطأ في تشغيل التسجيل")):
            app = self.desktop.app()
            app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
            app.env["PULSE_SERVER"] = "unix:/nonexistent/pulse.sock"
            if engine:
                app.env["FIKRANEST_TEST_LOUDNESS_ENGINE"] = "1"
            app.start()
            typed = f"فكرة مكتوبة {int(engine)}"
            app.press(ADD)
            app.type_text(typed, name=FIELD)
            app.press(RECORD)
            app.wait_find(message)
            self.desktop.screenshot(f"no-dictation-{int(engine)}")
            if not engine:
                app.press("حسناً")
            self.assertFalse(app.find(RECORDING))
            self.assertEqual(app.text(FIELD, role="text"), typed)
            app.press("احفظ الفكرة 💾")
            app.wait_find(typed, role="push button")
            app.stop()


if __name__ == "__main__":
    unittest.main()
