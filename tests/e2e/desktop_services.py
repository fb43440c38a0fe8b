"""The services of a desktop that long work turns to, as another process: prints what it is asked for, and when the
descriptor that keeps the machine awake is closed."""
import os

from gi.repository import Gio, GLib

BUS = Gio.bus_get_sync(Gio.BusType.SESSION)
INTERFACES = """<node>
<interface name="org.freedesktop.login1.Manager"><method name="Inhibit"><arg direction="in" type="s"/>
<arg direction="in" type="s"/><arg direction="in" type="s"/><arg direction="in" type="s"/>
<arg direction="out" type="h"/></method></interface>
<interface name="org.freedesktop.Notifications"><method name="Notify"><arg direction="in" type="s"/>
<arg direction="in" type="u"/><arg direction="in" type="s"/><arg direction="in" type="s"/><arg direction="in" type="s"/>
<arg direction="in" type="as"/><arg direction="in" type="a{sv}"/><arg direction="in" type="i"/>
<arg direction="out" type="u"/></method>
<method name="GetServerInformation"><arg direction="out" type="s"/><arg direction="out" type="s"/>
<arg direction="out" type="s"/><arg direction="out" type="s"/></method></interface></node>"""


def inhibit(what, _who, _why, mode):
    kept, given = os.pipe()

    def closed(*_):
        print("asleep", flush=True)
        os.close(kept)
        return False
    GLib.unix_fd_add_full(GLib.PRIORITY_DEFAULT, kept, GLib.IOCondition.HUP, closed)
    print("awake", what, mode, flush=True)
    descriptors = Gio.UnixFDList.new_from_array([given])
    return GLib.Variant("(h)", (0,)), descriptors


def notify(*arguments):
    print("notified:", arguments[3], flush=True)
    return GLib.Variant("(u)", (1,)), None


def information():
    return GLib.Variant("(ssss)", ("test", "test", "1", "1.2")), None


ANSWERS = {"Inhibit": inhibit, "Notify": notify, "GetServerInformation": information}


def answer(_bus, _sender, _path, _interface, method, arguments, invocation):
    invocation.return_value_with_unix_fd_list(*ANSWERS[method](*arguments.unpack()))


for place, interface in zip(("/org/freedesktop/login1", "/org/freedesktop/Notifications"),
                            Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces):
    BUS.register_object(place, interface, answer, None, None)
    Gio.bus_own_name_on_connection(BUS, interface.name.removesuffix(".Manager"), Gio.BusNameOwnerFlags.REPLACE,
                                   lambda _, name: print("has", name, flush=True), None)
GLib.MainLoop().run()
