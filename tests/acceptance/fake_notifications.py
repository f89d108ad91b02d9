#!/usr/bin/python3
"""Notification daemon for the throwaway test desktop.

Owns org.freedesktop.Notifications on the session bus it is started on and
appends every call it receives to --log, one JSON object per line, so tests
can check exactly what the program asked the desktop to show.
"""

import argparse
import itertools
import json

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = "org.freedesktop.Notifications"
PATH = "/org/freedesktop/Notifications"
# Lets a test play the user: click an action or dismiss a notification.
CONTROL = "org.freedesktop.Notifications.TestControl"

CLOSED_BY_CALL = 3


def plain(value):
    """dbus-python values as JSON-friendly ones; raw image bytes only by size."""
    if isinstance(value, (bytes, bytearray)):
        return {"bytes": len(value)}
    if isinstance(value, dbus.Boolean):
        return bool(value)
    if isinstance(value, (int, float, str)):
        return value
    if isinstance(value, dict):
        return {str(k): plain(v) for k, v in value.items()}
    if isinstance(value, (list, tuple)):
        return [plain(v) for v in value]
    return repr(value)


class Notifications(dbus.service.Object):
    def __init__(self, bus, log_path):
        super().__init__(bus, PATH)
        self._ids = itertools.count(1)
        self._log = open(log_path, "a", encoding="utf-8")

    def _record(self, entry):
        self._log.write(json.dumps(entry, ensure_ascii=False) + "\n")
        self._log.flush()

    @dbus.service.method(NAME, in_signature="", out_signature="as")
    def GetCapabilities(self):
        return ["actions", "body", "icon-static", "persistence", "sound"]

    @dbus.service.method(NAME, in_signature="", out_signature="ssss")
    def GetServerInformation(self):
        return ("fake-notifications", "tests", "1.0", "1.2")

    @dbus.service.method(NAME, in_signature="susssasa{sv}i",
                         out_signature="u", byte_arrays=True)
    def Notify(self, app_name, replaces_id, app_icon, summary, body,
               actions, hints, expire_timeout):
        nid = int(replaces_id) or next(self._ids)
        self._record({
            "method": "Notify",
            "id": nid,
            "app_name": plain(app_name),
            "replaces_id": int(replaces_id),
            "app_icon": plain(app_icon),
            "summary": plain(summary),
            "body": plain(body),
            "actions": plain(actions),
            "hints": plain(hints),
            "expire_timeout": int(expire_timeout),
        })
        return nid

    @dbus.service.method(NAME, in_signature="u", out_signature="")
    def CloseNotification(self, nid):
        self._record({"method": "CloseNotification", "id": int(nid)})
        self.NotificationClosed(nid, CLOSED_BY_CALL)

    @dbus.service.signal(NAME, signature="uu")
    def NotificationClosed(self, nid, reason):
        pass

    @dbus.service.signal(NAME, signature="us")
    def ActionInvoked(self, nid, action_key):
        pass

    @dbus.service.method(CONTROL, in_signature="us", out_signature="")
    def InvokeAction(self, nid, action_key):
        self.ActionInvoked(nid, action_key)

    @dbus.service.method(CONTROL, in_signature="uu", out_signature="")
    def Dismiss(self, nid, reason):
        self.NotificationClosed(nid, reason)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--log", required=True)
    args = parser.parse_args()

    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    server = Notifications(bus, args.log)
    # Owning the name last means "name has an owner" == "ready to answer".
    name = dbus.service.BusName(NAME, bus, do_not_queue=True)
    GLib.MainLoop().run()
    del server, name


if __name__ == "__main__":
    main()
