#!/usr/bin/python3
"""A screen reader without a voice, on a message bus of its own. Prints the bus's address and then what
it is told, a line each: "window NAME" with all that is in it for one that becomes active, up to "end of
window"; "reached PERCENT" and "changed NAME". In the window that became active last it acts on lines of
input: "press NAME", the action of what has that name or, without one, of the default button; "write
TEXT" into what can be written in."""

import os
import time

import dbus
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

ATSPI = "org.a11y.atspi."
# Numbers of the published interface.
LABELLED_BY = 2
CHECKED, EDITABLE, ENABLED, FOCUSED, SHOWING, DEFAULT = 4, 7, 8, 12, 25, 39
STATE_WORDS = {CHECKED: "checked", FOCUSED: "focused", DEFAULT: "default"}
EVENTS = "window:activate", "object:property-change", "object:property-change:accessible-value"
GONE = "UnknownInterface", "UnknownObject", "UnknownMethod", "NoReply", "ServiceUnknown", "Disconnected"


def say(*lines):
    print(*lines, sep="\n", flush=True)


def unless_gone(handler):
    """A page may have left the screen by the time it is asked."""
    def handle(*arguments, **options):
        try:
            handler(*arguments, **options)
        except dbus.DBusException as error:
            if not error.get_dbus_name().endswith(GONE):
                raise
    return handle


class Node:
    def __init__(self, sender, path):
        self.object = accessibility.get_object(sender, path, introspect=False)
        self.misplaced = False

    def call(self, interface, method, *arguments):
        return self.object.get_dbus_method(method, ATSPI + interface)(*arguments)

    def get(self, interface, name):
        return self.object.Get(ATSPI + interface, name, dbus_interface=dbus.PROPERTIES_IFACE)

    def role(self):
        return self.call("Accessible", "GetRoleName")

    def name(self):
        return " ".join(self.get("Accessible", "Name").split())

    def states(self):
        low, high = self.call("Accessible", "GetState")
        return {bit for bit in range(64) if (low | high << 32) >> bit & 1}

    def parts(self):
        """All that shows in it, in the order of the tree; from top to bottom, or it is misplaced."""
        lowest = 0
        for child in self.call("Accessible", "GetChildren"):
            part = Node(*child)
            if SHOWING not in part.states():
                continue
            _, top, _, _ = part.call("Component", "GetExtents", dbus.UInt32(0))
            part.misplaced, lowest = top < lowest, top
            yield part
            yield from part.parts()

    def line(self):
        states = self.states()
        labels = [Node(*target).name() for kind, targets in self.call("Accessible", "GetRelationSet")
                  for target in targets if kind == LABELLED_BY]
        words = [f"{self.role()}: {self.name() or 'NAMELESS'}"]
        words += ["labelled" for label in labels if label == self.name()]
        words += filter(None, [self.get("Accessible", "Description")])
        words += ["MISPLACED"] if self.misplaced else []
        words += [word for state, word in STATE_WORDS.items() if state in states]
        return " | ".join(words + ([] if ENABLED in states else ["disabled"]))


@unless_gone
def activated(*_, sender=None, path=None):
    global window
    window = Node(sender, path)
    lines = [part.line() for part in window.parts()]
    say("window " + window.name(), *lines, "end of window")


@unless_gone
def changed(what, *_, sender=None, path=None):
    node = Node(sender, path)
    if what != "accessible-value":
        say("changed " + node.name())
    elif node.role() == "progress bar":
        value, whole = node.get("Value", "CurrentValue"), node.get("Value", "MaximumValue")
        say(f"reached {round(100 * value / whole)}")


@unless_gone
def act(command, words):
    if command == "write":
        editable = next(part for part in window.parts() if EDITABLE in part.states())
        editable.call("EditableText", "SetTextContents", words)
    else:
        wanted = next(part for part in window.parts()
                      if (part.name() == words if words else DEFAULT in part.states()))
        while ENABLED not in wanted.states():
            time.sleep(0.01)
        wanted.call("Action", "DoAction", 0)


def read(_channel, _condition):
    lines = os.read(0, 4096).decode()
    if not lines:
        loop.quit()
    for line in lines.splitlines():
        command, _, words = line.partition(" ")
        act(command, words)
    return True


DBusGMainLoop(set_as_default=True)
loop = GLib.MainLoop()
launcher = dbus.SessionBus().get_object("org.a11y.Bus", "/org/a11y/bus")
launcher.Set("org.a11y.Status", "IsEnabled", True, dbus_interface=dbus.PROPERTIES_IFACE)
accessibility = dbus.bus.BusConnection(launcher.GetAddress(dbus_interface="org.a11y.Bus"))
for handler, kind, member in ((activated, "Window", "Activate"), (changed, "Object", "PropertyChange")):
    accessibility.add_signal_receiver(handler, member, ATSPI + "Event." + kind,
                                      sender_keyword="sender", path_keyword="path")
registry = accessibility.get_object(ATSPI + "Registry", "/org/a11y/atspi/registry")
for event in EVENTS:
    registry.RegisterEvent(event, dbus.Array([], "s"), "", dbus_interface=ATSPI + "Registry")
GLib.io_add_watch(0, GLib.IO_IN | GLib.IO_HUP, read)
say(os.environ["DBUS_SESSION_BUS_ADDRESS"])
loop.run()
