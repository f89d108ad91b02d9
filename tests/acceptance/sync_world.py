#!/usr/bin/python3
"""What sync tests stand on: a real CalDAV server (Radicale on loopback, one htpasswd
user), a private session bus with GNOME Keyring unlocked on it as the secret store,
homes for as many Fikranest installs as a test wants, and a phone (python3-caldav)."""

import contextlib
import http.server
import os
import shutil
import socket
import sqlite3
import subprocess
import tempfile
import threading
import urllib.request

from harness import DEFAULT_BIN, bus_at, stop_process, wait_until

PYTHON = "/usr/bin/python3"
USER = "nour"
PASSWORD = "كلمة سرّ 42"


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def start_keyring(stack, env, folder):
    """GNOME Keyring on the bus of `env`, unlocked, as the secret store."""
    keyring = subprocess.Popen(["gnome-keyring-daemon", "--unlock", "--components=secrets", "--foreground"],
                               env=dict(env, HOME=folder, XDG_DATA_HOME=folder),
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    keyring.stdin.write(b"test keyring password")
    keyring.stdin.close()
    stack.callback(stop_process, keyring)
    with bus_at(env["DBUS_SESSION_BUS_ADDRESS"]) as session:
        wait_until(lambda: session.name_has_owner("org.freedesktop.secrets"), 20, "the keyring")


class Radicale:
    def __init__(self, folder, password=PASSWORD):
        self.folder = folder
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}/"
        with open(os.path.join(folder, "users"), "w", encoding="utf-8") as f:
            f.write(f"{USER}:{password}\n")
        self.config = os.path.join(folder, "config")
        with open(self.config, "w") as f:
            f.write(f"[server]\nhosts = 127.0.0.1:{self.port}\n[auth]\ntype = htpasswd\n"
                    f"htpasswd_filename = {folder}/users\nhtpasswd_encryption = plain\ndelay = 0\n"
                    f"[rights]\ntype = owner_only\n[storage]\nfilesystem_folder = {folder}/collections\n"
                    "[web]\ntype = none\n[logging]\nlevel = critical\n")
        self.process = None
        self.start()

    def start(self):
        self.process = subprocess.Popen([PYTHON, "-m", "radicale", "--config", self.config],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

        def answers():
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", self.port), 0.2):
                return True
        wait_until(answers, 20, "Radicale to listen")

    def stop(self):
        stop_process(self.process)


class Proxy:
    """A proxy in front of the server: with `tokens` false it refuses the sync-collection
    report, as servers without sync tokens do; `before_write`, when set, runs once just
    before the first conditional write goes through, as another device writing first."""

    def __init__(self, upstream, tokens=True, before_write=None):
        port = free_port()
        self.url = f"http://127.0.0.1:{port}/"
        self.before_write = before_write
        proxy = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_any(self):
                body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
                if self.command == "PUT" and "If-Match" in self.headers and proxy.before_write:
                    proxy.before_write, run = None, proxy.before_write
                    run()
                if self.command == "REPORT" and b"sync-collection" in body and not tokens:
                    self.send_response(501)
                    self.send_header("Content-Length", "0")
                    self.end_headers()
                    return
                request = urllib.request.Request(upstream.rstrip("/") + self.path, data=body or None,
                                                 method=self.command)
                for name, value in self.headers.items():
                    if name.lower() not in ("host", "content-length", "connection"):
                        request.add_header(name, value)
                try:
                    reply = urllib.request.urlopen(request)
                except urllib.error.HTTPError as error:
                    reply = error
                data = reply.read()
                self.send_response(reply.status)
                for name, value in reply.headers.items():
                    if name.lower() not in ("content-length", "connection", "transfer-encoding"):
                        self.send_header(name, value)
                self.send_header("Content-Length", str(len(data)))
                self.end_headers()
                self.wfile.write(data)

            def log_message(self, *args):
                pass

        for method in ("GET", "PUT", "DELETE", "PROPFIND", "REPORT", "MKCALENDAR", "OPTIONS"):
            setattr(Handler, f"do_{method}", Handler.do_any)
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", port), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def close(self):
        self.server.shutdown()
        self.server.server_close()


class Home:
    """One install of Fikranest: its own folders, the world's bus and keyring."""

    def __init__(self, world, name):
        self.root = os.path.join(world.tmp, name)
        self.env = dict(world.env, HOME=self.root)
        for variable, folder in [("XDG_DATA_HOME", "share"), ("XDG_CONFIG_HOME", "config"),
                                 ("XDG_CACHE_HOME", "cache"), ("XDG_RUNTIME_DIR", "run")]:
            self.env[variable] = os.path.join(self.root, folder)
            os.makedirs(self.env[variable], mode=0o700)
        self.database = os.path.join(self.env["XDG_DATA_HOME"], "Fikranest", "Fikranest.sqlite")

    def run(self, *arguments, stdin=None):
        done = subprocess.run([os.environ.get("FIKRANEST_BIN", DEFAULT_BIN), *arguments], env=self.env,
                              input=stdin, capture_output=True, text=True, timeout=120)
        return done.returncode, (done.stdout + done.stderr).strip()

    def start(self, *arguments):
        return subprocess.Popen([os.environ.get("FIKRANEST_BIN", DEFAULT_BIN), *arguments], env=self.env,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def sync(self):
        status, output = self.run("--sync")
        assert status == 0, output
        return output

    def ideas(self):
        """{title: (category, status, reminderDate)} as the store holds them."""
        with contextlib.closing(sqlite3.connect(f"file:{self.database}?mode=ro", uri=True)) as db:
            rows = db.execute("SELECT title, category, status, reminderDate FROM Idea").fetchall()
        titles = [row[0] for row in rows]
        assert len(titles) == len(set(titles)), f"an idea twice: {sorted(titles)}"
        return {row[0]: row[1:] for row in rows}

    def change(self, sql, *parameters):
        """An edit as the program makes it, while it is not running: the field and updatedAt."""
        with contextlib.closing(sqlite3.connect(self.database)) as db, db:
            db.execute(sql, parameters)


class World(contextlib.ExitStack):
    def __enter__(self):
        super().__enter__()
        self.tmp = tempfile.mkdtemp(prefix="fikranest-sync-")
        self.callback(shutil.rmtree, self.tmp, True)
        runtime = os.path.join(self.tmp, "runtime")
        os.mkdir(runtime, 0o700)
        env = {k: v for k, v in os.environ.items() if not k.startswith(("XDG_", "DBUS_", "QT_", "DISPLAY"))}
        env.update(LANG="C.UTF-8", QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=runtime)
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                               env=env, stdout=subprocess.PIPE)
        self.callback(stop_process, bus)
        with bus.stdout:
            env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
        start_keyring(self, env, os.path.join(self.tmp, "keyring"))
        self.env = env
        self.server = Radicale(self.tmp)
        self.callback(self.server.stop)
        return self

    def home(self, name):
        return Home(self, name)

    def phone(self, url=None):
        return phone(url or self.server.url)


def phone(url, password=PASSWORD):
    """A second CalDAV client, as a phone's task app is."""
    import caldav
    return caldav.DAVClient(url, username=USER, password=password).principal()
