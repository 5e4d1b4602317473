"""The places in docs/scaling.md that the measurements write, and the figures that they leave for
bench/arithmetic.py."""

import json
import re

from loads import ROOT
from runs import wrapped

DOCUMENT = ROOT / "docs" / "scaling.md"
FIGURES = ROOT / "bench" / "figures.json"


def table(columns, rows):
    lines = [columns, ["---"] * len(columns), *rows]
    return "".join(f"| {' | '.join(map(str, line))} |\n" for line in lines)


def write(name, text):
    """Replaces what is between the marks of this name."""
    begin, end = f"<!-- {name}: written by bench/{name.split()[0]} -->", f"<!-- end of {name} -->"
    document = DOCUMENT.read_text()
    if document.count(begin) != 1 or document.count(end) != 1:
        raise ValueError(f"{DOCUMENT} lacks the marks of {name}")
    place = re.escape(begin) + ".*?" + re.escape(end)
    DOCUMENT.write_text(re.sub(place, lambda _: f"{begin}\n\n{wrapped(text)}\n{end}", document, flags=re.S))


def figures():
    return json.loads(FIGURES.read_text()) if FIGURES.exists() else {}


def write_figures(**values):
    """Replaces the figures of these names."""
    FIGURES.write_text(json.dumps({**figures(), **values}, indent=1, sort_keys=True) + "\n")
