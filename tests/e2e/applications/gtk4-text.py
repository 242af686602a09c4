"""gtk4-text FILE: a GTK 4 text view with the file's text; writes the file anew at every change."""

import pathlib
import sys

import gi

gi.require_version("Gtk", "4.0")
from gi.repository import GLib, Gtk  # noqa: E402


def main():
    file = pathlib.Path(sys.argv[1])
    GLib.set_prgname("gtk4-text")
    Gtk.init()
    view = Gtk.TextView()
    buffer = view.get_buffer()
    buffer.begin_irreversible_action()
    buffer.set_text(file.read_text())
    buffer.end_irreversible_action()
    buffer.connect("changed", lambda _: file.write_text(buffer.get_property("text")))
    window = Gtk.Window(title="GTK 4 text", default_width=640, default_height=360)
    window.set_child(view)
    window.present()
    view.grab_focus()
    GLib.MainLoop().run()


main()
