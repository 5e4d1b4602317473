"""Runs autoresponder-explain inside the sandbox with the given arguments, or without any on the
message on standard input."""

import subprocess
import sys

import panel

PROGRAM = panel.CHECKOUT / "build" / "explain" / "autoresponder-explain"
RECIPIENT = "sales@shop.example"


def main():
    database = panel.sample()
    result = subprocess.run([PROGRAM, *(sys.argv[1:] or ["--recipient", RECIPIENT])])
    database.stop()
    return result.returncode


if __name__ == "__main__":
    sys.exit(main())
