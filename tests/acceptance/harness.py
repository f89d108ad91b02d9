#!/usr/bin/python3
"""A throwaway desktop for driving Fikranest the way a person would.

Desktop brings up, per test, its own Xvfb, session bus (nothing
auto-activated on it), accessibility bus and registry, notification daemon
and system tray, and tears all of it down again. App runs the program on it
with fresh XDG folders and drives it through AT-SPI, X and xdotool.

AT-SPI is queried from a short-lived child process (this file run with
--atspi): libatspi and libdbus keep their bus connections for the life of a
process, so one process cannot follow a new desktop per test.
"""

import contextlib
import json
import os
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

PYTHON = "/usr/bin/python3"
HERE = os.path.dirname(os.path.abspath(__file__))
SCREEN = "1280x800x24"
DEFAULT_BIN = os.path.join(HERE, "..", "..", "build", "dev", "fikranest")

# No <servicedir>: nothing may be auto-started behind a test's back, so every
# service the program can reach is one this harness started on purpose.
SESSION_BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <keep_umask/>
  <listen>unix:dir={runtime}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

# Qt and GTK sometimes wrap Arabic labels in direction marks.
_BIDI_MARKS = re.compile("[\u200e\u200f\u061c\u202a-\u202e\u2066-\u2069]")


def normalize(text):
    return _BIDI_MARKS.sub("", text or "").strip()


class WaitTimeout(AssertionError):
    """Something never happened; a test failure, not a harness error."""


def wait_until(predicate, timeout, what, interval=0.25):
    """Polls predicate until it returns something truthy, which is returned."""
    deadline = time.monotonic() + timeout
    while True:
        value = predicate()
        if value:
            return value
        if time.monotonic() >= deadline:
            raise WaitTimeout(f"timed out after {timeout:g}s waiting for {what}")
        time.sleep(interval)


def _read_line(fd, timeout, what):
    data = b""
    deadline = time.monotonic() + timeout
    while not data.endswith(b"\n"):
        left = deadline - time.monotonic()
        if left <= 0 or not select.select([fd], [], [], left)[0]:
            raise TimeoutError(f"{what} did not report in {timeout:g}s")
        chunk = os.read(fd, 4096)
        if not chunk:
            raise RuntimeError(f"{what} exited before reporting")
        data += chunk
    return data.decode().strip()


def _alive(pid):
    try:
        with open(f"/proc/{pid}/stat") as f:
            # A zombie nobody reaps is as good as gone.
            return f.read().rsplit(")", 1)[1].split()[0] != "Z"
    except (FileNotFoundError, ProcessLookupError, IndexError):
        return False


def stop_process(proc, grace=5.0):
    """SIGTERM, wait, then SIGKILL. proc is a Popen (so it gets reaped) or a pid."""
    if isinstance(proc, subprocess.Popen):
        if proc.poll() is None:
            proc.terminate()
            try:
                proc.wait(grace)
            except subprocess.TimeoutExpired:
                proc.kill()
                proc.wait()
        return
    pid = proc
    if not _alive(pid):
        return
    with contextlib.suppress(ProcessLookupError):
        os.kill(pid, signal.SIGTERM)
    try:
        wait_until(lambda: not _alive(pid), grace, f"pid {pid} to exit", 0.05)
    except WaitTimeout:
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, signal.SIGKILL)


def _environ_of(pid):
    try:
        with open(f"/proc/{pid}/environ", "rb") as f:
            return f.read().split(b"\0")
    except OSError:
        return []


def _children_of(ppid):
    kids = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat") as f:
                if int(f.read().rsplit(")", 1)[1].split()[1]) == ppid:
                    kids.append(int(entry))
        except (OSError, IndexError, ValueError):
            pass
    return kids


@contextlib.contextmanager
def bus_at(address):
    """A private connection: dbus-python's shared session bus would outlive the desktop."""
    import dbus.bus
    bus = dbus.bus.BusConnection(address)
    try:
        yield bus
    finally:
        bus.close()


class Desktop:
    """Xvfb + private session bus + AT-SPI + notifications + tray, per test."""

    def __init__(self, name):
        self.name = name
        root = os.environ.get("FIKRANEST_SCREENSHOT_DIR") or os.path.join(
            os.getcwd(), "screenshots")
        self.artifacts = os.path.join(os.path.abspath(root), name)
        self._shots = 0
        self._stack = contextlib.ExitStack()
        self.env = {}

    # -- bring-up ---------------------------------------------------------

    def __enter__(self):
        try:
            self._start()
        except BaseException:
            self._stack.close()
            raise
        return self

    def __exit__(self, *exc):
        self._stack.close()
        return False

    def _start(self):
        shutil.rmtree(self.artifacts, ignore_errors=True)
        os.makedirs(self.artifacts)
        self.tmp = tempfile.mkdtemp(prefix="fikranest-desktop-")
        self._stack.callback(shutil.rmtree, self.tmp, True)
        self.runtime_dir = os.path.join(self.tmp, "runtime")
        os.mkdir(self.runtime_dir, 0o700)
        # Registered before anything starts so it runs last: whatever was
        # spawned on this desktop and is still around carries our runtime dir.
        self._stack.callback(self._stop_stragglers)

        self._start_xvfb()
        self._start_session_bus()
        self._start_accessibility()
        self._start_notifications()
        self._start_tray()

    def _spawn(self, argv, log, env=None, **kwargs):
        out = open(os.path.join(self.tmp, log), "wb")
        self._stack.callback(out.close)
        proc = subprocess.Popen(argv, env=env or self.base_env(), stdin=subprocess.DEVNULL,
                                stdout=kwargs.pop("stdout", out), stderr=out, **kwargs)
        self._stack.callback(stop_process, proc)
        return proc

    def base_env(self):
        env = {k: v for k, v in os.environ.items()
               if not k.startswith(("WAYLAND_", "QT_", "PYTHON", "AT_SPI_", "XDG_",
                                    "DBUS_", "SESSION_MANAGER", "GTK_MODULES"))}
        env.update(LANG="C.UTF-8", NO_AT_BRIDGE="1")
        env.pop("LC_ALL", None)
        env.pop("LANGUAGE", None)
        env.update(self.env)
        return env

    def _start_xvfb(self):
        rfd, wfd = os.pipe()
        try:
            self._spawn(["Xvfb", "-displayfd", str(wfd), "-screen", "0", SCREEN,
                         "-nolisten", "tcp", "-noreset"], "xvfb.log", pass_fds=(wfd,))
            os.close(wfd)
            wfd = None
            number = _read_line(rfd, 30, "Xvfb")
        finally:
            os.close(rfd)
            if wfd is not None:
                os.close(wfd)
        self.env.update(DISPLAY=f":{number}", XDG_RUNTIME_DIR=self.runtime_dir,
                        XDG_SESSION_TYPE="x11")

    def _start_session_bus(self):
        config = os.path.join(self.tmp, "session.conf")
        with open(config, "w") as f:
            f.write(SESSION_BUS_CONFIG.format(runtime=self.runtime_dir))
        rfd, wfd = os.pipe()
        try:
            proc = self._spawn(["dbus-daemon", "--nofork", f"--config-file={config}",
                                "--print-address=1", f"--print-pid={wfd}"],
                               "dbus.log", stdout=subprocess.PIPE, pass_fds=(wfd,))
            os.close(wfd)
            wfd = None
            address = _read_line(proc.stdout.fileno(), 30, "dbus-daemon")
            pid = int(_read_line(rfd, 30, "dbus-daemon"))
        finally:
            proc.stdout.close()
            os.close(rfd)
            if wfd is not None:
                os.close(wfd)
        assert pid == proc.pid, "dbus-daemon forked despite --nofork"
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address

    def _start_accessibility(self):
        launcher = self._spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"],
                               "at-spi-bus-launcher.log")
        with self.session_bus() as session:
            wait_until(lambda: session.name_has_owner("org.a11y.Bus"), 30,
                       "org.a11y.Bus on the session bus")
            address = str(session.get_object("org.a11y.Bus", "/org/a11y/bus")
                          .GetAddress(dbus_interface="org.a11y.Bus"))
        # Only for our own AT-SPI queries: Qt 6.4 takes AT_SPI_BUS_ADDRESS as
        # "enabled" before its bridge listens, and then never registers.
        self.a11y_address = address
        # The launcher's own bus; stopped before the launcher (stack order).
        for pid in _children_of(launcher.pid):
            self._stack.callback(stop_process, pid)

        # The registry is what makes applications visible to pyatspi; it is
        # activated on the accessibility bus, so start it now and keep its pid.
        with bus_at(address) as a11y:
            a11y.start_service_by_name("org.a11y.atspi.Registry")
            wait_until(lambda: a11y.name_has_owner("org.a11y.atspi.Registry"), 30,
                       "the AT-SPI registry")
            registry = int(a11y.call_blocking(
                "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "GetConnectionUnixProcessID", "s", ("org.a11y.atspi.Registry",)))
        self._stack.callback(stop_process, registry)

    def _start_notifications(self):
        self.notifications_log = os.path.join(self.artifacts, "notifications.jsonl")
        open(self.notifications_log, "w").close()
        self._spawn([PYTHON, os.path.join(HERE, "fake_notifications.py"),
                     "--log", self.notifications_log], "notifications.log")
        with self.session_bus() as session:
            wait_until(lambda: session.name_has_owner("org.freedesktop.Notifications"),
                       30, "the notification daemon")

    def _start_tray(self):
        self.tray = self._spawn(["trayer", "--edge", "top", "--align", "right",
                                 "--widthtype", "request", "--height", "32",
                                 "--SetDockType", "true"], "trayer.log")
        with self.x() as display:
            selection = display.intern_atom("_NET_SYSTEM_TRAY_S0")
            # An int (X.NONE) until someone owns it, a Window after.
            wait_until(lambda: getattr(display.get_selection_owner(selection), "id", 0), 30,
                       "trayer to own the system tray")

    def _stop_stragglers(self):
        marker = f"XDG_RUNTIME_DIR={self.runtime_dir}".encode()
        me = os.getpid()
        for entry in os.listdir("/proc"):
            if entry.isdigit() and int(entry) != me and marker in _environ_of(int(entry)):
                stop_process(int(entry))

    # -- X ----------------------------------------------------------------

    @contextlib.contextmanager
    def x(self):
        from Xlib import display as xdisplay
        display = xdisplay.Display(self.env["DISPLAY"])
        try:
            yield display
        finally:
            display.close()

    def top_level_windows(self, title=None, pid=None, mapped_only=False):
        """[(window id, title)] of root's children, i.e. windows with no WM."""
        from Xlib import X
        found = []
        with self.x() as d:
            wm_name, utf8 = d.intern_atom("_NET_WM_NAME"), d.intern_atom("UTF8_STRING")
            wm_pid = d.intern_atom("_NET_WM_PID")
            for w in d.screen().root.query_tree().children:
                try:
                    if mapped_only and w.get_attributes().map_state != X.IsViewable:
                        continue
                    prop = w.get_full_property(wm_name, utf8)
                    name = prop.value.decode() if prop else (w.get_wm_name() or "")
                    if isinstance(name, bytes):
                        name = name.decode("latin-1")
                    owner = w.get_full_property(wm_pid, X.AnyPropertyType)
                    owner = int(owner.value[0]) if owner else None
                except Exception:  # windows come and go while we look
                    continue
                if title is not None and normalize(name) != title:
                    continue
                if pid is not None and owner != pid:
                    continue
                found.append((w.id, name))
        return found

    def close_window(self, wid):
        """What a window manager's close button does: WM_DELETE_WINDOW."""
        from Xlib import X
        from Xlib.protocol import event
        with self.x() as d:
            window = d.create_resource_object("window", wid)
            protocols = d.intern_atom("WM_PROTOCOLS")
            delete = d.intern_atom("WM_DELETE_WINDOW")
            supported = window.get_wm_protocols() or []
            if delete not in supported:
                raise AssertionError(f"window {wid:#x} does not take WM_DELETE_WINDOW")
            message = event.ClientMessage(window=window, client_type=protocols,
                                          data=(32, [delete, X.CurrentTime, 0, 0, 0]))
            window.send_event(message, event_mask=X.NoEventMask)
            d.sync()

    def tray_icons(self, pid=None):
        """Root-relative (x, y, w, h, window id) of icons docked in trayer."""
        from Xlib import X
        icons = []
        with self.x() as d:
            xembed, wm_pid = d.intern_atom("_XEMBED_INFO"), d.intern_atom("_NET_WM_PID")
            root = d.screen().root

            def visit(w, inside_tray):
                try:
                    attrs = w.get_attributes()
                    owner = w.get_full_property(wm_pid, X.AnyPropertyType)
                    owner = int(owner.value[0]) if owner else None
                    if not inside_tray:
                        inside_tray = owner == self.tray.pid
                    elif (attrs.map_state == X.IsViewable
                          and w.get_full_property(xembed, X.AnyPropertyType)
                          and (pid is None or owner in (None, pid))):
                        geo = w.get_geometry()
                        pos = w.translate_coords(root, 0, 0)
                        icons.append((-pos.x, -pos.y, geo.width, geo.height, w.id))
                        return
                    for child in w.query_tree().children:
                        visit(child, inside_tray)
                except Exception:
                    pass

            for top in root.query_tree().children:
                visit(top, False)
        return icons

    def xdotool(self, *args):
        subprocess.run(["xdotool", *map(str, args)], env=self.base_env(), check=True,
                       timeout=30, capture_output=True)

    def click(self, x, y, button=1):
        self.xdotool("mousemove", x, y)
        self.xdotool("click", button)

    def click_tray_icon(self, pid=None, timeout=15):
        icons = wait_until(lambda: self.tray_icons(pid), timeout, "a tray icon")
        x, y, w, h, _ = icons[0]
        self.click(x + w // 2, y + h // 2)

    def screenshot(self, step):
        self._shots += 1
        step = re.sub(r"[^\w.-]+", "-", step).strip("-")
        path = os.path.join(self.artifacts, f"{self._shots:02d}-{step}.png")
        subprocess.run(["import", "-window", "root", path], env=self.base_env(),
                       check=True, timeout=60, capture_output=True)
        return path

    # -- D-Bus ------------------------------------------------------------

    def notifications(self, method="Notify"):
        with open(self.notifications_log, encoding="utf-8") as f:
            calls = [json.loads(line) for line in f if line.strip()]
        return [c for c in calls if method is None or c["method"] == method]

    def click_notification(self, nid, action="default"):
        """Plays the user clicking a notification the fake server is showing."""
        import dbus
        with self.session_bus() as bus:
            server = bus.get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications")
            dbus.Interface(server, "org.freedesktop.Notifications.TestControl").InvokeAction(
                dbus.UInt32(nid), action)

    def session_bus(self):
        return bus_at(self.env["DBUS_SESSION_BUS_ADDRESS"])

    # -- AT-SPI -----------------------------------------------------------

    def atspi(self, **request):
        env = dict(self.base_env(), AT_SPI_BUS_ADDRESS=self.a11y_address)
        result = subprocess.run([PYTHON, os.path.abspath(__file__), "--atspi",
                                 json.dumps(request)], env=env,
                                capture_output=True, text=True, timeout=120)
        if result.returncode != 0:
            raise RuntimeError(f"AT-SPI query {request} failed:\n{result.stderr}")
        return json.loads(result.stdout)

    def app(self, binary=None):
        app = App(self, binary)
        self._stack.callback(app.stop)
        return app


class App:
    """The program under test on a Desktop, with its own XDG folders."""

    def __init__(self, desktop, binary=None):
        self.desktop = desktop
        self.binary = os.path.abspath(binary or os.environ.get("FIKRANEST_BIN") or DEFAULT_BIN)
        if not os.access(self.binary, os.X_OK):
            raise FileNotFoundError(f"no program at {self.binary} (set FIKRANEST_BIN)")
        self.home = tempfile.mkdtemp(prefix="fikranest-home-")
        self.data_home = os.path.join(self.home, "data")
        self.config_home = os.path.join(self.home, "config")
        self.cache_home = os.path.join(self.home, "cache")
        for d in (self.data_home, self.config_home, self.cache_home):
            os.mkdir(d, 0o700)
        self.env = desktop.base_env()
        self.clock_offset_file = os.path.join(self.home, "clock-offset")
        self.env.update(HOME=self.home, XDG_DATA_HOME=self.data_home,
                        XDG_CONFIG_HOME=self.config_home, XDG_CACHE_HOME=self.cache_home,
                        FIKRANEST_CLOCK_OFFSET_FILE=self.clock_offset_file,
                        QT_QPA_PLATFORM="xcb", QT_QUICK_BACKEND="software",
                        QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
        self.proc = None
        self._runs = 0
        self._logs = []

    @property
    def settings_path(self):
        return os.path.join(self.config_home, "Fikranest", "Fikranest.conf")

    @property
    def database_path(self):
        return os.path.join(self.data_home, "Fikranest", "Fikranest.sqlite")

    def write_settings(self, text):
        os.makedirs(os.path.dirname(self.settings_path), exist_ok=True)
        with open(self.settings_path, "w", encoding="utf-8") as f:
            f.write(text)

    @property
    def reminders_path(self):
        return os.path.join(self.data_home, "Fikranest", "reminders.json")

    def pending_reminders(self):
        """What the program keeps waiting to be shown (its own file, read as is)."""
        if not os.path.exists(self.reminders_path):
            return []
        with open(self.reminders_path, encoding="utf-8") as f:
            data = json.load(f)
        return data["requests"] if isinstance(data, dict) else data

    def move_clock(self, seconds):
        """Moves the program's clock (test builds only) as a changed system clock would."""
        tmp = self.clock_offset_file + ".tmp"
        with open(tmp, "w") as f:
            f.write(str(int(seconds * 1000)))
        os.replace(tmp, self.clock_offset_file)

    def _log_files(self):
        self._runs += 1
        base = os.path.join(self.desktop.artifacts, f"fikranest-{self._runs}")
        out, err = open(base + ".stdout", "wb"), open(base + ".stderr", "wb")
        self._logs.append(base)
        return out, err

    def start(self, *args):
        out, err = self._log_files()
        with out, err:
            self.proc = subprocess.Popen([self.binary, *args], env=self.env,
                                         stdin=subprocess.DEVNULL, stdout=out, stderr=err)
        return self.proc

    def run_again(self, *args, timeout=30):
        """A second launch with the same environment; returns its exit status."""
        out, err = self._log_files()
        try:
            with out, err:
                return subprocess.run([self.binary, *args], env=self.env, stdin=subprocess.DEVNULL,
                                      stdout=out, stderr=err, timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            raise AssertionError(f"second launch still running after {timeout}s\n"
                                 f"{self.output()}") from None

    def stop(self):
        if self.proc is not None:
            stop_process(self.proc)
        for pid in self.processes():
            stop_process(pid)
        shutil.rmtree(self.home, ignore_errors=True)

    def output(self):
        """All captured stdout/stderr, for failure messages."""
        parts = []
        for base in self._logs:
            for ext in (".stdout", ".stderr"):
                with open(base + ext, errors="replace") as f:
                    text = f.read().strip()
                if text:
                    parts.append(f"--- {os.path.basename(base)}{ext}\n{text[-4000:]}")
        return "\n".join(parts) or "(no output)"

    @property
    def pid(self):
        return self.proc.pid

    def running(self):
        return self.proc is not None and self.proc.poll() is None

    def processes(self):
        """Pids of this program running on this desktop."""
        marker = f"XDG_RUNTIME_DIR={self.desktop.runtime_dir}".encode()
        pids = []
        for entry in os.listdir("/proc"):
            if not entry.isdigit():
                continue
            try:
                exe = os.readlink(f"/proc/{entry}/exe")
            except OSError:
                continue
            if exe == os.path.realpath(self.binary) and _alive(int(entry)) \
                    and marker in _environ_of(int(entry)):
                pids.append(int(entry))
        return pids

    # -- AT-SPI -----------------------------------------------------------

    def _query(self, op, **kw):
        return self.desktop.atspi(op=op, pid=self.pid, **kw)

    def registered(self):
        """True once the program shows up on the accessibility bus."""
        return self._query("app")

    def tree(self):
        return json.dumps(self._query("tree"), ensure_ascii=False, indent=1)

    def frames(self, name=None, showing=None):
        frames = self._query("frames")
        return [f for f in frames
                if (name is None or normalize(f["name"]) == name)
                and (showing is None or ("showing" in f["states"]) == showing)]

    def _alive_and(self, predicate):
        """A predicate for wait_until that gives up at once if the program died."""
        def check():
            if not self.running():
                raise AssertionError(f"the program exited with status {self.proc.poll()}\n"
                                     f"{self.output()}")
            return predicate()
        return check

    def wait_frame(self, name, timeout=20, showing=True):
        try:
            return wait_until(self._alive_and(lambda: self.frames(name, showing)), timeout,
                              f'frame "{name}" (showing={showing})', 0.5)[0]
        except WaitTimeout as e:
            self.desktop.screenshot(f"no-frame-{name}")
            raise AssertionError(f"{e}\nAT-SPI tree:\n{self.tree()}\n{self.output()}") from None

    def find(self, name, role=None, frame=None):
        return self._query("find", name=name, role=role, frame=frame)

    def wait_find(self, name, role=None, frame=None, timeout=20):
        try:
            return wait_until(self._alive_and(lambda: self.find(name, role, frame)), timeout,
                              f'"{name}" ({role or "any role"})', 0.5)
        except WaitTimeout as e:
            self.desktop.screenshot(f"not-found-{name}")
            raise AssertionError(f"{e}\nAT-SPI tree:\n{self.tree()}\n{self.output()}") from None

    def press(self, name, role="push button", frame=None, timeout=20):
        self.wait_find(name, role, frame, timeout)
        done = self._query("press", name=name, role=role, frame=frame)
        if not done:
            raise AssertionError(f'"{name}" ({role}) has no press/click action')
        return done

    def text(self, name=None, role=None, frame=None):
        """A field's content; for anything else (labels) what it reads out."""
        node = self.find(name, role, frame)
        if node is None:
            return None
        if "editable" in node["states"]:
            return node["text"]
        return node["text"] or node["name"]

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
                wait_until(lambda: normalize(self.text(name, role, frame)) == normalize(text),
                           3, "typed text", 0.3)
                return
        raise AssertionError(f'could not type "{text}"; field holds "{self.text(name, role, frame)}"')

    # -- X ----------------------------------------------------------------

    def windows(self, title, mapped_only=False):
        return [w for w, _ in self.desktop.top_level_windows(title, self.pid, mapped_only)]

    def close_window(self, title):
        wid = wait_until(lambda: self.windows(title, mapped_only=True), 20,
                         f'a mapped window "{title}"')[0]
        self.desktop.close_window(wid)
        return wid

    def click_tray_icon(self, timeout=15):
        self.desktop.click_tray_icon(self.pid, timeout)

    def tray_icon_present(self):
        return bool(self.desktop.tray_icons(self.pid))


# -- the AT-SPI side, run in a child process ------------------------------

def _node(acc, with_children=False, depth=0):
    try:
        text = acc.queryText().getText(0, -1)
    except NotImplementedError:
        text = None
    try:
        action = acc.queryAction()
        actions = [action.getName(i) for i in range(action.nActions)]
    except NotImplementedError:
        actions = []
    try:
        box = acc.queryComponent().getExtents(0)
        extents = [box.x, box.y, box.width, box.height]
    except NotImplementedError:
        extents = None
    node = {"name": acc.name, "role": acc.getRoleName(), "text": text, "path": acc.path,
            "extents": extents,
            "states": sorted(s.value_nick for s in acc.getState().getStates()),
            "actions": actions}
    if with_children and depth < 40:
        node["children"] = [_node(c, True, depth + 1) for c in acc if c is not None]
    return node


def _descendants(acc, depth=0):
    if depth > 40:
        return
    for child in acc:
        if child is None:
            continue
        yield child
        yield from _descendants(child, depth + 1)


def _matches(tops, name, role):
    """(top-level, accessible) pairs with this name and role, depth first."""
    for top in tops:
        for acc in [top, *_descendants(top)]:
            if (name is None or normalize(acc.name) == name) and \
                    (not role or acc.getRoleName() == role):
                yield top, acc


def _atspi_main(request):
    import pyatspi
    desktop = pyatspi.Registry.getDesktop(0)
    app = None
    for candidate in desktop:
        try:
            if candidate is not None and candidate.get_process_id() == request["pid"]:
                app = candidate
                break
        except Exception:  # applications that have gone away
            continue
    op = request["op"]
    if op == "app":
        return app is not None
    if app is None:
        return [] if op == "frames" else None
    tops = [c for c in app if c is not None]
    if op == "tree":
        return _node(app, with_children=True)
    if op == "frames":
        return [_node(c) for c in tops]

    scope = [c for c in tops if not request.get("frame") or normalize(c.name) == request["frame"]]
    found = list(_matches(scope, request.get("name"), request.get("role")))
    # What a person would reach: later items are drawn on top (a sheet over the page under it),
    # so the last one showing; failing that, the first in tree order.
    showing = [m for m in found if m[1].getState().contains(pyatspi.STATE_SHOWING)]
    if not found:
        return None
    top, target = showing[-1] if showing else found[0]
    if op == "find":
        return dict(_node(target), frame=top.name)
    if op == "press":
        action = target.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
        for wanted in ("press", "click", "activate"):
            for i, name in enumerate(names):
                if name.lower() == wanted:
                    action.doAction(i)
                    return name
        return None
    if op == "focus":
        return bool(target.queryComponent().grabFocus())
    raise ValueError(f"unknown AT-SPI op {op}")


if __name__ == "__main__":
    if len(sys.argv) == 3 and sys.argv[1] == "--atspi":
        print(json.dumps(_atspi_main(json.loads(sys.argv[2])), ensure_ascii=False))
    else:
        sys.exit("usage: harness.py --atspi JSON")
