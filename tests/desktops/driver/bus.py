"""The session bus of the user, anew at every login."""

import os

from gi.repository import Gio, GLib


class Bus:
    def __init__(self):
        self.connection_ = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.connection_.set_exit_on_close(False)

    @property
    def connection(self):
        return self.connection_

    def close(self):
        if not self.connection_.is_closed():
            self.connection_.close_sync(None)

    def call(self, name, path, interface, method, arguments=None, descriptors=None):
        answer, _ = self.connection_.call_with_unix_fd_list_sync(
            name, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 20000, descriptors, None)
        return answer.unpack()

    def value(self, name, path, interface, key):
        return self.call(name, path, "org.freedesktop.DBus.Properties", "Get",
                         GLib.Variant("(ss)", (interface, key)))[0]

    def has(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", GLib.Variant("(s)", (name,)))[0]

    def process_of(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)))[0]
