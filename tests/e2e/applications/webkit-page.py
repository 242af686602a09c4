"""webkit-page URL: the page in a WebKitGTK view, which mail programs write their letters in."""

import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
gi.require_version("WebKit2", "4.1")
from gi.repository import Gdk, Gtk, WebKit2  # noqa: E402


def undo(view, event):
    """The view leaves the key of it to the program."""
    is_undo = event.keyval == Gdk.KEY_z and event.state & Gdk.ModifierType.CONTROL_MASK
    if is_undo:
        view.execute_editing_command(WebKit2.EDITING_COMMAND_UNDO)
    return bool(is_undo)


def main():
    view = WebKit2.WebView.new_with_context(WebKit2.WebContext.new_ephemeral())
    window = Gtk.Window(title="WebKit page", default_width=1200, default_height=600)
    window.add(view)
    view.connect("key-press-event", undo)
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
    view.load_uri(sys.argv[1])
    view.grab_focus()
    Gtk.main()


main()
