#!/usr/bin/python3
"""Checking for updates from the tray panel, against a feed served on 127.0.0.1."""

import base64
import contextlib
import http.server
import os
import subprocess
import tempfile
import threading
import unittest

from harness import HERE, Desktop, wait_until

PANEL = "لوحة الفكرون"
UPDATES = "تحديثات الفكرون"
ITEM = """<item><title>{0}</title><sparkle:version>{0}</sparkle:version><description><![CDATA[{1}]]></description>
<enclosure url="http://127.0.0.1:{2}/Fikranest-{0}.tar.gz" length="{3}" sparkle:edSignature="{4}"/></item>"""
RELEASE = os.urandom(300_000)


def signature(data):
    """What the release's maker publishes: base64 of the file's raw Ed25519 signature."""
    with tempfile.NamedTemporaryFile() as f:  # one-shot signing cannot read a pipe
        f.write(data)
        f.flush()
        signed = subprocess.run(["openssl", "pkeyutl", "-sign", "-rawin", "-inkey",
                                 os.path.join(HERE, "update-signing-key.pem"), "-in", f.name],
                                capture_output=True, check=True)
    return base64.b64encode(signed.stdout).decode()


def signed(feed):
    """A feed as Sparkle signs it: its bytes, then a comment with their signature and count."""
    data = feed.encode()
    return data + f"<!-- sparkle-signatures:\nedSignature: {signature(data)}\nlength: {len(data)}\n-->\n".encode()
# Notes that would reach back to the server if anything in them were loaded.
NOTES = """<link rel="stylesheet" href="http://127.0.0.1:{0}/style.css"><h3>تحسينات</h3>
<ul><li>تذكير أسرع <img src="http://127.0.0.1:{0}/pixel.png"></li><li><a href="http://127.0.0.1:{0}/x">ألوان</a></li></ul>"""


class Feed(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.server.paths.append(self.path)
        self.server.release.wait(20)
        if isinstance(self.server.feed, int):  # that many bytes of feed, and no word of how many
            self.send_response(200)
            self.end_headers()
            with contextlib.suppress(ConnectionError):
                while self.server.sent < self.server.feed:
                    self.server.sent += self.wfile.write(b" " * 65536)
            return self.server.hung_up.set()
        body = self.server.feed if self.path == "/appcast.xml" else self.server.files.get(self.path, b"")
        self.send_response(200 if body else 404)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        with contextlib.suppress(BrokenPipeError):  # a cancelled check has hung up
            # Half, then the rest once the test has seen the download under way.
            self.wfile.write(body[:len(body) // 2])
            self.wfile.flush()
            self.server.second_half.wait(20)
            self.wfile.write(body[len(body) // 2:])

    def log_message(self, *args):
        pass


class UpdateTest(unittest.TestCase):
    def setUp(self):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Feed)
        self.server.paths, self.server.release, self.server.second_half = [], threading.Event(), threading.Event()
        self.server.release.set()
        self.server.second_half.set()
        self.server.files = {"/Fikranest-1.2.tar.gz": RELEASE}
        port = self.server.server_address[1]
        sign = signature(RELEASE)
        self.items = [ITEM.format("1.0", "قديم", port, len(RELEASE), sign),
                      ITEM.format("1.2", NOTES.format(port), port, len(RELEASE), sign)]
        self.serve(*self.items)
        threading.Thread(target=self.server.serve_forever, args=(0.1,), daemon=True).start()
        self.addCleanup(self.stop_server)
        self.desktop = self.enterContext(Desktop(self.id().split(".", 1)[1]))
        self.app = self.desktop.app()
        self.app.env["FIKRANEST_FEED_URL_OVERRIDE"] = f"http://127.0.0.1:{port}/appcast.xml"
        self.app.write_settings("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        self.app.start("--background")

    def serve(self, *items):
        self.server.feed = signed('<?xml version="1.0" encoding="utf-8"?><rss version="2.0" xmlns:sparkle='
                                  '"http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>'
                                  + "".join(items) + "</channel></rss>\n")

    def stop_server(self):
        self.server.release.set()
        self.server.second_half.set()
        self.server.shutdown()
        self.server.server_close()

    def mapped(self, library):
        with open(f"/proc/{self.app.pid}/maps") as f:
            return library in f.read()

    def check(self, shot=None, before=None):
        self.app.click_tray_icon()
        self.app.wait_frame(PANEL)
        if before:
            before()
        if shot:
            self.desktop.screenshot(shot)
        self.app.press("تحقق من التحديثات", frame=PANEL)
        self.app.wait_frame(UPDATES)
        wait_until(lambda: not self.app.frames(PANEL, showing=True), 10, "the panel to close")

    def test_a_newer_release_shows_its_notes_and_downloads_only_when_signed(self):
        # The updater, and the crypto library it checks signatures with, load only when asked for.
        self.check("panel", before=lambda: self.assertFalse(
            self.mapped("libfikranest_update.so") or self.mapped("libcrypto.so")))
        self.assertTrue(self.mapped("libfikranest_update.so") and self.mapped("libcrypto.so"))
        self.app.wait_find("فيه إصدار جديد! 🎉", frame=UPDATES)
        self.app.wait_find("الإصدار 1.2 وصل، وأنت الحين على 1.1", frame=UPDATES)
        tree = self.app.tree()
        for words in ("ملاحظات الإصدار: تحسينات", "تذكير أسرع", "ألوان"):
            self.assertIn(words, tree)
        self.assertNotIn("127.0.0.1", tree)
        self.desktop.screenshot("update-available")
        # Asking again while the window is up brings it forward; it asks the server nothing more.
        self.check()
        self.assertEqual(len(self.app.frames(UPDATES)), 1, self.app.tree())
        self.assertEqual(self.server.paths, ["/appcast.xml"])

        self.server.second_half.clear()
        self.app.press("نزّله الحين ⬇️", frame=UPDATES)
        self.app.wait_find("نزّلنا 50٪ من الإصدار 1.2", frame=UPDATES)
        self.desktop.screenshot("downloading")
        self.server.second_half.set()
        self.app.wait_find("تأكدنا من توقيعه، وحطّيناه في مجلد التنزيلات باسم Fikranest-1.2.tar.gz", frame=UPDATES)
        self.desktop.screenshot("downloaded")
        downloads = os.path.join(self.app.home, "Downloads")
        with open(os.path.join(downloads, "Fikranest-1.2.tar.gz"), "rb") as f:
            self.assertEqual(f.read(), RELEASE)
        wait_until(lambda: self.desktop.shown_files(), 10, "the file manager to be asked")
        self.assertEqual(self.desktop.shown_files(), [f"file://{downloads}/Fikranest-1.2.tar.gz"])
        self.app.press("تمام", frame=UPDATES)

        # The same bytes with one flipped: the signature no longer matches, and nothing is kept.
        self.server.files["/Fikranest-1.2.tar.gz"] = RELEASE[:-1] + bytes([RELEASE[-1] ^ 1])
        self.check()
        self.app.press("نزّله الحين ⬇️", frame=UPDATES)
        self.app.wait_find("توقيع الملف ما طابق 🛑 رميناه احتياطاً، لا تثبّت شي ما تعرف مصدره", frame=UPDATES)
        self.desktop.screenshot("bad-signature")
        self.assertEqual(os.listdir(downloads), ["Fikranest-1.2.tar.gz"])

    def test_same_version_a_slow_check_cancelled_a_bad_feed_a_huge_one_and_no_server(self):
        self.serve(self.items[0], self.items[0].replace("1.0", "1.1"))
        self.check()
        self.app.wait_find("الإصدار 1.1 هو أحدث شي عندنا، استانس فيه", frame=UPDATES)
        self.desktop.screenshot("up-to-date")
        self.app.press("تمام", frame=UPDATES)
        wait_until(lambda: not self.app.frames(UPDATES, showing=True), 10, "the window to close")

        self.server.release.clear()
        self.check()
        self.desktop.screenshot("checking")
        self.app.press("إلغاء", frame=UPDATES)
        wait_until(lambda: not self.app.frames(UPDATES, showing=True), 10, "cancel to close the window")

        self.server.release.set()
        self.server.feed = signed("<html><body>مو خبر تحديثات</body></html>")
        self.check()
        self.app.wait_find("خبر التحديثات وصلنا خربان 🤷‍♂️ مو ذنبك، جرّب بعدين", frame=UPDATES)
        self.desktop.screenshot("bad-feed")
        self.app.press("تمام", frame=UPDATES)
        wait_until(lambda: not self.app.frames(UPDATES, showing=True), 10, "the window to close")

        # Far beyond any real feed: given up on long before its end.
        self.server.feed, self.server.sent, self.server.hung_up = 50 << 20, 0, threading.Event()
        self.check()
        self.app.wait_find("خبر التحديثات وصلنا أضخم من اللازم 🐘 ما فتحناه، مو ذنبك، جرّب بعدين", frame=UPDATES)
        self.assertTrue(self.server.hung_up.wait(20) and self.server.sent < 25 << 20, self.server.sent)
        self.desktop.screenshot("huge-feed")
        self.app.press("تمام", frame=UPDATES)

        self.stop_server()
        self.check()
        self.app.wait_find("ما زبطت هالمرة 🙈", frame=UPDATES)
        self.app.wait_find("النت زعلان علينا 📡 ما قدرنا نوصل لخبر التحديثات، شيّك على اتصالك وجرّب مرة ثانية",
                           frame=UPDATES)
        self.desktop.screenshot("no-network")
        self.assertEqual(self.server.paths, ["/appcast.xml"] * 4)

    def test_a_feed_we_did_not_sign_markup_in_a_version_and_a_release_too_large_for_any_disk(self):
        port = self.server.server_address[1]
        self.server.files["/Fikranest-99.tar.gz"] = RELEASE  # an old, genuinely signed release dressed up as 99
        self.serve(ITEM.format("99", "قديم", port, len(RELEASE), signature(RELEASE)))
        stale = os.path.join(self.app.home, "Downloads", ".Fikranest-Ab12Cd.part")
        os.makedirs(os.path.dirname(stale), exist_ok=True)
        open(stale, "wb").close()
        for feed in (self.server.feed[:self.server.feed.rindex(b"<!--")], self.server.feed.replace(b">99<", b">98<")):
            self.server.feed = feed
            self.check()
            self.app.wait_find("ملف التحديثات مو موقّع صح، ما راح نثق فيه 🔒", frame=UPDATES)
            self.assertFalse(os.path.exists(stale))  # a crashed download's leftover, gone at the next check
            self.app.press("تمام", frame=UPDATES)
            wait_until(lambda: not self.app.frames(UPDATES, showing=True), 10, "the window to close")

        img = f'<img src="http://127.0.0.1:{port}/x">'
        self.serve(self.items[1].replace("</title>", f"</title><sparkle:shortVersionString><![CDATA[{img}]]>"
                                         "</sparkle:shortVersionString>").replace(str(len(RELEASE)), "100000000000000"))
        self.check()
        self.app.wait_find(f"الإصدار {img} وصل، وأنت الحين على 1.1", frame=UPDATES)
        self.desktop.screenshot("markup-shown-as-text")
        self.app.press("نزّله الحين ⬇️", frame=UPDATES)
        self.app.wait_find("التحديث منفوخ أكثر من اللازم 🐳 ما نزّلناه احتياطاً", frame=UPDATES)
        self.desktop.screenshot("too-large")
        self.assertEqual(self.server.paths, ["/appcast.xml"] * 3)


if __name__ == "__main__":
    unittest.main()
