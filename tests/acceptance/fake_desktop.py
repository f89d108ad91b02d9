#!/usr/bin/python3
"""Desktop services for the throwaway test desktop: fake_desktop.py NOTIFY_LOG FILES_LOG

Owns org.freedesktop.Notifications and org.freedesktop.FileManager1 on the
session bus it is started on and appends every Notify call to NOTIFY_LOG and
every ShowItems call to FILES_LOG, one JSON object per line, so tests can
check exactly what the program asked the desktop to do.
"""

import itertools
import json
import sys

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

NAME = "org.freedesktop.Notifications"
FILE_MANAGER = "org.freedesktop.FileManager1"


class Notifications(dbus.service.Object):
    def __init__(self, bus, log_path):
        super().__init__(bus, "/org/freedesktop/Notifications")
        self._ids = itertools.count(1)
        self._log = open(log_path, "a", encoding="utf-8")
        self._failing = False

    @dbus.service.method(NAME, in_signature="", out_signature="ssss")
    def GetServerInformation(self):
        return ("fake-notifications", "tests", "1.0", "1.2")

    @dbus.service.method(NAME, in_signature="susssasa{sv}i", out_signature="u", byte_arrays=True)
    def Notify(self, app_name, replaces_id, app_icon, summary, body, actions, hints, expire_timeout):
        if self._failing:
            raise dbus.exceptions.DBusException("out of order", name="org.freedesktop.DBus.Error.Failed")
        nid = int(replaces_id) or next(self._ids)
        entry = dict(method="Notify", id=nid, app_name=app_name, replaces_id=replaces_id, app_icon=app_icon,
                     summary=summary, body=body, actions=actions, hints=hints, expire_timeout=expire_timeout)
        # dbus values are str, int, list and dict underneath; raw image bytes end up as their repr.
        self._log.write(json.dumps(entry, ensure_ascii=False, default=repr) + "\n")
        self._log.flush()
        return nid

    @dbus.service.signal(NAME, signature="us")
    def ActionInvoked(self, nid, action_key):
        pass

    # Lets a test play the user clicking a notification.
    @dbus.service.method(NAME + ".TestControl", in_signature="us", out_signature="")
    def InvokeAction(self, nid, action_key):
        self.ActionInvoked(nid, action_key)

    # Lets a test play a server that errors on every Notify.
    @dbus.service.method(NAME + ".TestControl", in_signature="b", out_signature="")
    def SetFailing(self, failing):
        self._failing = bool(failing)


class FileManager(dbus.service.Object):
    def __init__(self, bus, log_path):
        super().__init__(bus, "/org/freedesktop/FileManager1")
        self._log = open(log_path, "a", encoding="utf-8")

    @dbus.service.method(FILE_MANAGER, in_signature="ass", out_signature="")
    def ShowItems(self, uris, startup_id):
        self._log.write(json.dumps(dict(uris=list(uris), startup_id=startup_id)) + "\n")
        self._log.flush()


if __name__ == "__main__":
    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    server = Notifications(bus, sys.argv[1])
    files = FileManager(bus, sys.argv[2])
    # Owning the names last means "name has an owner" == "ready to answer".
    names = [dbus.service.BusName(FILE_MANAGER, bus, do_not_queue=True),
             dbus.service.BusName(NAME, bus, do_not_queue=True)]
    GLib.MainLoop().run()
