#!/usr/bin/python3
"""The program on a Wayland desktop: sway, headless, with its bar as the tray."""

import contextlib
import json
import os
import pwd
import shutil
import socket
import sqlite3
import struct
import subprocess
import tempfile
import unittest

from harness import DEFAULT_BIN, Session, stop_process, wait_until, bus_at

MAIN = "الفكرون"
PANEL = "لوحة الفكرون"
# sway refuses to run as root; scripts/test makes this user when it is missing.
USER = "fikranest-test"
SWAY_CONFIG = """output HEADLESS-1 resolution 1280x800
focus_on_window_activation focus
bar {
    status_command true
    tray_output *
}
"""
# Listens where sway's user can reach it and lets both users in: the bar is sway's, the
# program the test's own.
BUS_CONFIG = """<busconfig>
  <type>session</type>
  <listen>unix:dir={runtime}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


def _string(data):
    length, = struct.unpack_from("<I", data)
    return data[4:4 + length - 1].decode()


def activation_token(display):
    """Asks the compositor for an xdg-activation token over the bare Wayland protocol, as
    a launcher does for what it starts."""
    with socket.socket(socket.AF_UNIX) as wayland:
        wayland.connect(display)
        wayland.settimeout(10)

        def send(obj, opcode, *args):
            payload = b"".join(struct.pack("<I", a) if isinstance(a, int) else
                               struct.pack("<I", len(a) + 1) + a.encode() + b"\0" * (4 - len(a) % 4)
                               for a in args)
            wayland.sendall(struct.pack("<II", obj, (8 + len(payload)) << 16 | opcode) + payload)

        def events():
            pending = b""
            while True:
                while len(pending) >= 8 and len(pending) >= (size := struct.unpack_from("<I", pending, 4)[0] >> 16):
                    obj, opcode = struct.unpack_from("<IH", pending)
                    assert (obj, opcode) != (1, 0), f"Wayland error: {pending[8:size]!r}"
                    yield obj, opcode, pending[8:size]
                    pending = pending[size:]
                received = wayland.recv(4096)
                assert received, "the compositor hung up"
                pending += received

        send(1, 1, 2)  # wl_display.get_registry -> 2
        send(1, 0, 3)  # wl_display.sync -> 3, done once every global was told
        stream = events()
        activation = None
        for obj, opcode, data in stream:
            if obj == 2 and _string(data[4:]) == "xdg_activation_v1":
                activation = struct.unpack_from("<I", data)[0]
            if obj == 3:
                break
        assert activation, "the compositor offers no xdg_activation_v1"
        send(2, 0, activation, "xdg_activation_v1", 1, 4)  # wl_registry.bind -> 4
        send(4, 1, 5)  # get_activation_token -> 5
        send(5, 3)  # commit
        return next(_string(data) for obj, opcode, data in stream if obj == 5)


class Sway(Session):
    """A headless sway and its bar, on a session bus of their own, run as USER (or as
    whoever runs the test when that is not root); the program runs as the test does."""

    def __init__(self, name):
        super().__init__(name)
        self.binary = os.path.abspath(os.environ.get("FIKRANEST_BIN") or DEFAULT_BIN)

    def _start(self):
        self.tmp = tempfile.mkdtemp(prefix="fikranest-wayland-")
        self._stack.callback(shutil.rmtree, self.tmp, True)
        os.chmod(self.tmp, 0o755)
        self.as_user = []
        self.runtime = os.path.join(self.tmp, "sway-runtime")
        os.mkdir(self.runtime, 0o700)
        if os.geteuid() == 0:
            user = pwd.getpwnam(USER)
            os.chown(self.runtime, user.pw_uid, user.pw_gid)
            self.as_user = ["setpriv", f"--reuid={user.pw_uid}", f"--regid={user.pw_gid}", "--init-groups"]
        self.home = os.path.join(self.tmp, "home")
        for folder in ("runtime", "data", "config", "cache"):
            os.makedirs(os.path.join(self.home, folder), 0o700)
        for name, text in (("bus.conf", BUS_CONFIG.format(runtime=self.runtime)), ("sway.conf", SWAY_CONFIG)):
            with open(os.path.join(self.tmp, name), "w") as f:
                f.write(text)
        clean = {k: v for k, v in os.environ.items()
                 if not k.startswith(("WAYLAND_", "QT_", "PYTHON", "XDG_", "DBUS_", "DISPLAY", "SWAYSOCK", "I3SOCK"))}
        self.env = dict(clean, LANG="C.UTF-8", XDG_RUNTIME_DIR=self.runtime)
        bus = self._spawn([*self.as_user, "dbus-daemon", "--nofork", f"--config-file={self.tmp}/bus.conf",
                           "--print-address=1"], "dbus", stdout=subprocess.PIPE)
        with bus.stdout:
            self.env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        self._spawn([*self.as_user, "sway", "-c", f"{self.tmp}/sway.conf"], "sway",
                    env=dict(self.env, HOME=self.tmp, WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1",
                             WLR_RENDERER="pixman"))
        self.display = wait_until(lambda: next((os.path.join(self.runtime, n) for n in os.listdir(self.runtime)
                                                if n.startswith("wayland-") and not n.endswith(".lock")), None),
                                  30, "sway's Wayland socket")
        self.env.update(WAYLAND_DISPLAY=self.display, XDG_SESSION_TYPE="wayland",
                        SWAYSOCK=wait_until(lambda: next((os.path.join(self.runtime, n) for n in os.listdir(
                            self.runtime) if n.startswith("sway-ipc.")), None), 30, "sway's IPC socket"))
        with bus_at(self.env["DBUS_SESSION_BUS_ADDRESS"]) as bus:
            wait_until(lambda: bus.name_has_owner("org.kde.StatusNotifierWatcher"), 30, "the bar's tray")
        # The machine's keyboard, there from the start as on any desktop; each wtype that
        # types brings its own and goes.
        self._spawn(["wtype", "-s", "86400000", "-k", "Shift_L"], "keyboard")
        self.program_env = dict(self.env, HOME=self.home, XDG_RUNTIME_DIR=f"{self.home}/runtime",
                                XDG_DATA_HOME=f"{self.home}/data", XDG_CONFIG_HOME=f"{self.home}/config",
                                XDG_CACHE_HOME=f"{self.home}/cache")
        self.database = os.path.join(self.home, "data", "Fikranest", "Fikranest.sqlite")

    def _spawn(self, argv, log, env=None, **kwargs):
        out = self._stack.enter_context(open(os.path.join(self.artifacts, log + ".log"), "ab"))
        proc = subprocess.Popen(argv, env=env or self.env, stdin=subprocess.DEVNULL,
                                stdout=kwargs.pop("stdout", out), stderr=out, **kwargs)
        self._stack.callback(stop_process, proc)
        return proc

    def launch(self, *args, env=()):
        """Starts the program; it outlives the call as long as this desktop does."""
        return self._spawn([self.binary, *args], "fikranest", env=dict(self.program_env, **dict(env)))

    def output(self):
        with open(os.path.join(self.artifacts, "fikranest.log"), errors="replace") as f:
            return f.read()[-4000:]

    def run(self, *argv):
        return subprocess.run(argv, env=self.env, check=True, timeout=30, capture_output=True, text=True).stdout

    def windows(self, **match):
        """sway's view of each window, with "floating" added, those that match `match`."""
        found = []

        def walk(node, floating):
            if node.get("app_id") or node.get("window"):
                found.append(dict(node, floating=floating))
            for child in node.get("nodes", []):
                walk(child, floating)
            for child in node.get("floating_nodes", []):
                walk(child, True)
        walk(json.loads(self.run("swaymsg", "-t", "get_tree")), False)
        return [w for w in found if all(w.get(k) == v for k, v in match.items())]

    def window(self, what, **match):
        return wait_until(lambda: self.windows(**match), 20, what)[0]

    def activate_tray_item(self):
        """What a click on the icon in the bar does: Activate on the item the program registered."""
        with bus_at(self.env["DBUS_SESSION_BUS_ADDRESS"]) as bus:
            watcher = bus.get_object("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher")
            item = wait_until(lambda: watcher.Get("org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems",
                                                  dbus_interface="org.freedesktop.DBus.Properties"), 30,
                              "a registered tray item")[0]
            service, _, path = str(item).partition("/")
            bus.get_object(service, "/" + path if path else "/StatusNotifierItem").Activate(
                0, 0, dbus_interface="org.kde.StatusNotifierItem")

    def screenshot(self, step, window):
        self._shots += 1
        rect = window["rect"]
        path = os.path.join(self.artifacts, f"{self._shots:02d}-{step}.png")
        self.run("grim", "-g", f"{rect['x']},{rect['y']} {rect['width']}x{rect['height']}", path)
        return path

    def ideas(self):
        if not os.path.exists(self.database):
            return []
        with contextlib.closing(sqlite3.connect(f"file:{self.database}?mode=ro", uri=True)) as db:
            return [title for title, in db.execute("SELECT title FROM Idea")]


class WaylandTest(unittest.TestCase):
    def test_native_windows_a_floating_panel_from_the_tray_and_activation_on_a_second_launch(self):
        sway = self.enterContext(Sway(self.id().split(".", 1)[1]))
        os.makedirs(os.path.join(sway.home, "config", "Fikranest"))
        with open(os.path.join(sway.home, "config", "Fikranest", "Fikranest.conf"), "w") as f:
            f.write("[General]\nhasCompletedOnboarding=true\nlastSeenVersion=1.1\n")
        sway.launch()
        main = sway.window("the main window", name=MAIN)
        self.assertEqual((main["app_id"], main["shell"], main["floating"]), ("fikranest", "xdg_shell", False),
                         sway.output())
        sway.screenshot("main-window", main)

        sway.activate_tray_item()
        panel = sway.window("the panel", name=PANEL, focused=True)
        self.assertEqual((panel["app_id"], panel["floating"], panel["geometry"]["width"]), ("fikranest", True, 280))
        sway.screenshot("panel", panel)
        # Straight from the keyboard: the panel holds it and its field the focus.
        sway.run("wtype", "فكرة من وايلاند")
        sway.run("wtype", "-k", "Return")
        wait_until(lambda: "فكرة من وايلاند" in sway.ideas(), 10, "the typed idea in the store")
        # Taller by the recent ideas now listed, and still of one size.
        grown = wait_until(lambda: [w for w in sway.windows(name=PANEL)
                                    if w["rect"]["height"] > panel["rect"]["height"]], 10, "the panel to grow")
        sway.screenshot("panel-saved", grown[0])
        sway.run("wtype", "-k", "Escape")
        wait_until(lambda: not sway.windows(name=PANEL), 10, "Escape to close the panel")

        # Away to another workspace, again if an activation Qt asked for earlier brings it back.
        def away():
            sway.run("swaymsg", "workspace", "2")
            return not sway.windows(name=MAIN, focused=True)
        wait_until(away, 10, "the main window to lose the keyboard", 0.5)

        # The launcher's token, handed over, is what lets the running instance take the keyboard.
        token = activation_token(sway.display)
        again = subprocess.run([sway.binary], env=dict(sway.program_env, XDG_ACTIVATION_TOKEN=token),
                               timeout=30, capture_output=True, text=True)
        self.assertEqual(again.returncode, 0, again.stdout + again.stderr)
        sway.window("the main window in front again", name=MAIN, focused=True)
        self.assertEqual(len(sway.windows(app_id="fikranest")), 1)


if __name__ == "__main__":
    unittest.main()
