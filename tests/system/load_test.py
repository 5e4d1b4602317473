"""Many deliveries at once against one database. KEM_LOAD says how many (tests/load/run)."""

import os
import re
import subprocess
import threading
import time
from collections import Counter
from pathlib import Path

import panel as sandbox
from conftest import RECIPIENT, message

MESSAGES = int(os.environ.get("KEM_LOAD", "400"))
DELIVERIES = 8
BOX = Path("/run/panel/box")

# One file for each call, because calls run at the same time.
SENDMAIL = f"""#!/bin/sh
file=$(/usr/bin/mktemp {BOX}/XXXXXXXXXX)
printf '%s ' "$@" >$file
echo >>$file
exec /bin/cat >>$file
"""


def deliver(panel, make):
    """Runs the program on MESSAGES messages, eight at a time; returns the ends and the seconds."""
    BOX.mkdir(exist_ok=True)
    for path in BOX.iterdir():
        path.unlink()
    sandbox.write_sendmail(SENDMAIL)
    numbers = iter(range(MESSAGES))
    lock = threading.Lock()
    ends = []

    def work():
        while True:
            with lock:
                number = next(numbers, None)
            if number is None:
                return
            process = subprocess.run([panel.program], input=make(number), capture_output=True,
                                     env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT})
            ends.append((process.returncode, process.stderr))
    start = time.monotonic()
    threads = [threading.Thread(target=work) for _ in range(DELIVERIES)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return ends, time.monotonic() - start


def mails():
    """How often each subject left for each recipient. Fails if a mail is not whole."""
    found = Counter()
    for path in BOX.iterdir():
        arguments, _, text = path.read_text().partition("\n")
        assert text.endswith("--\n" if "multipart/mixed" in text else "\n\n"), path
        subject = re.search(r"^Subject: (?:Re: )?(.*)$", text, re.M)[1]
        found[arguments.split()[-1], subject] += 1
    return found


def test_every_message_is_answered_once_and_whole(panel):
    rule = panel.rule(ans_freq=1000000, mem_limit=1000000)
    panel.attach(rule, "list.txt", content=b"x" * 5000)
    panel.forward(rule, "copy@colleague.example")
    ends, seconds = deliver(panel, lambda number: message(
        sender=f"sender{number}@customer.example", subject=f"message {number}"))
    assert ends == [(0, b"")] * MESSAGES
    expected = Counter()
    for n in range(MESSAGES):
        expected[f"sender{n}@customer.example", f"message {n}"] = 1
        expected["copy@colleague.example", f"message {n}"] = 1
    assert mails() == expected
    assert panel.temporary_files() == []
    assert len(panel.senders()) == MESSAGES
    print(f"{MESSAGES} messages, each forwarded and answered with an attachment, in {seconds:.1f} s:"
          f" {MESSAGES / seconds:.0f} a second")


def test_one_sender_at_once_is_answered_every_time(panel):
    # Without repairs nothing is locked: of two runs at once both may insert the sender's first row
    # or read the same number, and a slow one may write back a smaller one. So the numbers are only
    # a lower bound of the answers.
    panel.rule(ans_freq=1000000)
    ends, _ = deliver(panel, lambda number: message(subject=f"message {number}"))
    assert ends == [(0, b"")] * MESSAGES
    assert mails() == {("otto@customer.example", f"message {n}"): 1 for n in range(MESSAGES)}
    numbers = [int(num) for _, _, num in panel.senders()]
    assert 1 <= len(numbers) <= DELIVERIES
    assert 1 <= max(numbers) <= MESSAGES


def test_a_limit_holds_but_for_what_is_under_way(panel):
    panel.rule(ans_freq=10)
    ends, _ = deliver(panel, lambda number: message(subject=f"message {number}"))
    assert ends == [(0, b"")] * MESSAGES
    answers = mails()
    assert set(answers.values()) == {1}
    assert 10 <= len(answers) < MESSAGES
