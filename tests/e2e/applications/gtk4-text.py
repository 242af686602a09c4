"""gtk4-text FILE [password]: a GTK 4 text view, or a password entry, with the file's text; writes the file anew
at every change."""

import pathlib
import sys

import gi

gi.require_version("Gtk", "4.0")
from gi.repository import GLib, Gtk  # noqa: E402


def text_view(file):
    view = Gtk.TextView()
    buffer = view.get_buffer()
    buffer.begin_irreversible_action()
    buffer.set_text(file.read_text())
    buffer.end_irreversible_action()
    buffer.connect("changed", lambda _: file.write_text(buffer.get_property("text")))
    return view


def password_entry(file):
    entry = Gtk.PasswordEntry(text=file.read_text())
    entry.connect("changed", lambda _: file.write_text(entry.get_property("text")))
    return entry


def main():
    file = pathlib.Path(sys.argv[1])
    GLib.set_prgname("gtk4-text")
    Gtk.init()
    view = password_entry(file) if "password" in sys.argv else text_view(file)
    window = Gtk.Window(title="GTK 4 text", default_width=640, default_height=360)
    window.set_child(view)
    window.present()
    view.grab_focus()
    GLib.MainLoop().run()


main()
