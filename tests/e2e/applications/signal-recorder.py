"""signal-recorder LOG: runs in a terminal, shows a word to select, and notes every interrupt and every byte
that reaches it."""

import os
import signal
import sys
import termios


def main():
    log = os.open(sys.argv[1], os.O_WRONLY | os.O_APPEND | os.O_CREAT)
    signal.signal(signal.SIGINT, lambda *_: os.write(log, b"[SIGINT]"))
    # No line editing and no echo, but the interrupt key keeps its meaning.
    mode = termios.tcgetattr(0)
    mode[3] &= ~(termios.ICANON | termios.ECHO)
    termios.tcsetattr(0, termios.TCSANOW, mode)
    line = "selectable-words-all-over " * 3
    sys.stdout.write("\r\n".join([line] * 40))
    sys.stdout.flush()
    os.write(log, b"[ready]")
    while data := os.read(0, 4096):
        os.write(log, data)


main()
