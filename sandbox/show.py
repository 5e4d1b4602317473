"""Runs the autoresponder once inside the sandbox and shows a person what happened. Bytes that are
not UTF-8 are shown as \\xNN."""

import os
import signal
import subprocess
import sys
import time

import panel

PROGRAM = panel.CHECKOUT / "build" / "autoresponder" / "autoresponder"
RECIPIENT = "shop.example-sales@shop.example"


def heading(text):
    print(f"\n=== {text} ".ljust(100, "=") + "\n", flush=True)


def show(data):
    text = data.decode("utf-8", "backslashreplace")
    for line in text.split("\n"):
        print(f"  | {line}")


def show_mails(mails):
    for number, mail in enumerate(mails, 1):
        heading(f"mail {number} of {len(mails)} that left")
        arguments = [argument.decode("utf-8", "backslashreplace") for argument in mail.arguments]
        print("  sendmail", *(f"'{argument}'" for argument in arguments), "\n")
        show(mail.message)


def main():
    message = sys.stdin.buffer.read()
    database = panel.sample()

    heading(f"the message, delivered to {RECIPIENT}")
    show(message[:4000])
    start = time.monotonic()
    result = subprocess.run([PROGRAM], input=message, capture_output=True,
                            env={**os.environ, "RECIPIENT": RECIPIENT})
    milliseconds = (time.monotonic() - start) * 1000

    show_mails(panel.mails())
    heading("what the program wrote to standard error")
    show(result.stderr)
    heading("who was answered today: rule, sender, replies, since")
    print(database.run("select * from resp_freq") or "  nobody")
    heading("the end")
    count = len(panel.mails())
    print(f"  exit status {result.returncode}, {count} mail{'' if count == 1 else 's'},"
          f" {milliseconds:.0f} ms, files left in /tmp: {os.listdir('/tmp')}")


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # ends quietly when piped into `head`
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
