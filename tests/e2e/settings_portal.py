"""Provides the Settings interface of the desktop portal, so that the desktop prefers dark or light
windows while this process runs. Argument: "dark" or "light"."""

import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACE = "org.freedesktop.portal.Settings"
XML = f"""<node><interface name="{INTERFACE}">
<method name="Read"><arg direction="in" type="s"/><arg direction="in" type="s"/>
<arg direction="out" type="v"/></method>
<method name="ReadOne"><arg direction="in" type="s"/><arg direction="in" type="s"/>
<arg direction="out" type="v"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""
SCHEMES = {"dark": 1, "light": 2}


def serve(scheme):
    value = GLib.Variant("u", SCHEMES[scheme])

    def call(connection, sender, path, interface, method, parameters, invocation):
        if tuple(parameters.unpack()) != ("org.freedesktop.appearance", "color-scheme"):
            invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "unknown")
        elif method == "ReadOne":
            invocation.return_value(GLib.Variant("(v)", (value,)))
        else:
            invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", value),)))

    def acquired(connection, _name):
        connection.register_object("/org/freedesktop/portal/desktop",
                                   Gio.DBusNodeInfo.new_for_xml(XML).interfaces[0], call)

    Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.portal.Desktop",
                     Gio.BusNameOwnerFlags.NONE, acquired,
                     lambda *_: print("ready", flush=True), None)
    GLib.MainLoop().run()


serve(sys.argv[1])
