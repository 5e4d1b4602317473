"""What a run costs on a panel that grows; run by bench/growth in the sandbox.

    growth.py [--quick]
"""

import argparse
import statistics
import subprocess
import sys
from typing import NamedTuple

import arithmetic
import cleaning
import marked
from large_panel import (EMPTY, MANY_LOOKUPS, NAMES, OF_A_RULE, analyze, answered_by_others,
                         answered_by_own, mailboxes, rows_of_one)
from loads import BUILD, ROOT, install, sandbox, switch, tell_seconds
from plans import plans

# The server should hold the whole table in memory.
SERVER = ("--sql-mode=", "--innodb-buffer-pool-size=5G", "--innodb-log-file-size=2G", "--userstat=ON")
DOMAIN = 100  # mailboxes of a domain
TOLERANCE = 4  # rows of a run: the server may choose another index

PLOT = """
set terminal pngcairo size 1500,500 noenhanced
set output '{output}'
set multiplot layout 1,3
set logscale xy
set grid
set key top left
set format x '%.0s%c'
set ylabel 'milliseconds'
set yrange [0.1:1000]
set title 'mailboxes of the panel'
{mailboxes}
set title 'remembered senders of other rules'
{others}
set title 'remembered senders of the rule itself'
{own}
unset multiplot
"""

CURVES = """plot '{file}' using ($1 > 1 ? $1 : 1):2 with linespoints title 'a run, switches off', \
  '' using ($1 > 1 ? $1 : 1):3 with linespoints title 'a run, both on', \
  '' using ($1 > 1 ? $1 : 1):4 with linespoints title 'its time in the server, off', \
  '' using ($1 > 1 ? $1 : 1):5 with linespoints title 'its time in the server, on'"""


class Point(NamedTuple):
    """The cost of a run at one size."""
    mailboxes: int
    others: int
    own: int
    rows: list      # that the server reads, for each name and for switches off and on
    run_ms: tuple   # median, switches off and on
    server_ms: tuple


class Growth:
    """A panel that grows, and what a run costs on it."""

    def __init__(self, quick):
        install()
        self.seconds = 0.3 if quick else 2
        self.database = sandbox.Database(*SERVER)
        self.database.load("tables.sql")
        self.database.run(EMPTY)
        self.size = {"mailboxes": 0, "others": 0, "own": 1}

    def grow(self, **sizes):
        for name, count in sizes.items():
            make = {"mailboxes": mailboxes, "others": answered_by_others,
                    "own": answered_by_own}[name]
            self.database.run(make(self.size[name], count))
            self.size[name] = count
        self.database.run(analyze())

    def bytes_of_limiter(self):
        """Size of the limiter's table with its index."""
        return int(self.database.run("select data_length + index_length from information_schema.tables"
                                     " where table_schema='kem' and table_name='resp_freq'"))

    def measure(self):
        """The cost of a run on the panel as it is."""
        rows, run_ms, server_ms = [], [], []
        for state in (False, True):
            switch(repairs=state, courtesy=state)
            rows.append([rows_of_one(self.database, name) for name in NAMES.values()])
            run, server = tell_seconds(self.database, self.seconds)
            run_ms.append(1000 * run)
            server_ms.append(1000 * server)
        self.database.run("delete from resp_freq where rn_id=1 and email like '%@customer.example'")
        return Point(**self.size, rows=rows, run_ms=tuple(run_ms), server_ms=tuple(server_ms))


def measure_all(quick):
    """The points of the three curves, the tables of statements and of cleaning, and the size of a
    row of the limiter."""
    growth = Growth(quick)
    points = {"mailboxes": [], "others": [], "own": []}
    sizes = {"mailboxes": [1, DOMAIN, 1000] + ([] if quick else [100000]),
             "others": [0, 10000, 100000] + ([] if quick else [1000000, 10000000]),
             "own": [1, 100, 1000, 10000] + ([] if quick else [100000])}
    for name, counts in sizes.items():
        for count in counts:
            growth.grow(**{name: count})
            points[name].append(growth.measure())
        if name == "others":
            bytes_of_row = growth.bytes_of_limiter() / growth.size["others"]
            cleaned = cleaning.table(growth.size["others"] // OF_A_RULE + 1)
            found = plans(growth.database)
    return points, [found, cleaned], bytes_of_row


COLUMNS = ["mailboxes", "rows of other rules", "rows of its own rule",
           *(f"rows read: {name}" for name in NAMES), "both switches on: most rows read",
           "run, ms (off, on)", "in the server, ms (off, on)"]


def table(points):
    return marked.table(COLUMNS, [
        [f"{point.mailboxes:,}", f"{point.others:,}", f"{point.own:,}", *point.rows[0],
         max(point.rows[1]), *(", ".join(f"{value:.2f}" for value in values)
                               for values in (point.run_ms, point.server_ms))]
        for point in points])


def check(points):
    """Fails where a run reads more because of the rows of others."""
    small = points["mailboxes"][0]
    for point in points["mailboxes"] + points["others"]:
        for few, many in zip(sum(small.rows, []), sum(point.rows, [])):
            # A lookup by alias may look at each mailbox of its domain.
            if many > few + MANY_LOOKUPS * DOMAIN:
                sys.exit(f"a run reads {many} rows, not {few}, on this panel: {point}")
    none = sum(points["others"][0].rows, [])
    for point in points["others"]:
        if any(abs(many - few) > TOLERANCE for few, many in zip(none, sum(point.rows, []))):
            sys.exit(f"a run reads {point.rows} rows, not {none}, beside {point.others} others")


def draw(points):
    data = BUILD / "growth"
    data.mkdir(exist_ok=True)
    curves = {}
    for name, along in points.items():
        (data / name).write_text("".join(
            f"{getattr(point, name)} {point.run_ms[0]} {point.run_ms[1]} {point.server_ms[0]}"
            f" {point.server_ms[1]}\n" for point in along))
        curves[name] = CURVES.format(file=data / name)
    script = PLOT.format(output=ROOT / "docs" / "growth.png", **curves)
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


def slope(points):
    """Seconds in the server for each row of the rule itself."""
    first, last = points["own"][0], points["own"][-1]
    return (last.server_ms[0] - first.server_ms[0]) / 1000 / (last.own - first.own)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    quick = parser.parse_args().quick
    points, [found, cleaned], bytes_of_row = measure_all(quick)
    text = table(points["mailboxes"] + points["others"][1:] + points["own"][1:])
    print(f"{text}\n{found}\n{cleaned}\nA row of resp_freq takes {bytes_of_row:.0f} bytes.", flush=True)
    check(points)
    if quick:
        return
    draw(points)
    marked.write("growth", text)
    marked.write("growth statements", found)
    marked.write("growth cleaning", cleaned)
    marked.write_figures(growth={"bytes_of_row": bytes_of_row, "seconds_of_row": slope(points),
                                 "server_ms": statistics.median(
                                     point.server_ms[0] for point in points["others"])})
    arithmetic.write()


if __name__ == "__main__":
    main()
