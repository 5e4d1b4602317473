"""Time and peak memory of single large runs; run by tests/load/run in the sandbox."""

import os
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(ROOT / "tests" / "system"), str(ROOT / "sandbox")]

import panel as sandbox  # noqa: E402
from conftest import Panel, message  # noqa: E402
from measured import INPUT, run_on_input  # noqa: E402

MEGABYTE = 1 << 20


def measure(panel, label, text):
    INPUT.write_bytes(text)
    run = run_on_input(panel.program)
    sizes = [len(mail.message) for mail in panel.mails()]
    print(f"| {label} | {len(text) / MEGABYTE:.1f} | {run.seconds:.2f} | {run.kib / 1024:.0f} |"
          f" {run.status} | {len(sizes)} | {sum(sizes) / MEGABYTE:.1f} |", flush=True)
    panel.reset()


def main():
    panel = Panel()
    panel.reset()
    print("| run | message, MB | seconds | peak memory, MB | status | mails | of MB |")
    print("| --- | --- | --- | --- | --- | --- | --- |")
    panel.rule()
    measure(panel, "small message", message())
    panel.rule(mem_limit=10000)
    panel.sql("insert into resp_freq (rn_id, email, num)"
              " select 1, concat('sender', seq, '@x.example'), 1 from seq_1_to_10000")
    measure(panel, "10,000 remembered senders, one driven out", message())
    panel.sql("insert into mail_resp (mn_id, keystr, key_where, text, resp_on)"
              " select 1, concat('key', seq), 'body', 'text', 'true' from seq_1_to_1000")
    measure(panel, "1,000 rules that do not fire", message())
    panel.rule()
    line = b"All work and no play makes Jack a dull boy, and so does mail without end.\n"
    measure(panel, "100 MB message", message() + line * (100 * MEGABYTE // len(line)))
    rule = panel.rule()
    panel.attach(rule, *(f"{n}.bin" for n in range(10)), content=os.urandom(20 * MEGABYTE))
    measure(panel, "ten attachments of 20 MB", message())
    sandbox.forget_mails()


if __name__ == "__main__":
    main()
