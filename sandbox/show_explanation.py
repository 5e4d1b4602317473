"""Asks autoresponder-explain inside the sandbox about the message on standard input."""

import subprocess
import sys

import panel

PROGRAM = panel.CHECKOUT / "build" / "explain" / "autoresponder-explain"
RECIPIENT = "sales@shop.example"


def main():
    database = panel.sample()
    result = subprocess.run([PROGRAM, "--recipient", RECIPIENT])
    database.stop()
    return result.returncode


if __name__ == "__main__":
    sys.exit(main())
