#!/usr/bin/python3
"""Stands in for org.freedesktop.UDisks2 on the bus in DBUS_SYSTEM_BUS_ADDRESS.

    mock_udisks2.py MODE MOUNTPOINT...

One drive holds a file system for every mount point. MODE is one of
    ok         unmounts
    eject      unmounts; the drive cannot power off, only eject
    keep       unmounts; the drive is built in
    gone       says that the file system is not mounted any more
    busy       refuses: a file is open
    denied     refuses: the person may not
    held       unmounts once a line comes in on standard input
Every call is told on standard output, after the line "ready".
"""
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

SERVICE = "org.freedesktop.UDisks2"
ROOT = "/org/freedesktop/UDisks2"
DRIVE = ROOT + "/drives/Pen"
MODE, MOUNT_POINTS = sys.argv[1], sys.argv[2:]

REFUSALS = {
    "busy": ("DeviceBusy", "Error unmounting /dev/sdq1: target is busy"),
    "denied": ("NotAuthorizedCanObtain", "Not authorized to perform operation"),
    "gone": ("NotMounted", "Device '/dev/sdq1' is not mounted"),
}


def say(line):
    print(line, flush=True)


def bytes_of(text):
    return dbus.Array([dbus.Byte(b) for b in text.encode() + b"\0"], signature="y")


class Refusal(dbus.DBusException):
    def __init__(self, name, message):
        super().__init__(message, name=SERVICE + ".Error." + name)


class FileSystem(dbus.service.Object):
    def __init__(self, bus, number, mount_point):
        self.path = "%s/block_devices/sdq%d" % (ROOT, number)
        self.mount_points = [mount_point]
        super().__init__(bus, self.path)

    def interfaces(self):
        points = dbus.Array([bytes_of(p) for p in self.mount_points], signature="ay")
        return {
            SERVICE + ".Block": {
                "Device": bytes_of("/dev/" + self.path.rsplit("/", 1)[1]),
                "Drive": dbus.ObjectPath(DRIVE),
                "IdLabel": "QUILLO",
            },
            SERVICE + ".Filesystem": {"MountPoints": points, "Size": dbus.UInt64(1 << 28)},
        }

    @dbus.service.method(SERVICE + ".Filesystem", "a{sv}", "", async_callbacks=("done", "fail"))
    def Unmount(self, options, done, fail):
        say("Unmount %s %s" % (self.path.rsplit("/", 1)[1], sorted(options)))
        if MODE in REFUSALS:
            fail(Refusal(*REFUSALS[MODE]))
        elif MODE == "held":
            GLib.io_add_watch(0, GLib.IO_IN, self.released, done)
        else:
            self.mount_points = []
            done()

    def released(self, _channel, _condition, done):
        sys.stdin.readline()
        done()
        say("released")
        return False


class Drive(dbus.service.Object):
    path = DRIVE

    def interfaces(self):
        return {
            SERVICE + ".Drive": {
                "Removable": MODE != "keep",
                "Ejectable": MODE != "keep",
                "CanPowerOff": MODE not in ("keep", "eject"),
            }
        }

    @dbus.service.method(SERVICE + ".Drive", "a{sv}", "")
    def PowerOff(self, options):
        say("PowerOff %s" % sorted(options))

    @dbus.service.method(SERVICE + ".Drive", "a{sv}", "")
    def Eject(self, options):
        say("Eject %s" % sorted(options))


class Manager(dbus.service.Object):
    def __init__(self, bus, objects):
        self.objects = objects
        super().__init__(bus, ROOT)

    @dbus.service.method("org.freedesktop.DBus.ObjectManager", "", "a{oa{sa{sv}}}")
    def GetManagedObjects(self):
        def packed(interfaces):
            return dbus.Dictionary(
                {name: dbus.Dictionary(values, signature="sv") for name, values in interfaces.items()},
                signature="sa{sv}",
            )

        return dbus.Dictionary(
            {dbus.ObjectPath(o.path): packed(o.interfaces()) for o in self.objects},
            signature="oa{sa{sv}}",
        )


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
objects = [FileSystem(bus, n + 1, point) for n, point in enumerate(MOUNT_POINTS)]
objects.append(Drive(bus, DRIVE))
manager = Manager(bus, objects)
name = dbus.service.BusName(SERVICE, bus)
say("ready")
GLib.MainLoop().run()
