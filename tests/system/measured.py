"""Single runs of the program with their time and peak memory."""

import subprocess
import time
from pathlib import Path
from typing import NamedTuple

from conftest import RECIPIENT

INPUT = Path("/run/panel/input")

# Runs a program and prints its peak memory (KiB) and its status. Started from a small process: the
# peak of a child is at least the memory of the process that starts it.
MEASURE = """
import os, sys
pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, usage = os.wait4(pid, 0)
print(usage.ru_maxrss, os.waitstatus_to_exitcode(status), file=sys.stderr)
"""


class Run(NamedTuple):
    """What a run took, and its end."""
    seconds: float
    kib: int
    status: int
    err: list


def run_on_input(program):
    """Runs `program` with the file INPUT as its standard input."""
    start = time.monotonic()
    with open(INPUT, "rb") as stdin:
        process = subprocess.run(
            ["/usr/bin/python3", "-S", "-c", MEASURE, program], stdin=stdin,
            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
            env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT})
    seconds = time.monotonic() - start
    *err, measured = process.stderr.decode().splitlines()
    kib, status = map(int, measured.split())
    return Run(seconds, kib, status, err)
