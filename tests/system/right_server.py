"""The parts of a server that is set up right, beside its panel: the installed program, and the mail
server's control files for the panel's domain."""

import os
import shutil

import panel as sandbox
from conftest import PROGRAM

PRODUCT = sandbox.HOME / "kem"
INSTALLED = PRODUCT / "sbin" / "autoresponder"
GROUP = 64001
CONTROL = sandbox.QMAIL / "control"
USERS = sandbox.QMAIL / "users"
ASSIGNED = f"+shop.example-:shop:64000:{GROUP}:/home/shop:-::"


def install(directory=PRODUCT):
    program = directory / "sbin" / "autoresponder"
    program.parent.mkdir(parents=True, exist_ok=True)
    program.unlink(missing_ok=True)
    shutil.copy(PROGRAM, program)
    os.chown(program, 0, GROUP)
    program.chmod(0o4750)


def assign(*lines):
    (USERS / "assign").write_text("".join(f"{line}\n" for line in lines) + ".\n")
    (USERS / "cdb").write_text("")


def configure(**values):
    sandbox.write_conf({**sandbox.conf_values(), "PRODUCT_ROOT_D": str(PRODUCT), **values})


def set_up(**values):
    """Sets up all but the size limit; `values` are unusual values of kem.conf."""
    configure(**values)
    install()
    USERS.mkdir(exist_ok=True)
    assign(ASSIGNED)
    (CONTROL / "virtualdomains").write_text("shop.example:shop.example\n")
    remove_control_files()


def remove_control_files():
    for name in ("locals", "rcpthosts", "concurrencylocal"):
        (CONTROL / name).unlink(missing_ok=True)


def take_down():
    for directory in (PRODUCT, USERS):
        shutil.rmtree(directory)
    (CONTROL / "virtualdomains").unlink(missing_ok=True)
    remove_control_files()
