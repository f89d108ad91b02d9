#!/usr/bin/python3
"""Dictating into the capture sheet through a virtual microphone (run by with_pulseaudio.sh)."""

import hashlib
import http.server
import io
import os
import resource
import signal
import subprocess
import tempfile
import threading
import unittest
import zipfile

from harness import Desktop, stop_process, wait_until

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
        for engine, message in ((False, "التعرف على الكلام غير متوفر"),
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
            self.assertFalse(app.find(RECORDING))
            self.assertEqual(app.text(FIELD, role="text"), typed)
            app.press("احفظ الفكرة 💾")
            app.wait_find(typed, role="push button")
            app.stop()


OFFER = "نزّله الحين ⬇️"
UNAVAILABLE = "التعرف على الكلام غير متوفر"
CUT = "انقطع التنزيل، نكمل من وين وقفنا لما ترجع 🌐"
BROKEN = "الملف اللي وصل خربان، حاول مرة ثانية 🔁"
NO_SPACE = "ما فيه مساحة كافية 💾"


def model_zip(*extra):
    """A small zip shaped like a Vosk model, with `extra` (ZipInfo, bytes) entries."""
    data = io.BytesIO()
    with zipfile.ZipFile(data, "w") as z:
        z.writestr("vosk-model-test/am/final.mdl", os.urandom(400_000))
        z.writestr("vosk-model-test/conf/model.conf", "--sample-frequency=16000\n")
        for info, body in extra:
            z.writestr(info, body)
    return data.getvalue()


def shown(app, name):
    found = app.find(name)
    return bool(found) and "showing" in found["states"]


def link(name, target):
    info = zipfile.ZipInfo(name)
    info.create_system, info.external_attr = 3, 0o120777 << 16
    return info, target


class ModelServer(http.server.BaseHTTPRequestHandler):
    """Serves `server.model` with ranges; `server.cut` bytes then hangs up, once; `server.hold`
    is waited on half-way."""

    def do_GET(self):
        body, start = self.server.model, 0
        self.server.ranges.append(self.headers.get("Range"))
        if self.headers.get("Range"):
            start = int(self.headers["Range"].split("=")[1].rstrip("-"))
            self.send_response(206)
            self.send_header("Content-Range", f"bytes {start}-{len(body) - 1}/{len(body)}")
        else:
            self.send_response(200)
        self.send_header("Content-Length", str(len(body) - start))
        self.end_headers()
        cut, self.server.cut = self.server.cut, None
        half = start + (len(body) - start) // 2
        try:
            self.wfile.write(body[start:cut or half])
            if cut:
                return
            self.wfile.flush()
            self.server.hold.wait(30)
            self.wfile.write(body[half:])
        except OSError:
            pass

    def log_message(self, *args):
        pass


class ModelDownloadTest(unittest.TestCase):
    def setUp(self):
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), ModelServer)
        self.server.model, self.server.cut, self.server.ranges = model_zip(), None, []
        self.server.hold = threading.Event()
        self.server.hold.set()
        threading.Thread(target=self.server.serve_forever, args=(0.1,), daemon=True).start()
        self.addCleanup(self.server.server_close)
        self.addCleanup(self.server.shutdown)
        self.addCleanup(self.server.hold.set)

    def app(self, sha=True):
        app = self.desktop.app()
        app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        model = self.server.model
        app.env.update(FIKRANEST_TEST_LOUDNESS_ENGINE="model",
                       FIKRANEST_SPEECH_MODEL_URL_OVERRIDE=f"http://127.0.0.1:{self.server.server_address[1]}/m.zip",
                       FIKRANEST_SPEECH_MODEL_SIZE_OVERRIDE=str(len(model)),
                       FIKRANEST_SPEECH_MODEL_SHA256_OVERRIDE=hashlib.sha256(model).hexdigest() if sha else "")
        self.data = os.path.join(app.data_home, "Fikranest")
        return app

    def sheet(self, app, typed):
        app.press(ADD)
        app.type_text(typed, name=FIELD)
        app.wait_find(OFFER)

    def test_the_model_comes_from_the_sheet_resumes_where_it_stopped_and_dictates_at_once(self):
        app = self.app()
        app.start()
        self.sheet(app, "مكتوبة")
        app.press(RECORD)
        app.wait_find(UNAVAILABLE)
        self.desktop.screenshot("offer")
        # Cut a third of the way; tapped again, it asks only for the rest.
        self.server.cut = len(self.server.model) // 3
        app.press(OFFER)
        app.wait_find(CUT)
        self.server.hold.clear()
        app.press(OFFER)
        app.wait_find("تنزيل نموذج التعرف على الكلام", role="progress bar")
        self.desktop.screenshot("downloading")
        self.assertEqual(self.server.ranges, [None, f"bytes={len(self.server.model) // 3}-"])
        # Killed half-way, started again: it picks up from what reached the disk.
        app.proc.kill()
        app.proc.wait()
        app.start()
        self.sheet(app, "مكتوبة")
        self.server.hold.set()
        app.press(OFFER)
        wait_until(lambda: not shown(app, OFFER) and not shown(app, "لحظة، نركّب النموذج... ⏳"), 30, "the model in place")
        self.assertRegex(self.server.ranges[-1], r"^bytes=[1-9]\d*-$")
        self.assertTrue(os.path.isfile(os.path.join(self.data, "speech", "vosk-model-test", "am", "final.mdl")))
        self.assertFalse([n for n in os.listdir(self.data) if n.startswith(("speech-model", "speech.unpacking"))])
        self.desktop.screenshot("ready")
        app.press(RECORD)
        app.wait_find(RECORDING)
        self.assertEqual(app.text(FIELD, role="text"), "مكتوبة")
        app.press(RECORDING)
        self.desktop.xdotool("key", "Escape")
        wait_until(lambda: not app.find(FIELD, role="text"), 20, "the sheet to close")
        app.press("الإعدادات")
        app.wait_find("التعرف على الكلام: جاهز ✅")
        self.desktop.screenshot("settings-ready")

    def test_what_cannot_be_a_model_is_refused_and_nothing_half_installed_is_left(self):
        app = self.app(sha=False)
        app.start()
        self.sheet(app, "تبقى")
        outside = os.path.join(app.data_home, "escape.txt")
        for asked, model in enumerate((b"PK\x03\x04 not really a zip" * 1000,
                                       model_zip((zipfile.ZipInfo("../../escape.txt"), b"x")),
                                       model_zip(link("vosk-model-test/conf/link", "/etc/passwd"))), 1):
            self.server.model = model
            app.press(OFFER)
            wait_until(lambda: len(self.server.ranges) == asked and shown(app, BROKEN), 20, f"refusal {asked}")
            self.assertFalse(os.path.exists(outside))
            self.assertFalse([n for n in os.listdir(self.data) if n.startswith(("speech", "speech-model"))])
        # Cancelled, nothing of it stays.
        self.server.model = model_zip()
        self.server.hold.clear()
        app.press(OFFER)
        app.wait_find("تنزيل نموذج التعرف على الكلام", role="progress bar")
        app.press("إلغاء التنزيل")
        wait_until(lambda: shown(app, OFFER), 10, "the offer back")
        self.assertFalse([n for n in os.listdir(self.data) if n.startswith("speech")])
        self.assertEqual(app.text(FIELD, role="text"), "تبقى")
        stop_process(app.proc)

        # A disk that fills: the file may not grow past 100 kB.
        self.server.hold.set()
        app.proc = subprocess.Popen([app.binary], env=app.env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                    preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000)))
        self.sheet(app, "تبقى")
        app.press(OFFER)
        app.wait_find(NO_SPACE)
        self.assertFalse(os.path.isdir(os.path.join(self.data, "speech")))


if __name__ == "__main__":
    unittest.main()
