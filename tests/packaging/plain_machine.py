"""What the tests of installations share."""

import grp
import stat
from pathlib import Path

import pytest

from tools import dpkg, package, shell

NAME = "kem-autoresponder"
PACKAGE, NEXT_PACKAGE = package(NAME, 1), package(NAME, 2)
PROGRAM = Path("/opt/kem/sbin/autoresponder")
GROUP = "vmail"  # the package's default
DELIVERY, STRANGER = 64001, 64002  # user ids without an account
MESSAGE = b"From: otto@customer.example\nSubject: Hello\n\nA question.\n"


def owner_and_mode(path=PROGRAM):
    status = path.stat()
    return status.st_uid, grp.getgrgid(status.st_gid).gr_name, stat.S_IMODE(status.st_mode)


@pytest.fixture
def group():
    shell("groupadd", "--system", GROUP)
    yield GROUP
    shell("groupdel", GROUP)


@pytest.fixture(autouse=True)
def _no_package():
    yield
    dpkg("--purge", NAME)
