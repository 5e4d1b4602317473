"""Draws bench/linearity.png: time against message size, rules and parts; run by bench/run in the
sandbox."""

import os
import subprocess
import time

from cases import FORMS, KILOBYTE, many_parts, many_rules, plain
from runs import BUILD, INPUT, PROGRAM, ROOT, Bench, intake

DATA = BUILD / "linearity"
REPEATS = 5

PLOT = """
set terminal pngcairo size 1500,500 noenhanced
set output '{output}'
set logscale xy
set key top left
set grid
set ylabel 'seconds'
set multiplot layout 1,3
set title 'one intake against its size'
set xlabel 'bytes'
plot {sizes}, [10000:1e8] x / 400e6 with lines dashtype 2 title '400 MB/s'
set title 'one intake against the number of parts'
set xlabel 'parts'
plot '{data}/parts' with linespoints title 'parts that are no text'
set title 'one run against the number of rules'
set xlabel 'rules'
plot '{data}/rules' with linespoints title 'rules not firing'
unset multiplot
"""


def write(name, points):
    (DATA / name).write_text("".join(f"{x} {seconds}\n" for x, seconds in points))
    print(name, *(f"{x}:{seconds:.6f}" for x, seconds in points), flush=True)


def of_intake(message):
    return min(intake(message)[0] for _ in range(REPEATS))


def of_run(bench):
    def once():
        start = time.perf_counter()
        bench.run([PROGRAM])
        return time.perf_counter() - start
    return min(once() for _ in range(REPEATS))


def of_rules(bench, count):
    bench.panel.reset()
    many_rules(count)(bench.panel)
    INPUT.write_bytes(plain())
    return of_run(bench)


def main():
    os.makedirs(DATA, exist_ok=True)
    bench = Bench()
    for form, make in FORMS.items():
        sizes = [10 * KILOBYTE * 10 ** step for step in range(5)]
        write(form, [(size, of_intake(make(size))) for size in sizes])
    write("parts", [(count, of_intake(many_parts(count))) for count in (10, 100, 1000, 10000, 100000)])
    write("rules", [(count, of_rules(bench, count)) for count in (1, 10, 100, 1000, 10000)])
    sizes = ", ".join(f"'{DATA}/{form}' with linespoints title '{form}'" for form in FORMS)
    script = PLOT.format(output=ROOT / "bench" / "linearity.png", data=DATA, sizes=sizes)
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


if __name__ == "__main__":
    main()
