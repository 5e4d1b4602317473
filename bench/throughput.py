"""Deliveries a second; run by bench/throughput in the sandbox.

    throughput.py [--quick]
"""

import argparse
import os
import shutil
import statistics
import subprocess
import time

import arithmetic
import marked
from loads import (BOXES, BUILD, OWNER, ROOT, SERVER, install, load, middle, sandbox, shares, spread,
                   switch)
from runs import os_description

MAILBOXES = 200
AT_ONCE = (1, 2, 4, 8, 20, 50)
REFERENCE = 8  # at once: enough to keep the processors busy
ONDISK = BUILD / "data-on-disk"

PLOT = """
set terminal pngcairo size 1400,500 noenhanced
set output '{output}'
set multiplot layout 1,2
set grid
set key bottom right
set xtics ({ticks})
set logscale x 2
set xlabel 'deliveries at once'
set ylabel 'deliveries a second'
set y2label 'milliseconds'
set logscale y2
set y2tics
set yrange [0:*]
set title 'deliveries a second, and how long each takes'
plot '{data}/load' using 1:2 with linespoints lw 2 title 'a second', \
  '' using 1:3 axes x1y2 with linespoints dashtype 2 title 'median, ms', \
  '' using 1:4 axes x1y2 with linespoints dashtype 3 title '99th percentile, ms'
unset logscale
unset y2tics
unset y2label
unset xtics
set xtics
set key outside right top reverse invert
set yrange [0:100]
set ylabel 'percent of the processors'
set title 'what the processors do'
set style data histograms
set style histogram rowstacked
set style fill solid 0.7
set boxwidth 0.8
plot for [i=2:8] '{data}/shares' using i:xtic(1) title columnheader(i)
unset multiplot
"""


class Measures:
    """Loads on one panel, in rounds of so many seconds."""

    def __init__(self, quick):
        self.quick = quick
        self.seconds, self.rounds = (0.7, 1) if quick else (4, 3)
        install()
        self.database = None
        self.start()

    def start(self, *options):
        """Starts a server with all mailboxes and no remembered sender."""
        self.database = sandbox.Database(*SERVER, *options)
        self.database.load("tables.sql")
        self.database.run(OWNER + BOXES.format(MAILBOXES))

    def stop(self):
        self.database.stop()
        shutil.rmtree(sandbox.DATA)

    def prepare(self, repairs=False, remembered=0, mem_limit=1000000, rules=True):
        """Sets switches and tables for a round. `rules` False: the mailboxes have no rules."""
        switch(repairs=repairs)
        self.database.run(
            f"truncate resp_freq; update mail_resp set mem_limit={mem_limit} where id=1;"
            f"update mail_resp set mn_id=id+{0 if rules else 10 * MAILBOXES};"
            "insert into resp_freq (rn_id, email, num, time_resp)"
            " select 1, concat('before', seq, '@x.example'), 1, now() - interval seq % 7 second"
            f" from seq_1_to_1000000 limit {remembered}")

    def load(self, at_once, mailboxes=MAILBOXES, may_lose=False, **prepared):
        """One round."""
        self.prepare(**prepared)
        return load(self.database, self.seconds, at_once, mailboxes, may_lose)

    def rounds_of(self, cases):
        """The rounds of each case, which take turns."""
        results = [[] for _ in cases]
        for _ in range(self.rounds):
            for case, loads in zip(cases, results):
                loads.append(self.load(**case))
        return results


def columns_of(loads):
    one = middle(loads)
    return [f"{one.rate:.0f} ({spread(loads)})", f"{one.median:.1f}", f"{one.slow:.1f}"]


RATES = ["deliveries/s (least to most)", "median, ms", "99th percentile, ms"]


# What the deliveries meet, as `Measures.load` takes it.
KINDS = {"reply": {}, "reply, repairs on": {"repairs": True},
         "no rule": {"rules": False, "may_lose": True}}
ALONE = (1, REFERENCE)


def measure_rates(measures):
    """The table, and the middle of the rounds by kind and number at once."""
    keys = [(kind, at_once) for kind in KINDS for at_once in AT_ONCE
            if kind == "reply" or at_once in ALONE]
    results = measures.rounds_of([{"at_once": at_once, **KINDS[kind]} for kind, at_once in keys])
    middles = {key: middle(loads) for key, loads in zip(keys, results)}
    rows = [[*key, *columns_of(loads), f"{100 * (1 - middles[key].idle / middles[key].all):.0f} %",
             f"{middles[key].statements:.0f}", f"{max(one.connections for one in loads):.0f}"]
            for key, loads in zip(keys, results)]
    return marked.table(["outcome", "at once", *RATES, "processors busy",
                         "statements of a delivery", "most connections"], rows), middles


# The parts of the stacked plot.
PARTS = ["program", "reader", "start", "sendmail", "database server", "other", "idle"]


def measure_shares(measures, rates):
    """Shares of all processor time for each number at once, in percent."""
    rows = []
    for at_once in AT_ONCE:
        measures.prepare()
        parts = shares(measures.seconds, at_once, MAILBOXES)
        one = rates["reply", at_once]
        # The shares of the parts, applied to the runs that do not note them.
        of_runs = [one.runs * part / sum(parts) for part in parts]
        other = one.all - one.idle - one.runs - one.server
        seconds = [*of_runs, one.server, max(other, 0), one.idle]
        rows.append([at_once, *(100 * part / sum(seconds) for part in seconds)])
    text = marked.table(["at once", *(f"{part}, %" for part in PARTS)],
                        [[row[0], *(f"{part:.0f}" for part in row[1:])] for row in rows])
    return text, rows


def measure_one_rule(measures):
    """Deliveries at one rule that remembers many senders, or at many rules."""
    cases = [{"at_once": 8, "mailboxes": mailboxes, "repairs": repairs, "remembered": remembered,
              "mem_limit": limit, "may_lose": True}
             for mailboxes, remembered, limit in ((MAILBOXES, 0, 1000000), (1, 0, 1000000),
                                                  (1, 1000, 1000000), (1, 1000, 1000),
                                                  (1, 100000, 1000000))
             for repairs in (False, True)]
    results = measures.rounds_of(cases)
    rows = [["200 mailboxes" if case["mailboxes"] > 1 else "one rule", f"{case['remembered']:,}",
             "yes" if case["mem_limit"] == 1000 else "no", "on" if case["repairs"] else "off",
             *columns_of(loads), f"{100 * middle(loads).lost:.1f} %"]
            for case, loads in zip(cases, results)]
    text = marked.table(["deliveries to", "senders before", "mem_limit reached", "repairs", *RATES,
                         "without a reply"], rows)
    return text, [{"one": case["mailboxes"] == 1, "remembered": case["remembered"],
                   "full": case["mem_limit"] == 1000, "repairs": case["repairs"],
                   "rate": middle(loads).rate} for case, loads in zip(cases, results)]


def milliseconds_of_sync(directory):
    """Median time that the disk takes until a small write is safe there."""
    path = directory / "sync"
    with open(path, "wb", buffering=0) as file:
        times = []
        for _ in range(200):
            file.write(b"x" * 512)
            start = time.perf_counter()
            os.fdatasync(file.fileno())
            times.append(time.perf_counter() - start)
    path.unlink()
    return 1000 * statistics.median(times)


DISKS = [("memory", sandbox.DATA, "0"), ("a disk", ONDISK, "0"), ("a disk", ONDISK, "1")]


def measure_disk(measures):
    """The cost of commits that wait for the disk. Leaves a server in memory."""
    rows = []
    for where, directory, flush in DISKS:
        measures.stop()
        shutil.rmtree(directory, ignore_errors=True)
        sandbox.DATA = directory
        measures.start(f"--innodb-flush-log-at-trx-commit={flush}")
        cases = [{"at_once": at_once, "repairs": repairs}
                 for at_once in ALONE for repairs in (False, True)]
        rows += [[where, flush, case["at_once"], "on" if case["repairs"] else "off",
                  *columns_of(loads)] for case, loads in zip(cases, measures.rounds_of(cases))]
    sync = milliseconds_of_sync(ONDISK)
    measures.stop()
    sandbox.DATA = DISKS[0][1]
    measures.start()
    return (f"A small write was safe on this disk after {sync:.1f} ms (the median of 200).\n\n"
            + marked.table(["data in", "innodb_flush_log_at_trx_commit", "at once", "repairs", *RATES],
                           rows))


def measure_connections(measures):
    """20 at once on a server that takes few connections."""
    rows = []
    for max_connections in (10, 15, 20, 22):
        measures.database.restart(f"--max-connections={max_connections}")
        one = measures.load(20, may_lose=True)
        rows.append([max_connections, f"{one.rate:.0f}", f"{100 * one.lost:.1f} %"])
    return marked.table(["max_connections", "deliveries/s", "without a reply"], rows)


def draw(rates, rows):
    data = BUILD / "throughput"
    data.mkdir(exist_ok=True)
    (data / "load").write_text("".join(
        f"{at_once} {one.rate} {one.median} {one.slow}\n"
        for (kind, at_once), one in rates.items() if kind == "reply"))
    names = ["at", *(f'"{part}"' for part in PARTS)]
    (data / "shares").write_text("".join(" ".join(map(str, row)) + "\n" for row in [names, *rows]))
    script = PLOT.format(output=ROOT / "docs" / "throughput.png", data=data,
                         ticks=", ".join(map(str, AT_ONCE)))
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


def cost_of(rates, kind):
    """What one delivery costs, for bench/arithmetic.py."""
    one = rates[kind, REFERENCE]
    return {"run_seconds": one.runs / one.rate, "server_seconds": one.server / one.rate,
            "seconds_alone": rates[kind, 1].median / 1000, "statements": one.statements}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    measures = Measures(parser.parse_args().quick)
    head = (f"Machine: {os_description()}. Each figure is the median of {measures.rounds} rounds of"
            f" {measures.seconds} s.\n\n")
    rates_text, rates = measure_rates(measures)
    shares_text, rows = measure_shares(measures, rates)
    print(f"{head}{rates_text}\n{shares_text}", flush=True)
    rule_text, one_rule = measure_one_rule(measures)
    print(rule_text, flush=True)
    disk_text = measure_disk(measures)
    print(disk_text, flush=True)
    connections_text = measure_connections(measures)
    print(connections_text, flush=True)
    if measures.quick:
        return
    draw(rates, rows)
    for name, text in {"throughput": head + rates_text, "throughput shares": shares_text,
                       "throughput one rule": rule_text, "throughput disk": disk_text,
                       "throughput connections": connections_text}.items():
        marked.write(name, text)
    marked.write_figures(throughput={"at_once": REFERENCE, "one_rule": one_rule,
                                     "reply": cost_of(rates, "reply"),
                                     "no_rule": cost_of(rates, "no rule")})
    arithmetic.write()


if __name__ == "__main__":
    main()
