"""GNOME Shell without a monitor, driven through its own JavaScript (--unsafe-mode)."""

import json

from gi.repository import GLib

from desktop import Desktop, Window, centre, now
from waiting import await_that, let_pass

left_shift = 42

hand = """
  if (!global.testHand) {
    const seat = imports.gi.Clutter.get_default_backend().get_default_seat();
    const type = imports.gi.Clutter.InputDeviceType;
    global.testHand = {pointer: seat.create_virtual_device(type.POINTER_DEVICE),
                       keys: seat.create_virtual_device(type.KEYBOARD_DEVICE)};
  }
  const hand = global.testHand;
  const now = () => imports.gi.GLib.get_monotonic_time();
"""

open_menu = """
  const menu = Object.keys(imports.ui.main.panel.statusArea).filter(name => name.startsWith('appindicator'))
    .map(name => imports.ui.main.panel.statusArea[name].menu).find(one => one && one.isOpen);
"""


class Gnome(Desktop):
    session_name = "org.gnome.SessionManager"

    def __init__(self, name):
        super().__init__(name)
        self.has_tray = name == "gnome-tray"

    def script(self, code):
        done, answer = self.bus.call(
            "org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell", "Eval",
            GLib.Variant("(s)", ("(() => {" + code + "})()",)))
        if not done:
            raise OSError("GNOME Shell: " + answer)
        return json.loads(answer) if answer else None

    def stands(self):
        return self.bus.has("org.gnome.Shell") and self.script(
            "return imports.ui.main.layoutManager._startingUp === false")

    def prepare(self):
        # A desktop starts with the overview, in which no program has the keyboard; and GNOME complains of
        # the display manager that is missing here.
        self.script("""
          imports.ui.main.overview.hide();
          for (const source of imports.ui.main.messageTray.getSources())
            for (const one of source.notifications)
              if (one.title === 'Screen Lock disabled')
                one.destroy();
          return true""")
        await_that("the overview is closed", lambda: not self.script("return imports.ui.main.overview.visible"))
        # A keyboard is heard only a moment after it was plugged in.
        self.press_key(left_shift, True)
        self.press_key(left_shift, False)
        let_pass(300)

    def windows(self):
        found = self.script("""return global.get_window_actors().map(actor => {
          const w = actor.meta_window, area = w.get_frame_rect();
          return {title: w.get_title(), program: w.get_wm_class(), active: w.has_focus(),
                  area: [area.x, area.y, area.width, area.height]}})""")
        return [Window(w["title"], w["program"], w["active"], tuple(w["area"])) for w in found]

    def move_to(self, x, y):
        self.script(hand + f"hand.pointer.notify_absolute_motion(now(), {x}, {y}); return true")

    def press_button(self, down):
        state = "PRESSED" if down else "RELEASED"
        self.script(hand + f"hand.pointer.notify_button(now(), 1, imports.gi.Clutter.ButtonState.{state}); return true")

    def press_key(self, code, down):
        state = "PRESSED" if down else "RELEASED"
        self.script(hand + f"hand.keys.notify_key(now(), {code}, imports.gi.Clutter.KeyState.{state}); return true")

    def take_picture(self, path):
        self.bus.call("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot",
                      "org.gnome.Shell.Screenshot", "Screenshot",
                      GLib.Variant("(bbs)", (False, False, path)))

    def tray_icon(self):
        area = self.script("""
          const items = Object.keys(imports.ui.main.panel.statusArea).filter(name => name.startsWith('appindicator'));
          for (const name of items) {
            const actor = imports.ui.main.panel.statusArea[name];
            if (actor.visible && actor.mapped && actor.width > 8) {
              const [x, y] = actor.get_transformed_position();
              // It has no place before it is drawn for the first time.
              return Number.isFinite(x) ? [x, y, actor.width, actor.height] : null;
            }
          }
          return null""")
        return tuple(int(value) for value in area) if area else None

    def open_tray_menu(self):
        """Left click on the icon; the area that the menu takes."""
        self.click(*centre(await_that("the icon", self.tray_icon)))
        words = await_that("the menu", self.tray_menu, 5)
        if "Stop Watching" not in words:
            raise AssertionError(f"the menu says {words}")
        return self.tray_menu_area()

    def tray_menu(self):
        """The labels of the open menu of the icon, in order."""
        return self.script(open_menu + "return menu ? menu._getMenuItems().filter(item => item.label && "
                           "item.visible).map(item => item.label.text) : []")

    def tray_menu_area(self):
        x, y, width, height = self.script(
            open_menu + "return [...menu.actor.get_transformed_position(), menu.actor.width, menu.actor.height]")
        return int(x), int(y), int(width), int(height)

    def close_popups(self):
        self.script(open_menu + "if (menu) menu.close(); imports.ui.main.overview.hide(); return true")

    def banner_of_agent(self):
        """Title and text of the notification of a program that stands on the screen."""
        found = self.script("""
          const tray = imports.ui.main.messageTray, one = tray._notification;
          const stands = tray._banner && tray._banner.mapped && tray._notificationState === 2;
          return stands && one.source.constructor.name.startsWith('FdoNotification')
            ? [one.title || '', one.bannerBodyText || ''] : null""")
        self.looked_at_ = now()
        return tuple(found) if found else None

    def log_out(self):
        self.bus.call("org.gnome.SessionManager", "/org/gnome/SessionManager",
                      "org.gnome.SessionManager", "Logout", GLib.Variant("(u)", (2,)))
