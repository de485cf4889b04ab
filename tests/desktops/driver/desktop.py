"""What a person has in front of them, whichever desktop it is."""

import os
import subprocess
import tempfile
import time
from collections import namedtuple

import accessible
from bus import Bus
from waiting import await_that, let_pass

# In the order in which they lie on each other, the lowest first; areas are x, y, width, height.
Window = namedtuple("Window", "title program active area")

pictures = "/opt/pictures"
agent_name = "org.vantrel.VantrelQuillo"
text_keys = {" ": 57, "\n": 28, ",": 51, ".": 52}
text_keys.update({letter: code for first, row in ((16, "qwertyuiop"), (30, "asdfghjkl"), (44, "zxcvbnm"))
                  for code, letter in enumerate(row, first)})


def now():
    return time.clock_gettime(time.CLOCK_BOOTTIME)


def begin_of(process):
    with open(f"/proc/{process}/stat", encoding="utf-8") as file:
        return int(file.read().rpartition(")")[2].split()[19]) / os.sysconf("SC_CLK_TCK")


def overlap(one, other):
    return (one[0] < other[0] + other[2] and other[0] < one[0] + one[2]
            and one[1] < other[1] + other[3] and other[1] < one[1] + one[3])


def centre(area):
    return area[0] + area[2] // 2, area[1] + area[3] // 2


class Desktop:
    """The operations of one login; each kind of desktop adds how it is looked at and driven."""

    has_tray = True

    def __init__(self, name):
        self.name = name
        self.bus = None
        self.stands_since_ = None
        self.looked_at_ = None

    # The login.

    def await_login(self):
        """Returns when the desktop stands and can be used."""
        await_that(f"{self.name} stands", self.is_reached_and_stands, 180)
        self.stands_since_ = now()
        self.prepare()

    def is_reached_and_stands(self):
        # At a second login the bus of the first may still answer, and ends a moment later.
        if not self.bus or self.bus.connection.is_closed():
            self.connect()
        return self.stands()

    def connect(self):
        self.bus = Bus()

    def await_interface(self, seconds):
        """How long the agent took to be seen, from when both it was started and the desktop stood."""
        await_that("the agent's icon" if self.has_tray else "a notification of the agent",
                   self.shows_icon if self.has_tray else self.banner_of_agent, seconds)
        return self.looked_at_ - max(self.stands_since_, begin_of(self.bus.process_of(agent_name)))

    def log_in_anew(self):
        before = self.bus.process_of(self.session_name)
        self.log_out()
        await_that("the session ends", lambda: not os.path.exists(f"/proc/{before}"), 60)
        self.bus.close()
        self.await_login()

    def shows_icon(self):
        """A panel keeps a grey place for an icon that it has not drawn yet."""
        area = self.tray_icon()
        # What a picture shows was there when it had been taken, however long the rest takes.
        return area and float(self.measured(area, "-colorspace", "HSL", "-channel", "G", "-separate",
                                            "-format", "%[fx:maxima]")) > 0.3

    # What a person does.

    def click(self, x, y):
        self.move_to(x - 1, y)
        self.move_to(x, y)
        let_pass(100)
        self.press_button(True)
        let_pass(60)
        self.press_button(False)

    def type_letter(self, letter):
        self.press_key(text_keys[letter], True)
        let_pass(15)
        self.press_key(text_keys[letter], False)

    def start_program(self, name, *command):
        """In the session, as its menu would."""
        subprocess.run(["systemd-run", "--user", "--quiet", "--collect", f"--unit={name}", *command], check=True)

    def stop_program(self, name):
        subprocess.run(["systemctl", "--user", "stop", f"{name}.service"], check=False, capture_output=True)

    # What a person sees.

    def window(self, title):
        found = [window for window in self.windows() if window.title == title]
        return found[-1] if found else None

    def settled_window(self, title):
        """The window once it has found its place, which it has not at first."""
        first = self.window(title)
        let_pass(100)
        return first if first and first.area[2] > 100 and first.area[1] > 0 and self.window(title).area == first.area \
            else None

    def is_covered(self, window):
        windows = self.windows()
        return any(other.title and overlap(other.area, window.area)
                   for other in windows[windows.index(window) + 1:])

    def button(self, window, name):
        return accessible.area_of_button(self.bus, window, name)

    def picture(self, name):
        self.take_picture(f"{pictures}/{self.name}-{name}.png")

    def brightness_of(self, window):
        """From 0, black, to 1, white; of what stands there on the screen."""
        return float(self.measured(window.area, "-colorspace", "Gray", "-format", "%[fx:mean]"))

    def measured(self, area, *measure):
        with tempfile.TemporaryDirectory() as folder:
            self.take_picture(f"{folder}/screen.png")
            self.looked_at_ = now()
            x, y, width, height = area
            return subprocess.run(
                ["convert", f"{folder}/screen.png", "-crop", f"{width}x{height}+{x}+{y}", *measure, "info:"],
                check=True, capture_output=True, text=True).stdout
