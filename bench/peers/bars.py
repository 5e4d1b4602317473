"""Draws bench/peers.png: the median wall time of each peer in each situation."""

import subprocess

from runs import BUILD, ROOT

DATA = BUILD / "peers.data"

PLOT = """
set terminal pngcairo size 1200,500 noenhanced
set output '{output}'
set style data histograms
set style histogram clustered gap 1
set style fill solid 0.8 border -1
set datafile separator '\\t'
set datafile missing '-'
set logscale y
set yrange [1:]
set ylabel 'milliseconds for a delivery, median'
set grid ytics
set key outside right top
plot for [column=2:{last}] '{data}' using column:xtic(1) title columnheader(column)
"""


def draw(names, situations):
    """From the peers' names and, for each situation, a dictionary of milliseconds by name."""
    lines = ["\t".join(["situation", *names])]
    for situation, times in situations.items():
        lines.append("\t".join([situation, *(str(times.get(name, "-")) for name in names)]))
    DATA.write_text("\n".join(lines) + "\n")
    script = PLOT.format(output=ROOT / "bench" / "peers.png", data=DATA, last=len(names) + 1)
    subprocess.run(["gnuplot"], input=script.encode(), check=True)
