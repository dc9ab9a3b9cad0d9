#!/usr/bin/python3
"""Stands in for org.bluez on the bus in DBUS_SYSTEM_BUS_ADDRESS.

Does what a line on standard input says and answers it with "done":
    adapter NAME on|off           is plugged in, or switched
    unplug NAME
    air ADDRESS NAME [ALIAS]      a pen in reach, seen by scans; NAME "-" for one that tells none
    known ADDRESS NAME [ALIAS]    a pen of earlier days, not heard
    name ADDRESS NAME             a name that comes late
    set ADDRESS PROPERTY VALUE    VALUE as Python has it
    send ADDRESS HEX...           notifications
    drop ADDRESS                  the pen ends the connection
    fault WORD...                 from now on, or as arguments: denied, refused, silent, unresolved, foreign, unnotified
Every call but the reading ones is told on standard output, after the line "ready".
"""
import ast
import sys
import time

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
from gi.repository import GLib

SERVICE = "org.bluez"
ADAPTER, DEVICE = SERVICE + ".Adapter1", SERVICE + ".Device1"
GATT_SERVICE, CHARACTERISTIC, DESCRIPTOR = (
    SERVICE + ".Gatt" + name for name in ("Service1", "Characteristic1", "Descriptor1"))
PROPERTIES, MANAGER = "org.freedesktop.DBus.Properties", "org.freedesktop.DBus.ObjectManager"
UUID = "0000%s-0000-1000-8000-00805f9b34fb"
READING = ("Get", "GetAll", "GetManagedObjects", "SetDiscoveryFilter")

objects, in_reach, faults = {}, {}, set(sys.argv[1:])


def say(line):
    print(line, flush=True)


def emit(path, interface, name, signature, *values):
    signal = dbus.lowlevel.SignalMessage(path, interface, name)
    signal.append(*values, signature=signature)
    bus.send_message(signal)


def add(path, interface, **properties):
    objects[path] = {interface: {key: value for key, value in properties.items() if value is not None}}
    emit("/", MANAGER, "InterfacesAdded", "oa{sa{sv}}", path, objects[path])


def remove(path):
    for gone in [p for p in objects if (p + "/").startswith(path + "/")]:
        emit("/", MANAGER, "InterfacesRemoved", "oas", gone, list(objects.pop(gone)))


def change(path, **properties):
    """None takes a property away."""
    (interface, values), = objects[path].items()
    values.update(properties)
    gone = [key for key in properties if values[key] is None]
    for key in gone:
        del values[key], properties[key]
    emit(path, PROPERTIES, "PropertiesChanged", "sa{sv}as", interface, properties, gone)


def paths(interface):
    return sorted(path for path, object in objects.items() if interface in object)


def device(address):
    return next(p for p in paths(DEVICE) if p.endswith(address.replace(":", "_")))


def power(path, on):
    if not on:
        for pen in paths(DEVICE):
            disconnect(pen)
        change(path, Discovering=False)
        bus.flush()
        time.sleep(0.05)  # as a radio does that has much to end
    change(path, Powered=on)


def add_device(adapter, address, name, alias=None, rssi=None):
    name = None if name == "-" else name
    add("%s/dev_%s" % (adapter, address.replace(":", "_")), DEVICE, Address=address, Name=name,
        Alias=alias or name or address.replace(":", "-"), Adapter=dbus.ObjectPath(adapter), RSSI=rssi,
        UUIDs=dbus.Array([], signature="s"), Connected=False, ServicesResolved=False)


def hear(adapter, address, name, alias=None):
    if "%s/dev_%s" % (adapter, address.replace(":", "_")) in objects:
        change(device(address), RSSI=dbus.Int16(-48))
    else:
        add_device(adapter, address, name, alias, dbus.Int16(-48))


def resolve(pen):
    service = "f00d" if "foreign" in faults else "fff0"
    path = pen + "/service000a"
    add(path, GATT_SERVICE, UUID=UUID % service, Primary=True, Device=dbus.ObjectPath(pen))
    add(path + "/char000b", CHARACTERISTIC, UUID=UUID % "fff1", Service=dbus.ObjectPath(path),
        Flags=["read", "notify"], Notifying=False, Value=dbus.Array([], signature="y"))
    add(path + "/char000b/desc000c", DESCRIPTOR, UUID=UUID % "2902",
        Characteristic=dbus.ObjectPath(path + "/char000b"))
    change(pen, UUIDs=[UUID % service])
    change(pen, ServicesResolved=True)


def disconnect(pen):
    for path in paths(CHARACTERISTIC):
        if path.startswith(pen):
            change(path, Notifying=False)
    if objects[pen][DEVICE]["Connected"]:
        change(pen, ServicesResolved=False)
        change(pen, Connected=False)


def connect(call):
    if "refused" in faults:
        answer(call, error="Failed")
    elif "silent" not in faults:
        change(call.get_path(), Connected=True)
        answer(call)
        if "unresolved" not in faults:
            resolve(call.get_path())


def answer(call, signature=None, value=None, error=None):
    if error:
        name = error if "." in error else SERVICE + ".Error." + error
        reply = dbus.lowlevel.ErrorMessage(call, name, "the stand-in says so")
    else:
        reply = dbus.lowlevel.MethodReturnMessage(call)
        if signature:
            reply.append(value, signature=signature)
    bus.send_message(reply)


def discovery(call, on):
    path = call.get_path()
    change(path, Discovering=on)
    for pen in paths(DEVICE):
        if not on and "RSSI" in objects[pen][DEVICE]:
            change(pen, RSSI=None)
    answer(call)
    for pen in in_reach.values() if on else ():
        hear(path, *pen)


def called(_bus, call):
    if not isinstance(call, dbus.lowlevel.MethodCallMessage) or call.get_interface().endswith(".Peer"):
        return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
    path, method, arguments = call.get_path(), call.get_member(), call.get_args_list()
    if method not in READING:
        say("%s %s" % (method, path.rsplit("/", 1)[1]))
    if "denied" in faults:
        answer(call, error="org.freedesktop.DBus.Error.AccessDenied")
    elif method == "GetManagedObjects":
        answer(call, "a{oa{sa{sv}}}", objects)
    elif method == "Get" and arguments[1] in objects.get(path, {}).get(arguments[0], {}):
        answer(call, "v", objects[path][arguments[0]][arguments[1]])
    elif method in ("StartDiscovery", "StopDiscovery"):
        discovery(call, method == "StartDiscovery")
    elif method == "Connect":
        connect(call)
    elif method == "Disconnect":
        disconnect(path)
        answer(call)
    elif method == "StartNotify" and "unnotified" not in faults:
        change(path, Notifying=True)
        answer(call)
    elif method == "ReadValue":
        answer(call, "ay", [0])
    elif method == "SetDiscoveryFilter":
        answer(call)
    else:
        answer(call, error="Failed")
    return dbus.lowlevel.HANDLER_RESULT_HANDLED


def plug(name, state):
    path = "/org/bluez/" + name
    if path in objects:
        power(path, state == "on")
    else:
        add(path, ADAPTER, Address="00:1A:7D:DA:71:0" + name[-1], Alias=name, Name=name,
            Powered=state == "on", Discoverable=False, Discovering=False)


def put_in_reach(*pen):
    in_reach[pen[0]] = pen
    for adapter in paths(ADAPTER):
        if objects[adapter][ADAPTER]["Discovering"]:
            hear(adapter, *pen)


def send(address, *values):
    path = device(address) + "/service000a/char000b"
    for value in values:
        if objects[path][CHARACTERISTIC]["Notifying"]:
            change(path, Value=[dbus.Byte(b) for b in bytes.fromhex(value)])


COMMANDS = {
    "adapter": plug,
    "unplug": lambda name: remove("/org/bluez/" + name),
    "air": put_in_reach,
    "known": lambda *pen: add_device(paths(ADAPTER)[0], *pen),
    "name": lambda address, name: change(device(address), Name=name),
    "set": lambda address, key, value: change(device(address), **{
        key: dbus.Int16(value) if key == "RSSI" else ast.literal_eval(value)}),
    "send": send,
    "drop": lambda address: disconnect(device(address)),
    "fault": lambda *words: (faults.clear(), faults.update(words)),
}


def commanded(_channel, _condition):
    line = sys.stdin.readline().split()
    if not line:
        sys.exit()
    COMMANDS[line[0]](*line[1:])
    say("done")
    return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
bus.add_message_filter(called)
bus.request_name(SERVICE)
GLib.io_add_watch(0, GLib.IO_IN | GLib.IO_HUP, commanded)
say("ready")
GLib.MainLoop().run()
