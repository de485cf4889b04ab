"""A program with the keyboard: a text window that keeps what was typed into it in a file.

usage: typist.py FILE
"""

import os
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402


def keep(buffer, path):
    text = buffer.get_text(buffer.get_start_iter(), buffer.get_end_iter(), True)
    with open(path + ".new", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(path + ".new", path)


path = sys.argv[1]
window = Gtk.Window(title="Letter")
view = Gtk.TextView(wrap_mode=Gtk.WrapMode.WORD)
view.get_buffer().connect("changed", keep, path)
window.add(view)
window.set_default_size(700, 420)
window.connect("destroy", Gtk.main_quit)
window.show_all()
keep(view.get_buffer(), path)
Gtk.main()
