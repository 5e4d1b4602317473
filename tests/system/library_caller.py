"""Calls a routine of the panel's library in a process of its own."""

import re
import subprocess

import pytest

from conftest import BUILD, FAULTS, NONSENSE

CALLS = BUILD / "tests" / "library_calls"
SESSION = 4  # statements that opening a connection sends
ERROR = NONSENSE[:-1].decode()
B = "Unable to connect to the mysql database\n"

DATA = """
update domains set status = 16, htype = 'vrt_hst', params_id = 7, limits_id = 8, dns_zone_id = 9;
insert into dom_param values (1, 'colour', 'blue');
insert into Parameters values (7, 'size', 'large'), (70, 'port', '8080');
insert into DomainServices values (1, 'mail', 70);
insert into Limits values (8, 'max_box', 25);
insert into IP_Addresses values (3, '192.0.2.7');
insert into hosting values (1, 3, 'true', 'trueish');
insert into dns_zone values (9);
insert into dns_recs values (9, 'A', 'www.shop.example.');
insert into anon_ftp values (1, 'true');
"""
ADMIN = "select val from misc where param='admin_email'"
NINE = "\t" * 9


def without_system_error(text):
    """The client library leaves some system error number, which the report shows."""
    return re.sub(r"\n?\nSystem error \d+: [^\n]*", "", text)


class Outcome:
    def __init__(self, process):
        self.status = process.returncode
        out = without_system_error(process.stdout.decode())
        self.err = without_system_error(process.stderr.decode())
        lines = out.splitlines(keepends=True)
        # The returned value, and what was reported on standard output.
        self.result = " ".join(line[1:-1] for line in lines if line.startswith("="))
        self.out = "".join(line for line in lines if not line.startswith("="))


def call(how, name, *arguments, faults=None, env=None):
    environment = {"PATH": "/usr/bin:/bin", **(env or {})}
    if faults is not None:
        environment |= {"LD_PRELOAD": str(FAULTS), "KEM_FAULTS": faults,
                        "ASAN_OPTIONS": "verify_asan_link_order=0"}
    return Outcome(subprocess.run([CALLS, how, name, *arguments], capture_output=True,
                                  env=environment))


def reported(outcome, text, status=0):
    """Whether exactly this was reported, on both streams."""
    line = "library_calls: " + text
    assert outcome.err == line
    assert outcome.out == line
    assert outcome.status == status


@pytest.fixture
def library(panel):
    panel.sql(DATA)
    return panel
