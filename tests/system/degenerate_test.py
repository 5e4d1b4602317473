"""The cost of a message grows no faster than the message, whatever is in it: each degenerate kind
runs at two sizes."""

import re
import subprocess
from pathlib import Path

import pytest

import panel as sandbox
from conftest import RECIPIENT, SANITIZED, message
from degenerate import CHARSETS, COURTESY_KINDS, KINDS, WORST_BYTES

SMALL = 1000000
GROWTH = 4
INPUT = Path("/run/panel/input")

# Runs a program and prints its peak memory (KiB), its processor time and its status. Started from a
# small process: the peak of a child is at least the memory of the process that starts it.
MEASURE = """
import os, sys
pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, usage = os.wait4(pid, 0)
print(usage.ru_maxrss, usage.ru_utime + usage.ru_stime, os.waitstatus_to_exitcode(status),
      file=sys.stderr)
"""

# Peak memory beyond that of a small message, as a multiple of the message's size. A sender is held
# twice more: escaped, and in a statement. A subject is held as it was and in UTF-8, where a
# character may take many times as many bytes.
MAX_MEMORY = {
    "quoted backslashes": 5.2, "sender of quotes": 5.2, "long sender": 3.2, "sender of words": 3.2,
    "sender of labels": 3.2, "charset suffixes in a word": 3.2, "word in TSCII": 9,
    "unencoded word in TSCII": 14,
    "word in IBM437": 4.3, "word in windows-1252": 4.3, "word in IBM1390": 4.3,
    "word in SHIFT_JISX0213": 3.8, "word in ISO-8859-1": 3.6, "word in EUC-JISX0213": 3.1,
    "word in UTF-16": 3.2,
}


def cost(panel, text):
    """Peak bytes and processor seconds of the program for a message; its status must be 0."""
    INPUT.write_bytes(text)
    with open(INPUT, "rb") as stdin:
        err = subprocess.run(
            ["/usr/bin/python3", "-S", "-c", MEASURE, panel.program], stdin=stdin,
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=120,
            env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT}).stderr
    INPUT.unlink()
    panel.sql("delete from resp_freq")
    kib, seconds, status = err.splitlines()[-1].split()
    assert int(status) == 0
    return int(kib) * 1024, float(seconds)


@pytest.fixture
def rules(panel):
    """Adds a rule that answers everything, and one whose trigger is not in the body."""
    panel.rule()
    panel.rule(key_where="body", keystr="nowhere to be found")
    panel.base = cost(panel, message())[0]
    return panel


@pytest.mark.parametrize("kind", KINDS)
def test_costs_grow_no_faster_than_the_message(rules, kind):
    check_growth(rules, kind, KINDS[kind])


@pytest.mark.parametrize("kind", COURTESY_KINDS)
def test_courtesy_costs_grow_no_faster_than_the_message(rules, kind):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_COURTESY": "on"})
    check_growth(rules, kind, COURTESY_KINDS[kind])


@pytest.mark.parametrize("kind", [
    "folded subject", "one word", "words", "almost words", "word in TSCII", "plain subject"])
def test_a_subject_costs_no_more_with_repairs_than_its_unfolded_copy(rules, kind):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_REPAIRS": "on"})
    check_growth(rules, kind, KINDS[kind], copies=1)


def check_growth(rules, kind, make, copies=0):
    small, large = (cost(rules, make(size)) for size in (SMALL, GROWTH * SMALL))
    if SANITIZED:
        return  # the sanitizers' own costs are too high; the run ended, at least
    size = GROWTH * SMALL
    assert large[0] <= rules.base + (MAX_MEMORY.get(kind, 3) + copies) * size + (2 << 20)
    max_seconds = 1.5 * GROWTH * small[1] + 0.3
    # What else the machine does costs a run time, too.
    assert large[1] <= max_seconds or cost(rules, make(size))[1] <= max_seconds \
        or cost(rules, make(size))[1] <= max_seconds


def test_the_charsets_are_known():
    listed = subprocess.run(["iconv", "-l"], check=True, capture_output=True, text=True).stdout
    known = {name.upper() for name in re.split(r"[/,\s]+", listed)}
    assert {name.upper() for name in [*WORST_BYTES, *CHARSETS]} <= known
