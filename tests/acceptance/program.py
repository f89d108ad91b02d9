"""The program under test, driven on a harness Desktop."""

import contextlib
import json
import os
import shutil
import subprocess
import tempfile

from harness import DEFAULT_BIN, WaitTimeout, normalize, stop_process, wait_until


class App:
    """The program under test on a Desktop, with its own XDG folders."""

    def __init__(self, desktop, binary=None):
        self.desktop = desktop
        self.binary = os.path.abspath(binary or os.environ.get("FIKRANEST_BIN") or DEFAULT_BIN)
        if not os.access(self.binary, os.X_OK):
            raise FileNotFoundError(f"no program at {self.binary} (set FIKRANEST_BIN)")
        self.home = tempfile.mkdtemp(prefix="fikranest-home-")
        self.data_home, self.config_home, cache = (os.path.join(self.home, d) for d in ("data", "config", "cache"))
        for d in (self.data_home, self.config_home, cache):
            os.mkdir(d, 0o700)
        self.clock_offset_file = os.path.join(self.home, "clock-offset")
        self.env = dict(desktop.base_env(), HOME=self.home, XDG_DATA_HOME=self.data_home,
                        XDG_CONFIG_HOME=self.config_home, XDG_CACHE_HOME=cache,
                        FIKRANEST_CLOCK_OFFSET_FILE=self.clock_offset_file,
                        QT_QPA_PLATFORM="xcb", QT_QUICK_BACKEND="software",
                        QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self.settings_path = os.path.join(self.config_home, "Fikranest", "Fikranest.conf")
        self.database_path = os.path.join(self.data_home, "Fikranest", "Fikranest.sqlite")
        self.reminders_path = os.path.join(self.data_home, "Fikranest", "reminders.json")
        self.proc = None
        self._logs = []

    def write_settings(self, text):
        os.makedirs(os.path.dirname(self.settings_path), exist_ok=True)
        with open(self.settings_path, "w", encoding="utf-8") as f:
            f.write(text)

    def pending_reminders(self):
        """What the program keeps waiting to be shown (its own file, read as is)."""
        if not os.path.exists(self.reminders_path):
            return []
        with open(self.reminders_path, encoding="utf-8") as f:
            return json.load(f)

    def move_clock(self, seconds):
        """Moves the program's clock (test builds only) as a changed system clock would."""
        with open(self.clock_offset_file + ".tmp", "w") as f:
            f.write(str(int(seconds * 1000)))
        os.replace(self.clock_offset_file + ".tmp", self.clock_offset_file)

    def _launch(self, launch, args, **kwargs):
        base = os.path.join(self.desktop.artifacts, f"fikranest-{len(self._logs) + 1}")
        self._logs.append(base)
        with open(base + ".stdout", "wb") as out, open(base + ".stderr", "wb") as err:
            return launch([self.binary, *args], env=self.env, stdin=subprocess.DEVNULL,
                          stdout=out, stderr=err, **kwargs)

    def start(self, *args):
        self.proc = self._launch(subprocess.Popen, args)
        return self.proc

    def run_again(self, *args, timeout=30):
        """A second launch with the same environment; returns its exit status."""
        try:
            return self._launch(subprocess.run, args, timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            raise AssertionError(f"second launch still running after {timeout}s\n{self.output()}") from None

    def stop(self):
        for proc in [self.proc, *self.processes()]:
            if proc is not None:
                stop_process(proc)
        shutil.rmtree(self.home, ignore_errors=True)

    def output(self):
        """All captured stdout/stderr, for failure messages."""
        parts = []
        for path in (base + ext for base in self._logs for ext in (".stdout", ".stderr")):
            with open(path, errors="replace") as f:
                if text := f.read().strip():
                    parts.append(f"--- {os.path.basename(path)}\n{text[-4000:]}")
        return "\n".join(parts) or "(no output)"

    @property
    def pid(self):
        return self.proc.pid

    def running(self):
        return self.proc is not None and self.proc.poll() is None

    def processes(self):
        """Pids of this program running on this desktop."""
        exe = os.path.realpath(self.binary)
        return self.desktop._pids_here(lambda pid: os.path.realpath(f"/proc/{pid}/exe") == exe)

    # -- AT-SPI -----------------------------------------------------------

    def _query(self, op, **kw):
        return self.desktop.atspi(op=op, pid=self.pid, **kw)

    def registered(self):
        """True once the program shows up on the accessibility bus."""
        return self._query("app")

    def tree(self):
        return json.dumps(self._query("tree"), ensure_ascii=False, indent=1)

    def frames(self, name=None, showing=None):
        return [f for f in self._query("frames") if name in (None, normalize(f["name"]))
                and showing in (None, "showing" in f["states"])]

    def _wait(self, predicate, timeout, what):
        """wait_until that gives up at once if the program died, and shows the screen and tree."""
        def check():
            if not self.running():
                raise AssertionError(f"the program exited with status {self.proc.poll()}\n{self.output()}")
            return predicate()
        try:
            return wait_until(check, timeout, what, 0.5)
        except WaitTimeout as e:
            self.desktop.screenshot(f"waited-for-{what}")
            raise AssertionError(f"{e}\nAT-SPI tree:\n{self.tree()}\n{self.output()}") from None

    def wait_frame(self, name, timeout=20, showing=True):
        return self._wait(lambda: self.frames(name, showing), timeout, f'frame "{name}" (showing={showing})')[0]

    def find(self, name, role=None, frame=None):
        return self._query("find", name=name, role=role, frame=frame)

    def wait_find(self, name, role=None, frame=None, timeout=20):
        return self._wait(lambda: self.find(name, role, frame), timeout, f'"{name}" ({role or "any role"})')

    def press(self, name, role="push button", frame=None, timeout=20):
        self.wait_find(name, role, frame, timeout)
        if not (done := self._query("press", name=name, role=role, frame=frame)):
            raise AssertionError(f'"{name}" ({role}) has no press/click action')
        return done

    def text(self, name=None, role=None, frame=None):
        """A field's content; for anything else (labels) what it reads out."""
        node = self.find(name, role, frame)
        if node is None:
            return None
        return node["text"] if "editable" in node["states"] else node["text"] or node["name"]

    def type_text(self, text, name=None, role="text", frame=None, attempts=5):
        """Types into a field and reads it back, retrying: xdotool drops Arabic letters."""
        for _ in range(attempts):
            field = self.wait_find(name, role, frame)
            # No window manager hands out keyboard focus here, so we do.
            self.desktop.xdotool("windowfocus", "--sync", self.windows(normalize(field["frame"]))[0])
            if not self._query("focus", name=name, role=role, frame=frame):
                raise AssertionError(f'cannot focus "{name}" ({role})')
            self.desktop.xdotool("key", "--clearmodifiers", "ctrl+a", "BackSpace")
            self.desktop.xdotool("type", "--delay", "60", text)
            with contextlib.suppress(WaitTimeout):
                return wait_until(lambda: normalize(self.text(name, role, frame)) == normalize(text),
                                  3, "typed text", 0.3)
        raise AssertionError(f'could not type "{text}"; field holds "{self.text(name, role, frame)}"')

    # -- X ----------------------------------------------------------------

    def windows(self, title, mapped_only=False):
        return [w for w, _ in self.desktop.top_level_windows(title, self.pid, mapped_only)]

    def close_window(self, title):
        wid = wait_until(lambda: self.windows(title, mapped_only=True), 20, f'a mapped window "{title}"')[0]
        self.desktop.close_window(wid)
        return wid

    def click_tray_icon(self, timeout=15):
        x, y, w, h = wait_until(lambda: self.desktop.tray_icons(self.pid), timeout, "a tray icon")[0]
        self.desktop.click(x + w // 2, y + h // 2)

    def tray_icon_present(self):
        return bool(self.desktop.tray_icons(self.pid))
