"""How long deliveries take while the limiter's table is cleaned."""

import subprocess
import time

import marked
from loads import deliver, sandbox

# Rules whose rows are cleaned by one statement.
AT_ONE_TIME = 100

OF_EARLIER_DAYS = "delete from resp_freq where {}time_resp<curdate();\n"


def clean(statements):
    """Starts a session that runs the statements, each a transaction."""
    return subprocess.Popen(
        ["mariadb", "--no-defaults", f"--socket={sandbox.SOCKET}", "--user=root", "kem", "-e",
         statements], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def meanwhile(statements):
    """Seconds that the cleaning takes, and those of the longest delivery meanwhile."""
    session = clean(statements)
    start = time.perf_counter()
    longest = 0
    while session.poll() is None:
        longest = max(longest, deliver(0.5, 2, 1, senders=1)[5] / 1000)
    if session.returncode != 0:
        raise RuntimeError("the table was not cleaned")
    return time.perf_counter() - start, longest


def table(rules):
    """Cleans in one statement, and some rules at a time. No row is old enough to be deleted."""
    in_steps = "".join(
        OF_EARLIER_DAYS.format(f"rn_id between {first} and {first + AT_ONE_TIME - 1} and ")
        for first in range(1, rules + 1, AT_ONE_TIME))
    rows = []
    for name, statements in (("nothing", "do sleep(2)"),
                             ("all rows in one statement", OF_EARLIER_DAYS.format("")),
                             (f"the rows of {AT_ONE_TIME} rules in one statement", in_steps)):
        seconds, longest = meanwhile(statements)
        rows.append([name, f"{seconds:.1f}", f"{longest:.2f}"])
    return marked.table(["cleaning", "s", "longest delivery meanwhile, s"], rows)
