"""tk-text FILE: a Tk text widget with the file's text; writes the file anew at every change."""

import pathlib
import sys
import tkinter


def main():
    file = pathlib.Path(sys.argv[1])
    root = tkinter.Tk(className="Tktext")
    root.title("Tk text")
    widget = tkinter.Text(root, undo=True)
    widget.insert("1.0", file.read_text())
    widget.edit_reset()
    widget.edit_modified(False)

    def changed(_):
        if widget.edit_modified():
            file.write_text(widget.get("1.0", "end-1c"))
            widget.edit_modified(False)

    widget.bind("<<Modified>>", changed)
    widget.pack()
    widget.focus_force()
    root.mainloop()


main()
