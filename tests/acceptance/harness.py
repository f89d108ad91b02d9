#!/usr/bin/python3
"""A throwaway desktop for driving Fikranest the way a person would.

Desktop brings up, per test, its own Xvfb, session bus (nothing
auto-activated on it), accessibility bus and registry, notification daemon
and system tray, and tears all of it down again. App runs the program on it
with fresh XDG folders and drives it through AT-SPI, X and xdotool.

AT-SPI is queried from a short-lived child process (atspi_query.py):
libatspi and libdbus keep their bus connections for the life of a
process, so one process cannot follow a new desktop per test.
"""

import contextlib
import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time

PYTHON = "/usr/bin/python3"
HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_BIN = os.path.join(HERE, "..", "..", "build", "dev", "fikranest")

# No <servicedir>: nothing may be auto-started behind a test's back, so every
# service the program can reach is one this harness started on purpose.
SESSION_BUS_CONFIG = """<busconfig>
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
    while not (value := predicate()):
        if time.monotonic() >= deadline:
            raise WaitTimeout(f"timed out after {timeout:g}s waiting for {what}")
        time.sleep(interval)
    return value


def _alive(pid):
    try:
        with open(f"/proc/{pid}/stat") as f:
            # A zombie nobody reaps is as good as gone.
            return f.read().rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


def _pids(match):
    """Live pids p for which match(p, its environment entries) holds."""
    found = []
    for pid in map(int, filter(str.isdigit, os.listdir("/proc"))):
        with contextlib.suppress(OSError):
            with open(f"/proc/{pid}/environ", "rb") as f:
                if match(pid, f.read().split(b"\0")) and _alive(pid):
                    found.append(pid)
    return found


def stop_process(proc, grace=5.0):
    """SIGTERM, then SIGKILL after grace. proc is a Popen (reaped here) or a pid."""
    popen = isinstance(proc, subprocess.Popen)
    pid = proc.pid if popen else proc
    gone = (lambda: proc.poll() is not None) if popen else (lambda: not _alive(pid))
    with contextlib.suppress(ProcessLookupError):
        if not gone():
            os.kill(pid, signal.SIGTERM)
            try:
                wait_until(gone, grace, f"pid {pid} to exit", 0.05)
            except WaitTimeout:
                os.kill(pid, signal.SIGKILL)
    if popen:
        proc.wait()


def bus_at(address):
    """A private connection: dbus-python's shared session bus would outlive the desktop."""
    import dbus.bus
    return contextlib.closing(dbus.bus.BusConnection(address))


def _prop(d, w, name):
    from Xlib import X
    prop = w.get_full_property(d.intern_atom(name), X.AnyPropertyType)
    return prop.value if prop else None


class Session:
    """What a test starts for itself, stopped in reverse order on the way out, with a
    fresh folder for its screenshots and logs."""

    def __init__(self, name):
        root = os.environ.get("FIKRANEST_SCREENSHOT_DIR") or os.path.join(os.getcwd(), "screenshots")
        self.artifacts = os.path.join(os.path.abspath(root), name)
        self._shots = 0
        self._stack = contextlib.ExitStack()

    def __enter__(self):
        try:
            shutil.rmtree(self.artifacts, ignore_errors=True)
            os.makedirs(self.artifacts)
            self._start()
        except BaseException:
            self._stack.close()
            raise
        return self

    def __exit__(self, *exc):
        self._stack.close()

    def _start(self):
        raise NotImplementedError


class Desktop(Session):
    """Xvfb + private session bus + AT-SPI + notifications + tray, per test."""

    def __init__(self, name, tray=True):
        super().__init__(name)
        self.with_tray = tray
        self.tray = None
        self.env = {}

    def _start(self):
        self.tmp = tempfile.mkdtemp(prefix="fikranest-desktop-")
        self._stack.callback(shutil.rmtree, self.tmp, True)
        self.runtime_dir = os.path.join(self.tmp, "runtime")
        os.mkdir(self.runtime_dir, 0o700)
        # Registered before anything starts so it runs last: whatever was spawned on this
        # desktop and is still around (the accessibility bus and registry) carries our runtime dir.
        self._stack.callback(lambda: [stop_process(p) for p in self._pids_here()])
        self._start_xvfb()
        self._start_session_bus()
        self._start_accessibility()
        self._start_notifications()
        if self.with_tray:
            self.start_tray()

    def _pids_here(self, match=lambda pid: True):
        marker = f"XDG_RUNTIME_DIR={self.runtime_dir}".encode()
        return _pids(lambda pid, environ: pid != os.getpid() and marker in environ and match(pid))

    def _spawn(self, argv, log, **kwargs):
        out = self._stack.enter_context(open(os.path.join(self.tmp, log), "wb"))
        proc = subprocess.Popen(argv, env=self.base_env(), stdin=subprocess.DEVNULL,
                                stdout=kwargs.pop("stdout", out), stderr=out, **kwargs)
        self._stack.callback(stop_process, proc)
        return proc

    def base_env(self):
        env = {k: v for k, v in os.environ.items()
               if not k.startswith(("WAYLAND_", "QT_", "PYTHON", "AT_SPI_", "XDG_", "DBUS_",
                                    "SESSION_MANAGER", "GTK_MODULES", "LC_ALL", "LANGUAGE"))}
        return {**env, "LANG": "C.UTF-8", "NO_AT_BRIDGE": "1", **self.env}

    def _start_xvfb(self):
        rfd, wfd = os.pipe()
        self._spawn(["Xvfb", "-displayfd", str(wfd), "-screen", "0", "1280x800x24",
                     "-nolisten", "tcp", "-noreset"], "xvfb.log", pass_fds=(wfd,))
        os.close(wfd)
        with open(rfd) as pipe:
            number = pipe.readline().strip()
        assert number, "Xvfb did not start"
        self.env.update(DISPLAY=f":{number}", XDG_RUNTIME_DIR=self.runtime_dir, XDG_SESSION_TYPE="x11")

    def _start_session_bus(self):
        config = os.path.join(self.tmp, "session.conf")
        with open(config, "w") as f:
            f.write(SESSION_BUS_CONFIG.format(runtime=self.runtime_dir))
        proc = self._spawn(["dbus-daemon", "--nofork", f"--config-file={config}", "--print-address=1"],
                           "dbus.log", stdout=subprocess.PIPE)
        with proc.stdout:
            self.env["DBUS_SESSION_BUS_ADDRESS"] = proc.stdout.readline().decode().strip()
        assert self.env["DBUS_SESSION_BUS_ADDRESS"], "dbus-daemon did not start"

    def _start_accessibility(self):
        self._spawn(["/usr/libexec/at-spi-bus-launcher", "--launch-immediately"], "at-spi-bus-launcher.log")
        with self.session_bus() as session:
            wait_until(lambda: session.name_has_owner("org.a11y.Bus"), 30, "org.a11y.Bus")
            # Only for our own AT-SPI queries: Qt 6.4 takes AT_SPI_BUS_ADDRESS as
            # "enabled" before its bridge listens, and then never registers.
            self.a11y_address = str(session.get_object("org.a11y.Bus", "/org/a11y/bus")
                                    .GetAddress(dbus_interface="org.a11y.Bus"))
        # The registry is what makes applications visible to pyatspi; it is
        # activated on the accessibility bus, so start it now.
        with bus_at(self.a11y_address) as a11y:
            a11y.start_service_by_name("org.a11y.atspi.Registry")
            wait_until(lambda: a11y.name_has_owner("org.a11y.atspi.Registry"), 30, "the AT-SPI registry")

    def _start_notifications(self):
        self.notifications_log = os.path.join(self.artifacts, "notifications.jsonl")
        self.file_manager_log = os.path.join(self.artifacts, "file-manager.jsonl")
        for log in (self.notifications_log, self.file_manager_log):
            open(log, "w").close()
        self._spawn([PYTHON, os.path.join(HERE, "fake_desktop.py"), self.notifications_log,
                     self.file_manager_log], "fake-desktop.log")
        with self.session_bus() as session:
            wait_until(lambda: session.name_has_owner("org.freedesktop.Notifications"), 30,
                       "the notification daemon")

    def start_tray(self):
        self.tray = self._spawn(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                                 "--height", "32", "--SetDockType", "true"], "trayer.log")
        with self.x() as d:
            selection = d.intern_atom("_NET_SYSTEM_TRAY_S0")
            # An int (X.NONE) until someone owns it, a Window after.
            wait_until(lambda: getattr(d.get_selection_owner(selection), "id", 0), 30,
                       "trayer to own the system tray")

    # -- X ----------------------------------------------------------------

    def x(self):
        from Xlib import display
        return contextlib.closing(display.Display(self.env["DISPLAY"]))

    def top_level_windows(self, title=None, pid=None, mapped_only=False):
        """[(window id, title)] of root's children, i.e. windows with no WM."""
        from Xlib import X
        found = []
        with self.x() as d:
            for w in d.screen().root.query_tree().children:
                with contextlib.suppress(Exception):  # windows come and go while we look
                    name = (_prop(d, w, "_NET_WM_NAME") or b"").decode()
                    owner = _prop(d, w, "_NET_WM_PID")
                    if (not mapped_only or w.get_attributes().map_state == X.IsViewable) \
                            and title in (None, normalize(name)) and pid in (None, owner and owner[0]):
                        found.append((w.id, name))
        return found

    def close_window(self, wid):
        """What a window manager's close button does: WM_DELETE_WINDOW."""
        from Xlib import X
        from Xlib.protocol import event
        with self.x() as d:
            window = d.create_resource_object("window", wid)
            data = (32, [d.intern_atom("WM_DELETE_WINDOW"), X.CurrentTime, 0, 0, 0])
            window.send_event(event.ClientMessage(window=window, client_type=d.intern_atom("WM_PROTOCOLS"),
                                                  data=data), event_mask=X.NoEventMask)
            d.sync()

    def tray_icons(self, pid):
        """Root-relative (x, y, w, h) of pid's icons docked in trayer."""
        from Xlib import X
        icons = []
        with self.x() as d:
            root = d.screen().root

            def visit(w):
                for c in w.query_tree().children:
                    with contextlib.suppress(Exception):
                        owner = _prop(d, c, "_NET_WM_PID")
                        if not (_prop(d, c, "_XEMBED_INFO") and c.get_attributes().map_state == X.IsViewable
                                and (owner is None or owner[0] == pid)):
                            visit(c)
                            continue
                        geo, pos = c.get_geometry(), c.translate_coords(root, 0, 0)
                        icons.append((-pos.x, -pos.y, geo.width, geo.height))
            for wid, _ in self.top_level_windows(pid=self.tray.pid) if self.tray else []:
                visit(d.create_resource_object("window", wid))
        return icons

    def xdotool(self, *args):
        subprocess.run(["xdotool", *map(str, args)], env=self.base_env(), check=True,
                       timeout=30, capture_output=True)

    def click(self, x, y, button=1):
        self.xdotool("mousemove", x, y)
        self.xdotool("click", button)

    def screenshot(self, step):
        self._shots += 1
        step = re.sub(r"[^\w.-]+", "-", step).strip("-")
        path = os.path.join(self.artifacts, f"{self._shots:02d}-{step}.png")
        subprocess.run(["import", "-window", "root", path], env=self.base_env(),
                       check=True, timeout=60, capture_output=True)
        return path

    # -- D-Bus ------------------------------------------------------------

    def notifications(self):
        with open(self.notifications_log, encoding="utf-8") as f:
            return [json.loads(line) for line in f]

    def shown_files(self):
        """The URIs the program asked the file manager to show."""
        with open(self.file_manager_log, encoding="utf-8") as f:
            return [uri for line in f for uri in json.loads(line)["uris"]]

    def click_notification(self, nid, action="default"):
        """Plays the user clicking a notification the fake server is showing."""
        import dbus
        with self.session_bus() as bus:
            server = bus.get_object("org.freedesktop.Notifications", "/org/freedesktop/Notifications")
            server.InvokeAction(dbus.UInt32(nid), action,
                                dbus_interface="org.freedesktop.Notifications.TestControl")

    def session_bus(self):
        return bus_at(self.env["DBUS_SESSION_BUS_ADDRESS"])

    def atspi(self, **request):
        env = dict(self.base_env(), AT_SPI_BUS_ADDRESS=self.a11y_address)
        for _ in range(3):
            result = subprocess.run([PYTHON, os.path.join(HERE, "atspi_query.py"), json.dumps(request)],
                                    env=env, capture_output=True, text=True, timeout=120)
            # An object that went away while the tree was walked: look again.
            if "No such object path" not in result.stderr:
                break
        if result.returncode != 0:
            raise RuntimeError(f"AT-SPI query {request} failed:\n{result.stderr}")
        return json.loads(result.stdout)

    def app(self, binary=None):
        from program import App
        app = App(self, binary)
        self._stack.callback(app.stop)
        return app
