"""What programs show, as a screen reader is shown it: the buttons and the words of their windows."""

from gi.repository import Gio, GLib

agent = "vantrel-quillo"
root = "/org/a11y/atspi/accessible/root"
accessible = "org.a11y.atspi.Accessible"
on_screen, in_window = 0, 1
push_button, text_field = 43, 61
is_enabled, is_showing = 1 << 8, 1 << 25


class Tree:
    """One look at the windows of a program; made anew for each question, for windows come and go."""

    def __init__(self, bus):
        address = bus.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")[0]
        self.connection_ = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self.connection_.set_exit_on_close(False)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.connection_.close_sync(None)

    def call(self, node, interface, method, arguments=None):
        return self.connection_.call_sync(node[0], node[1], interface, method, arguments, None,
                                          Gio.DBusCallFlags.NONE, 5000, None).unpack()

    def name(self, node):
        return self.call(node, "org.freedesktop.DBus.Properties", "Get",
                         GLib.Variant("(ss)", (accessible, "Name")))[0]

    def children(self, node):
        return self.call(node, accessible, "GetChildren")[0]

    def everything_in(self, node):
        yield node
        for child in self.children(node):
            yield from self.everything_in(child)

    def windows(self, program):
        for application in self.children(("org.a11y.atspi.Registry", root)):
            if self.program_of(application) == program[:15]:
                yield from self.children(application)

    def program_of(self, application):
        process = self.connection_.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetConnectionUnixProcessID", GLib.Variant("(s)", (application[0],)), None,
            Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]
        with open(f"/proc/{process}/comm", encoding="utf-8") as name:
            return name.read().strip()

    def role(self, node):
        return self.call(node, accessible, "GetRole")[0]

    def state(self, node):
        low, high = self.call(node, accessible, "GetState")[0]
        return high << 32 | low

    def shows(self, node):
        return bool(self.state(node) & is_showing)

    def text(self, node):
        return self.call(node, "org.a11y.atspi.Text", "GetText", GLib.Variant("(ii)", (0, -1)))[0]

    def area(self, node, whereto):
        return self.call(node, "org.a11y.atspi.Component", "GetExtents", GLib.Variant("(u)", (whereto,)))[0]


def area_of_button(bus, window, name):
    """On the screen; of a button that can be pressed, in that window of the agent. None: there is none such."""
    with Tree(bus) as tree:
        # Closed windows stay in the tree for a while, and several may bear one title.
        same = [node for node in tree.windows(agent) if tree.name(node) == window.title and tree.shows(node)]
        if not same:
            return None
        x, y, width, height = window.area
        node = min(same, key=lambda one: abs(tree.area(one, on_screen)[0] - x))
        contents = tree.area(node, on_screen)
        for part in tree.everything_in(node):
            if tree.name(part) == name and tree.role(part) == push_button and tree.state(part) & is_enabled:
                # Qt 6.4 reports sizes rightly of areas on the screen, and places of those in the window, whose
                # frame adds nothing below.
                left, top = tree.area(part, in_window)[:2]
                return (x + left, y + height - contents[3] + top) + tree.area(part, on_screen)[2:]
    return None


def shown(bus, program, role=None, title=None):
    """Name and area on the screen of all that the program shows now, or that its windows of that title show."""
    with Tree(bus) as tree:
        while True:
            try:
                return [(tree.name(node), tree.area(node, on_screen)) for window in tree.windows(program)
                        if title is None or tree.name(window) == title
                        for node in tree.everything_in(window)
                        if (role is None or tree.role(node) == role) and tree.shows(node)]
            except GLib.Error as error:
                # It was taken away while it was looked at.
                if not error.matches(Gio.dbus_error_quark(), Gio.DBusError.UNKNOWN_OBJECT):
                    raise


def texts_shown(bus, program, title):
    """What stands in the fields of the windows of that title."""
    with Tree(bus) as tree:
        return [tree.text(node) for window in tree.windows(program)
                if tree.name(window) == title and tree.shows(window)
                for node in tree.everything_in(window) if tree.role(node) == text_field and tree.shows(node)]


def described(bus, program):
    """Name, area and state of each of its windows, for who looks into a failure."""
    with Tree(bus) as tree:
        return [(tree.name(node), tree.area(node, on_screen), f"{tree.state(node):#x}")
                for node in tree.windows(program)]
