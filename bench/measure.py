"""Compares the program with the floor and the ground, and measures the intake; prints tables. Run
by bench/run in the sandbox.

    measure.py [--quick | --compare]

--compare only checks that the others do what the program does.
"""

import argparse
import statistics
import sys

from cases import CASES, FORMS, MEGABYTE, QUICK, Case, plain
from runs import COMMANDS, Bench, Difference, Rounds, intake, os_description, wrapped

LARGE = 10 * MEGABYTE
EMPTY = Case("an empty message", message=lambda: b"")


def compare(bench, cases):
    for case in cases:
        bench.make(case)
        bench.record()
        try:
            bench.compare()
        except Difference as difference:
            sys.exit(f"{case.name}: {difference}")
    print(f"Floor, program, the program with a static client library, and ground do the same in"
          f" {len(cases)} cases.\n", flush=True)


def measure(bench, case, quick):
    bench.make(case)
    bench.use_sink()
    bench.record()
    size = len(case.make_message())
    rounds, runs = (4, 3) if quick else (16, 5)
    if size > LARGE:
        rounds, runs = (2, 1) if quick else (6, 2)
    times = Rounds(bench, rounds, runs)
    counts = [bench.instructions(command) / 1e6 for command in COMMANDS.values()]
    peak = bench.peak_memory(COMMANDS["program"]) / 1e6
    walls = times.walls("program")
    print(f"| {case.name} | "
          + " | ".join(f"{times.milliseconds(name):.2f}" for name in COMMANDS)
          + f" | {statistics.median(walls):.2f} ({walls[0]:.2f} to {walls[-1]:.2f})"
          f" | {statistics.median(times.walls('static')):.2f} | {times.cpu('program'):.2f} | "
          + " | ".join(f"{count:.2f}" for count in counts) + f" | {peak:.0f} |", flush=True)


def measure_all(bench, cases, quick):
    columns = ["case", *(f"{name}, ms" for name in COMMANDS),
               "wall time: program / floor (least to most)", "wall time: static / floor",
               "processor time: program / floor",
               *(f"{name}, million instructions" for name in COMMANDS),
               "peak memory of the program, MB"]
    print(f"| {' | '.join(columns)} |\n|{' --- |' * len(columns)}")
    for case in cases:
        measure(bench, case, quick)
    answer, end = bench.milliseconds_of_reader()
    print(wrapped(f"\nThe reader of a plain message runs {bench.instructions_of_reader() / 1e6:.2f}"
                  f" million instructions besides. In a loop of its own it takes {answer:.2f} ms from"
                  f" its start to its answer, and {end:.2f} ms to end."), flush=True)


def ascii_text(size):
    return plain() + b"Greetings from the shop, and thank you for your question.\n" * (size // 58)


def latin1(size):
    line = "Grüße aus dem Laden, und schönen Dank für Ihre Anfrage vom März, bis bald.\n"
    return (b"From: otto@customer.example\nTo: info@shop.example\nSubject: A question\n"
            b"Content-Type: text/plain; charset=iso-8859-1\n\n"
            + line.encode("latin-1") * (size // len(line)))


def measure_intake(quick):
    size = (20 if quick else 100) * MEGABYTE
    forms = {"us-ascii": ascii_text, "iso-8859-1": latin1, "utf-8": FORMS["text"],
             **{name: FORMS[name] for name in list(FORMS)[1:]}}
    print("\n| intake of one message | MB | MB/s | MB for a second of the processor |"
          " peak memory / message |\n| --- | --- | --- | --- | --- |")
    for name, make in forms.items():
        message = make(size)
        runs = [intake(message) for _ in range(3 if quick else 9)]
        megabytes = len(message) / 1e6
        print(f"| {name} | {megabytes:.0f} | {megabytes / min(run[0] for run in runs):.0f}"
              f" | {megabytes / min(run[1] for run in runs):.0f}"
              f" | {max(run[2] for run in runs) / len(message):.2f} |", flush=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--compare", action="store_true")
    options = parser.parse_args()
    print(wrapped(f"Machine: {os_description()}.\n"))
    cases = [EMPTY] + [case for case in CASES if not options.quick or case.name in QUICK]
    bench = Bench()
    compare(bench, [case for case in cases if "MB of" not in case.name])
    if options.compare:
        return
    bench.lighten()
    measure_all(bench, cases, options.quick)
    measure_intake(options.quick)


if __name__ == "__main__":
    main()
