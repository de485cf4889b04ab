"""Plasma, under X11 or Wayland. KWin's scripts report the windows."""

import json
import os
import re
import subprocess
import tempfile

from gi.repository import Gio, GLib

import accessible
from desktop import Desktop, Window, agent_name, centre
from fake_input import FakeInput
from waiting import await_that

escape = 1
listener = "org.vantrel.DesktopTest"
script = """
  const found = [];
  const all = workspace.clientList();
  all.sort((one, other) => one.stackingOrder - other.stackingOrder);
  for (const w of all)
    if (w.normalWindow || w.dialog || w.utility || w.notification || w.splash)
      if (!w.minimized)
        found.push({title: w.caption, program: String(w.desktopFileName || w.resourceClass),
                    class: String(w.resourceClass), active: w.active,
                    area: [w.x, w.y, w.width, w.height]});
  callDBus("%s", "/", "%s", "Report", JSON.stringify(found));
"""
node = Gio.DBusNodeInfo.new_for_xml(
    f"<node><interface name='{listener}'><method name='Report'><arg type='s' direction='in'/></method></interface></node>")


class Plasma(Desktop):
    session_name = "org.kde.KWin"

    def __init__(self, name):
        super().__init__(name)
        self.reported_ = None
        handle, self.script_ = tempfile.mkstemp(suffix=".js")
        os.write(handle, (script % (listener, listener)).encode())
        os.close(handle)

    def connect(self):
        super().connect()
        self.bus.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                      GLib.Variant("(su)", (listener, 0)))
        self.bus.connection.register_object("/", node.interfaces[0], self.hear, None, None)

    def hear(self, _connection, _sender, _path, _interface, _method, arguments, invocation):
        self.reported_ = arguments.unpack()[0]
        invocation.return_value(None)

    def stands(self):
        # A login begins with a splash; its panel, with the clock, comes last.
        return self.bus.has("org.kde.KWin") and not self.bus.has("org.kde.KSplash") and \
            any(name == "Digital Clock" for name, _ in accessible.shown(self.bus, "plasmashell", accessible.push_button))

    def windows(self):
        self.reported_ = None
        scripting = ("org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting")
        number = self.bus.call(*scripting, "loadScript", GLib.Variant("(ss)", (self.script_, "windows")))[0]
        self.bus.call("org.kde.KWin", f"/{number}", "org.kde.kwin.Script", "run")
        try:
            await_that("KWin reports its windows", lambda: self.reported_ is not None, 5)
        finally:
            self.bus.call(*scripting, "unloadScript", GLib.Variant("(s)", ("windows",)))
        # KWin numbers windows of one title, and lowers the case of names under X11.
        return [Window(re.sub(r" <\d+>$", "", w["title"]), w["program"].replace(agent_name.lower(), agent_name), w["active"], tuple(int(v) for v in w["area"]))
                for w in json.loads(self.reported_)]

    def prepare(self):
        pass

    def tray_icon(self):
        # The task bar's entry for a window of the agent is wider, and farther to the left.
        for name, area in accessible.shown(self.bus, "plasmashell", accessible.push_button):
            if name.startswith("Vantrel Quillo") and area[0] > 640 and area[2] < 40:
                return area
        return None

    def close_popups(self):
        self.press_key(escape, True)
        self.press_key(escape, False)

    def open_tray_menu(self):
        """Left click on the icon; the area that the menu takes, which is what changes above the panel."""
        icon = await_that("the icon", self.tray_icon)
        with tempfile.TemporaryDirectory() as folder:
            self.take_picture(f"{folder}/before.png")
            self.click(*centre(icon))
            return await_that("the menu", lambda: self.changed_since(f"{folder}/before.png", folder, icon[1] - 10), 5)

    def changed_since(self, picture, folder, height):
        self.take_picture(f"{folder}/now.png")
        answer = subprocess.run(
            ["convert", picture, f"{folder}/now.png", "-compose", "difference", "-composite", "-crop",
             f"1280x{height}+0+0", "+repage", "-threshold", "5%", "-format", "%@", "info:"],
            check=False, capture_output=True, text=True).stdout
        found = re.fullmatch(r"(\d+)x(\d+)\+(\d+)\+(\d+)", answer.strip())
        if not found:
            return None
        width, height, x, y = (int(number) for number in found.groups())
        return (x, y, width, height) if height > 150 else None

    def log_out(self):
        self.bus.call("org.kde.Shutdown", "/Shutdown", "org.kde.Shutdown", "logout")


class PlasmaOnX11(Plasma):
    def __init__(self, name):
        super().__init__(name)
        os.environ["DISPLAY"] = ":7"

    def hand(self, *command):
        return subprocess.run(["xdotool", *map(str, command)], check=True, capture_output=True).stdout

    def move_to(self, x, y):
        self.hand("mousemove", x, y)

    def press_button(self, down):
        self.hand("mousedown" if down else "mouseup", 1)

    def press_key(self, code, down):
        # X counts keys from 8 on; a single digit would be the key of that name.
        self.hand("keydown" if down else "keyup", "Escape" if code == escape else code + 8)

    def take_picture(self, path):
        subprocess.run(["import", "-window", "root", path], check=True)


class PlasmaOnWayland(Plasma):
    def __init__(self, name):
        super().__init__(name)
        self.input_ = None

    def prepare(self):
        if self.input_:
            self.input_.close()
        self.input_ = FakeInput(f"{os.environ['XDG_RUNTIME_DIR']}/wayland-0")

    def move_to(self, x, y):
        self.input_.move_to(x, y)

    def press_button(self, down):
        self.input_.press_button(down)

    def press_key(self, code, down):
        self.input_.press_key(code, down)

    def take_picture(self, path):
        reading, writing = os.pipe()
        with os.fdopen(reading, "rb") as pipe:
            descriptors = Gio.UnixFDList()
            place = descriptors.append(writing)
            os.close(writing)
            shot = self.bus.call("org.kde.KWin", "/org/kde/KWin/ScreenShot2", "org.kde.KWin.ScreenShot2",
                                 "CaptureScreen", GLib.Variant("(sa{sv}h)", ("Virtual-0", {}, place)), descriptors)[0]
            for descriptor in descriptors.steal_fds():
                os.close(descriptor)
            pixels = pipe.read()
        subprocess.run(["convert", "-size", f"{shot['width']}x{shot['height']}", "-depth", "8", "bgra:-",
                        "-alpha", "off", path], input=pixels, check=True)
