"""Deliveries at once against a panel of many mailboxes, and what they cost the machine."""

import os
import re
import shutil
import statistics
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "sandbox"))

import panel as sandbox  # noqa: E402

BUILD = ROOT / os.environ.get("KEM_BUILD", "build-bench")
PROGRAM = BUILD / "autoresponder" / "autoresponder"
TOOLS = BUILD / "bench"
MESSAGES = sandbox.HOME / "load"
SAID = MESSAGES / "said"
SENDMAIL_TIMES = sandbox.HOME / "sendmail-times"
SHARES = sandbox.HOME / "shares"
TICKS = os.sysconf("SC_CLK_TCK")
# Has no factor in common with a number of mailboxes: each mailbox gets each message in turn.
SENDERS = 4999

# The sizes of Debian's server; those of the sandbox are smaller.
SERVER = ("--sql-mode=", "--innodb-buffer-pool-size=128M", "--innodb-log-file-size=96M",
          "--key-buffer-size=128M")

OWNER = """
insert into clients (id, login, email) values (1, 'shop', 'grete@customer.example');
insert into domains (id, name, cl_id) values (1, 'shop.example', 1);
"""

# Mailboxes of one domain, each with a rule of the same id that answers everybody.
BOXES = """
insert into mail (id, dom_id, mail_name) select seq, 1, concat('box', seq) from seq_1_to_{0};
insert into mail_resp (id, mn_id, key_where, resp_on, text, ans_freq, mem_limit)
  select seq, seq, 'no', 'true', 'Thank you.', 1000000, 1000000 from seq_1_to_{0};
"""


class Load(NamedTuple):
    """Figures of a time under load. Shares are processor seconds per second."""
    rate: float            # deliveries in a second
    median: float          # milliseconds of one
    slow: float            # milliseconds, the 99th percentile
    lost: float            # the part of the deliveries that gave no reply
    connections: int       # at once, by the server's own count
    statements: float      # of one delivery
    runs: float            # share of program, reader and sendmail together
    server: float          # share of the database server
    idle: float
    all: float             # the number of processors


class Shares(NamedTuple):
    """Processor seconds of one delivery."""
    program: float
    reader: float
    start: float
    sendmail: float


def write_messages():
    """A plain message of each sender."""
    MESSAGES.mkdir(exist_ok=True)
    for number in range(SENDERS):
        (MESSAGES / str(number)).write_text(
            f"From: sender{number}@customer.example\nTo: box1@shop.example\nSubject: A question\n"
            "MIME-Version: 1.0\n\nDo you have apples?\n")


def switch(repairs=False, courtesy=False):
    sandbox.write_conf({**sandbox.conf_values(),
                        "AUTORESPONDER_REPAIRS": "on" if repairs else "off",
                        "AUTORESPONDER_COURTESY": "on" if courtesy else "off"})


def install():
    sandbox.install()
    shutil.copy(TOOLS / "timed_sink", sandbox.QMAIL / "bin" / "sendmail")
    write_messages()


def status(database, name):
    return int(database.run(f"show global status like '{name}'").split()[1])


def server_seconds(database):
    """Processor time of the server so far."""
    fields = Path(f"/proc/{database.process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def machine_seconds():
    """Idle and all processor time of the machine so far."""
    fields = [int(word) for word in
              re.search(r"^cpu +(.*)", Path("/proc/stat").read_text())[1].split()[:8]]
    return (fields[3] + fields[4]) / TICKS, sum(fields) / TICKS


class Counters(NamedTuple):
    server: float
    idle: float
    all: float
    questions: int


def counters(database):
    return Counters(server_seconds(database), *machine_seconds(), status(database, "Questions"))


def deliver(seconds, at_once, mailboxes, preload="", senders=SENDERS):
    """The numbers that `load` prints."""
    for path in (SAID, SENDMAIL_TIMES, SHARES):
        path.unlink(missing_ok=True)
    arguments = [seconds, at_once, mailboxes, senders, MESSAGES, PROGRAM]
    environment = {"LOAD_PRELOAD": str(preload)} if preload else {}
    output = subprocess.run([TOOLS / "load", *map(str, arguments)], check=True, env=environment,
                            stdout=subprocess.PIPE, timeout=seconds + 300).stdout
    return [float(word) for word in output.split()]


def sent():
    """How many mails sendmail was given."""
    return len(SENDMAIL_TIMES.read_text().splitlines()) if SENDMAIL_TIMES.exists() else 0


def load(database, seconds, at_once, mailboxes, may_lose=False):
    """Delivers for `seconds`; fails where a delivery gave no reply, unless `may_lose`."""
    database.run("flush status")
    before = counters(database)
    ended, taken, used, median, slow, _, failed = deliver(seconds, at_once, mailboxes)
    after = counters(database)
    lost = ended - sent()
    if failed or (lost and not may_lose):
        sys.exit(f"{lost:.0f} of {ended:.0f} deliveries gave no reply, {failed:.0f} failed:"
                 f" {SAID.read_text()[:300]}")
    return Load(ended / taken, median, slow, lost / ended, status(database, "Max_used_connections"),
                # The end of a connection counts as a statement.
                (after.questions - before.questions) / ended - 1, used / taken,
                (after.server - before.server) / taken, (after.idle - before.idle) / taken,
                (after.all - before.all) / taken)


def tell_seconds(database, seconds):
    """Delivers one message after another to one mailbox from one sender. Returns the median seconds
    of a run, and the seconds that the server works for it."""
    database.run("flush user_statistics")
    ended, _, _, median, *_ = deliver(seconds, 1, 1, senders=1)
    if ended != sent():
        sys.exit(f"deliveries gave no reply: {SAID.read_text()[:300]}")
    busy = database.run("select busy_time from information_schema.user_statistics"
                        " where user='admin'")
    return median / 1000, float(busy) / ended


def shares(seconds, at_once, mailboxes):
    """What each part of a run uses; noting it costs the runs a little."""
    ended, _, used, *_ = deliver(seconds, at_once, mailboxes, TOOLS / "libshares.so")
    notes = [line.split() for line in SHARES.read_text().splitlines()]
    reader, command = (sum(int(used) for name, used in notes if name == what) / 1e6
                       for what in ("reader", "command"))
    times = [[int(word) for word in line.split()]
             for line in SENDMAIL_TIMES.read_text().splitlines()]
    sendmail = sum(after - before for before, after in times) / 1e6
    return Shares((used - reader - command) / ended, reader / ended,
                  (command - sendmail) / ended, sendmail / ended)


def middle(loads):
    """The median of each figure."""
    return Load(*(statistics.median(values) for values in zip(*loads)))


def spread(loads):
    return f"{min(one.rate for one in loads):.0f} to {max(one.rate for one in loads):.0f}"
