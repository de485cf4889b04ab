"""What must hold on every desktop for who has just logged in. One kind of session a run."""

import glob
import os
import subprocess
import unittest

import accessible
from desktop import agent_name, centre
from gnome import Gnome
from kde import PlasmaOnWayland, PlasmaOnX11
from waiting import await_that, happens, let_pass

home = os.path.expanduser("~")
downloads = f"{home}/Downloads"
trash = f"{home}/.local/share/Trash"
log = f"{home}/Library/Logs/VantrelQuillo-scan.log"
letter = f"{home}/letter"
warning = "Malware Found"
# What a person waits for without doubting.
soon = 3
# Of 1; bright windows have 0.8 and more, dark ones 0.2.
dark = 0.4

kinds = {"gnome": Gnome, "gnome-tray": Gnome, "kde-x11": PlasmaOnX11, "kde-wayland": PlasmaOnWayland}
desktop = None
logins = []


def log_in(kind):
    """Waits for the first login of the machine, and notes how soon the agent showed itself."""
    global desktop
    desktop = kinds[kind](kind)
    desktop.await_login()
    logins.append(desktop.await_interface(20))
    desktop.picture("login")
    desktop.prepare()


def save_infected(name):
    """The test file of the anti-malware makers, put together here so that no scanner hits this script."""
    path = f"{downloads}/{name}"
    with open(path, "w", encoding="ascii") as file:
        file.write(r"X5O!P%@AP[4\PZX54(P^)7CC)7}$EICAR-STANDARD-" + "ANTIVIRUS-TEST-FILE!$H+H*")
    return path


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


class Guarded(unittest.TestCase):
    """A person who is logged in, whose agent guards, and who has no warning open."""

    def setUp(self):
        await_that("the agent guards", lambda: "clamdconfEncoding:" in read(log), 60)
        self.addCleanup(self.clear_away)

    def clear_away(self):
        desktop.close_popups()
        desktop.stop_program("letter")
        # The next one of a pile comes up as soon as one is closed.
        def closes_all():
            if desktop.window(warning):
                self.press("Ignore")
            return not desktop.window(warning)
        await_that("the warnings are closed", closes_all, 30)
        for path in glob.glob(f"{downloads}/*"):
            os.remove(path)

    def write_letter(self):
        """A program with the keyboard, into which a person types."""
        desktop.start_program("letter", "python3", f"{os.path.dirname(__file__)}/typist.py", letter)
        window = await_that("the letter's window", lambda: desktop.settled_window("Letter"))
        # A corner that no warning will cover.
        desktop.click(window.area[0] + 30, window.area[1] + window.area[3] - 30)
        await_that("the letter has the keyboard", lambda: desktop.window("Letter").active)

    def await_warning(self):
        return await_that("the window of the warning", lambda: desktop.settled_window(warning), 15)

    def press(self, name):
        area = await_that(f'the button "{name}" of the warning',
                          lambda: desktop.button(desktop.window(warning), name))
        desktop.click(*centre(area))


class VerdictTest(Guarded):
    def test_comes_in_front_of_a_person_who_types_and_takes_no_keystroke(self):
        self.write_letter()
        typed = ""

        def type_words(words):
            nonlocal typed
            for character in words:
                desktop.type_letter(character)
                typed += character
                let_pass(40)

        type_words("dear grace,\n")
        path = save_infected("invoice.pdf.com")
        for _ in range(40):
            type_words("yes, i am \n")
            if desktop.window(warning):
                break
        shown = desktop.window(warning)
        self.assertIsNotNone(shown, "no warning came while somebody typed")
        # Well beyond the moment for which its buttons answer nobody.
        type_words("and so on \n" * 5)
        desktop.picture("verdict")
        happens(lambda: len(read(letter)) >= len(typed), 3)
        self.assertEqual(read(letter), typed)
        now = desktop.window(warning)
        self.assertIsNotNone(now, "a key closed the warning")
        self.assertFalse(now.active, "the warning has the keyboard")
        self.assertFalse(desktop.is_covered(now), "another window lies over the warning")
        self.assertTrue(os.path.exists(path))

    def test_names_the_file_and_the_threat(self):
        path = save_infected("invoice.pdf.com")
        self.await_warning()
        words = await_that("words in the warning",
                           lambda: accessible.texts_shown(desktop.bus, accessible.agent, warning), 5)
        self.assertIn(path, words)
        self.assertTrue(any("Eicar" in word for word in words), words)

    def test_can_be_moved_to_the_trash_by_mouse_and_restored(self):
        path = save_infected("invoice.pdf.com")
        saved = read(path)
        self.await_warning()
        self.press("Move to Trash")
        await_that("the warning goes", lambda: not desktop.window(warning), 5)
        await_that("the file is in the Trash", lambda: os.path.exists(f"{trash}/files/invoice.pdf.com"), 5)
        self.assertFalse(os.path.exists(path))
        item = subprocess.run(["gio", "trash", "--list"], check=True, capture_output=True, text=True).stdout.split()[0]
        subprocess.run(["gio", "trash", "--restore", item], check=True)
        self.assertEqual(read(path), saved)
        self.assertFalse(os.path.exists(f"{trash}/files/invoice.pdf.com"))

    def test_belongs_to_the_agent_in_the_eyes_of_the_desktop(self):
        save_infected("invoice.pdf.com")
        self.assertEqual(self.await_warning().program, agent_name)


class LoginTest(Guarded):
    def test_shows_within_three_seconds_whether_one_is_guarded(self):
        self.assertLess(logins[0], soon)

    def test_a_second_one_is_guarded_as_the_first(self):
        self.doCleanups()
        desktop.log_in_anew()
        logins.append(desktop.await_interface(20))
        desktop.picture("second-login")
        desktop.prepare()
        self.setUp()
        self.assertLess(logins[1], soon)
        save_infected("second.com")
        self.await_warning()


class TrayTest(Guarded):
    def test_opens_the_menu_at_the_icon_on_a_left_click(self):
        icon = desktop.tray_icon()
        area = desktop.open_tray_menu()
        desktop.picture("menu")
        self.assertLess(abs(centre(area)[0] - centre(icon)[0]), area[2], f"the menu is at {area}")
        self.assertLess(min(abs(area[1] - icon[1]), abs(area[1] + area[3] - icon[1])), 60, f"the menu is at {area}")


class DarkTest(Guarded):
    def test_warning_is_dark_where_the_desktop_is(self):
        subprocess.run(["gsettings", "set", "org.gnome.desktop.interface", "color-scheme", "prefer-dark"], check=True)
        self.addCleanup(subprocess.run, ["gsettings", "reset", "org.gnome.desktop.interface", "color-scheme"])
        save_infected("invoice.pdf.com")
        window = self.await_warning()
        happens(lambda: desktop.brightness_of(window) < dark, 3)
        desktop.picture("dark")
        self.assertLess(desktop.brightness_of(window), dark)


tests = {
    "gnome": [LoginTest, VerdictTest, DarkTest],
    "gnome-tray": [LoginTest, VerdictTest, TrayTest, DarkTest],
    "kde-x11": [LoginTest, VerdictTest, TrayTest],
    "kde-wayland": [LoginTest, VerdictTest, TrayTest],
}
