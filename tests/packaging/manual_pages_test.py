"""The list of diagnostics in autoresponder(8): the system tests have provoked each of them, and no line
that the page does not have. Needs what those tests have noted. Also the keys in kem.conf(5)."""

import os
import re
import sys
from pathlib import Path

import pytest

CHECKOUT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(CHECKOUT / "sandbox"))

import panel as sandbox  # noqa: E402

BUILD = CHECKOUT / os.environ.get("KEM_BUILD", "build")
PAGE = (CHECKOUT / "packaging" / "autoresponder.8").read_text()
CONF_PAGE = (CHECKOUT / "packaging" / "kem.conf.5").read_text()

# What takes ten minutes, or a system without memory: unit tests of the file that is named write it.
BY_UNIT_TESTS = {
    "autoresponder: ended a command that took too long:": "reply/shell_test.cpp",
    "Allocation failed": "support/idn_test.cpp",
    "alloc(": "support/strings_test.cpp",
    "Can't allocate memory for error message": "support/report_test.cpp",
}


def unquoted(text):
    return text.replace("\\&", "").replace('\\(dq', '"')


def page_items():
    """The diagnostics of the page, each as a pattern for a line."""
    section = PAGE.split(".Sh DIAGNOSTICS")[1].split("\n.Sh ")[0]
    for head in re.findall(r"^\.It (Li .*)$", section, re.MULTILINE):
        fixed = [unquoted(text).strip(" ") for text in re.findall(r'Li "([^"]*)"', head)]
        if fixed[0] not in BY_UNIT_TESTS:
            yield ".*".join(map(re.escape, fixed))


ITEMS = list(page_items())
NOTED = b"".join(path.read_bytes() for path in sorted((BUILD / "diagnostics").iterdir()))
LINES = set(NOTED.decode("latin-1").split("\n"))


@pytest.mark.parametrize("item", ITEMS)
def test_every_diagnostic_of_the_page_was_written(item):
    assert any(re.search(item, line) for line in LINES)


def test_the_page_has_every_line_of_the_program():
    written = {line for line in LINES if line.startswith("autoresponder: ")}
    assert len(written) > 100
    assert {line for line in written if not any(re.search(item, line) for item in ITEMS)} == set()


def test_the_keys_of_the_configuration():
    assert re.findall(r"^\.It Li (\w+)$", CONF_PAGE.split(".Sh KEYS")[1], re.M) == sandbox.KEYS
