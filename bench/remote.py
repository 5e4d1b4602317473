"""Time and round trips of runs whose database is on another host; run by bench/remote in the
sandbox.

    remote.py [--quick]
"""

import argparse
import os
import queue
import re
import shutil
import statistics
import subprocess
import sys
import threading
import time

import panel as sandbox
from conftest import BUILD, Panel
from another_host import HOST, PORT, WITH_US, RemoteDatabase, haproxy
from round_trips import COUNTED, TIMED
from runs import INPUT, PROGRAM, ROOT, TOOLS, os_description, wrapped

GUIDE = ROOT / "docs" / "scaling.md"
DATA = BUILD / "remote"
ROUND_TRIPS = [0.2, 1, 5]  # in milliseconds
OF_CONNECTION = 3  # TCP, the server's greeting, the password
TOLERANCE = 0.15
# Rounds, and the attempts to make time and number agree.
QUICK, FULL = (8, 12), (40, 4)

PLOT = """
set terminal pngcairo size 900,600 noenhanced
set output '{output}'
set key top left
set grid
set xlabel 'round trip to the database, milliseconds'
set ylabel 'one run, milliseconds (median)'
plot {lines}
"""


class Path:
    """A way to the database: a socket, and what counts round trips on the way."""

    def __init__(self, name, socket, lines=None):
        self.name = name
        self.socket = socket
        self.lines = lines

    def use(self):
        """Makes the program's socket lead this way."""
        new = sandbox.SOCKET.with_name("new")
        new.symlink_to(self.socket)
        os.replace(new, sandbox.SOCKET)

    def count(self):
        """The round trips of the run that has just ended."""
        return int(self.lines.get(timeout=10))

    def forget(self):
        while self.lines and not self.lines.empty():
            self.lines.get()


def collect(stream):
    """The lines of a stream as they come."""
    lines = queue.Queue()

    def read():
        for line in stream:
            lines.put(line)
    threading.Thread(target=read, daemon=True).start()
    return lines


def with_delay(milliseconds, port):
    """Through HAProxy and a network path with this round trip."""
    delay = subprocess.Popen(
        [*WITH_US, TOOLS / "delay", str(port), HOST, str(PORT), str(round(1000 * milliseconds))],
        stdout=subprocess.PIPE)
    path = sandbox.HOME / f"delay{port}.sock"
    haproxy({f"{HOST}:{PORT} check inter 2s fall 5 rise 2": f"127.0.0.1:{port}"}, path)
    return Path(f"{milliseconds} ms", path, collect(delay.stdout))


def paths():
    directly = Path("local socket", RemoteDatabase.socket)
    near = sandbox.HOME / "near.sock"
    haproxy({" check inter 2s fall 5 rise 2": ""}, near)
    delayed = [with_delay(milliseconds, 4000 + number)
               for number, milliseconds in enumerate(ROUND_TRIPS)]
    time.sleep(0.5)  # until the connections that tested the sockets have ended
    return [directly, Path("proxy, near", near), *delayed]


def run(case):
    """Milliseconds of one run."""
    environment = {"PATH": "/usr/bin:/bin", "RECIPIENT": case.recipient}
    silent = [(os.POSIX_SPAWN_OPEN, number, "/dev/null", os.O_WRONLY, 0) for number in (1, 2)]
    begin = time.perf_counter()
    process = os.posix_spawn(TOOLS / "feed", ["feed", INPUT, PROGRAM], environment,
                             file_actions=silent)
    _, status = os.waitpid(process, 0)
    if status != 0:
        sys.exit(f"{case.name}: the run ended with {status}")
    return 1000 * (time.perf_counter() - begin)


def set_up(panel, case):
    case.set_up(panel)
    INPUT.write_bytes(case.message)
    shutil.copy(TOOLS / "sink", sandbox.QMAIL / "bin" / "sendmail")


def count(panel, path):
    """A table of each case's round trips, and the numbers by the case's name."""
    path.use()
    rows = ["| run | statements | round trips |", "| --- | --- | --- |"]
    counts = {}
    for case in COUNTED:
        set_up(panel, case)
        path.forget()
        statements = len(panel.statements(lambda: run(case)))
        counts[case.name] = path.count()
        if counts[case.name] != OF_CONNECTION + statements:
            sys.exit(f"{case.name}: {counts[case.name]} round trips, but {statements} statements")
        rows.append(f"| {case.name} | {statements} | {counts[case.name]} |")
    return "\n".join(rows), counts


def measure(case, ways, rounds, times):
    """Adds the milliseconds of each round to those of each path. The first round is not counted."""
    for number in range(rounds + 1):
        for way in ways[::-1] if number % 2 else ways:
            way.use()
            milliseconds = run(case)
            if number > 0:
                times[way.name].append(milliseconds)


def measure_until_it_agrees(panel, case, ways, effort, count):
    """Milliseconds of the runs, by the name of the path. On a busy machine it takes more rounds,
    until one run of each kind was undisturbed."""
    set_up(panel, case)
    times = {way.name: [] for way in ways}
    rounds, attempts = effort
    for _ in range(attempts):
        measure(case, ways, rounds, times)
        if agrees(times, count):
            return times
    sys.exit(f"{case.name}: {count} round trips, but {slope(times):.2f} ms for each ms\n"
             + table({case.name: times}, {case.name: count}))


def slope(times):
    """Milliseconds for each millisecond of round trip, from the fastest runs with the shortest and
    with the longest: other load only makes runs slower."""
    short, long = ROUND_TRIPS[0], ROUND_TRIPS[-1]
    return (min(times[f"{long} ms"]) - min(times[f"{short} ms"])) / (long - short)


def agrees(times, count):
    return abs(slope(times) / count - 1) <= TOLERANCE


def cell(values):
    low, middle, high = statistics.quantiles(values, n=4)
    return f"{middle:.1f} ({low:.1f} to {high:.1f})"


def table(results, counts):
    names = list(next(iter(results.values())))
    heads = ["run", *names, "round trips", "ms for each ms of round trip"]
    rows = [f"| {' | '.join(heads)} |", "|" + " --- |" * len(heads)]
    for name, times in results.items():
        cells = [cell(values) for values in times.values()]
        rows.append(f"| {name} | {' | '.join(cells)} | {counts[name]} | {slope(times):.1f} |")
    return "\n".join(rows)


def draw(results, counts):
    DATA.mkdir(exist_ok=True)
    lines = []
    for number, (name, times) in enumerate(results.items(), 1):
        medians = [statistics.median(values) for values in times.values()][1:]
        (DATA / str(number)).write_text(
            "".join(f"{x} {y}\n" for x, y in zip([0, *ROUND_TRIPS], medians)))
        lines.append(f"'{DATA}/{number}' with linespoints linecolor {number} title '{name}'")
        lines.append(f"{medians[0]} + {counts[name]} * x with lines dashtype 2 linecolor {number}"
                     f" title '{counts[name]} round trips'")
    script = PLOT.format(output=ROOT / "docs" / "remote.png", lines=", ".join(lines))
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


def section(name):
    """What the guide has between the marks of a table."""
    begin, end = f"<!-- {name}: written by bench/remote. -->\n", f"<!-- End of {name}. -->"
    return re.compile(f"(?<={begin}).*?(?={end})", re.S)


def write(name, text):
    new, replaced = section(name).subn(lambda _: f"\n{wrapped(text)}\n\n", GUIDE.read_text())
    if replaced != 1:
        sys.exit(f"{GUIDE} has no place for {name}")
    GUIDE.write_text(new)


def compare(counted):
    """Fails where the guide has another table of round trips."""
    written = section("round trips").search(GUIDE.read_text())
    if not written or written[0].strip() != counted:
        sys.exit(f"{GUIDE} has other numbers of round trips")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    quick = parser.parse_args().quick
    effort = QUICK if quick else FULL
    panel = Panel(RemoteDatabase)
    panel.reset()
    subprocess.run(["umount", "/usr/bin/dash"], check=True)  # the shell that records commands
    sandbox.SOCKET.parent.mkdir(parents=True, exist_ok=True)
    ways = paths()
    counted, counts = count(panel, ways[2])
    print(counted + "\n", flush=True)
    results = {case.name: measure_until_it_agrees(panel, case, ways, effort, counts[case.name])
               for case in TIMED}
    text = (f"Machine: {os_description()}. Milliseconds, median of {effort[0]} runs or more and the"
            f" middle half of them.\n\n{table(results, counts)}")
    print(text, flush=True)
    if quick:
        compare(counted)
        return
    write("round trips", counted)
    write("times", text)
    draw(results, counts)


if __name__ == "__main__":
    main()
