#!/usr/bin/python3
"""The login manager, as far as it keeps a PC awake and on, and a dock that shows programs' progress, on
the session's message bus. Prints the bus's address, and then a line for all that it is told. Ends with
its input."""

import os

import dbus
import dbus.service
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib


def say(*words):
    print(*words, flush=True)


def released(lock, _):
    os.close(lock)
    say("released")
    return False


class Manager(dbus.service.Object):
    @dbus.service.method("org.freedesktop.login1.Manager", "ssss", "h")
    def Inhibit(self, what, _who, why, mode):
        ours, theirs = os.pipe()
        GLib.io_add_watch(ours, GLib.IO_HUP, released)  # the last holder of the lock is gone
        say("inhibited", what, mode, why)
        lock = dbus.types.UnixFd(theirs)
        os.close(theirs)
        return lock


def update(_program, values):
    say("progress", round(100 * values["progress"]) if values["progress-visible"] else "none")


DBusGMainLoop(set_as_default=True)
bus = dbus.SessionBus()
name = dbus.service.BusName("org.freedesktop.login1", bus)
manager = Manager(bus, "/org/freedesktop/login1")
bus.add_signal_receiver(update, "Update", "com.canonical.Unity.LauncherEntry")
say(os.environ["DBUS_SESSION_BUS_ADDRESS"])
loop = GLib.MainLoop()
GLib.io_add_watch(0, GLib.IO_HUP, lambda *_: loop.quit())
loop.run()
