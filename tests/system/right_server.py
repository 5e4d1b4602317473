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
HOME = sandbox.HOME / "shop"
ASSIGNED = f"+shop.example-:shop:64000:{GROUP}:{HOME}:-::"
DELIVERY_FILE = HOME / ".qmail-info"
DELIVERIES = f"./info/Maildir/\n|{INSTALLED} || exit 0\n"
QUEUE = sandbox.QMAIL / "bin" / "qmail-queue"
INJECT = sandbox.QMAIL / "bin" / "qmail-inject"


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


def make_home():
    (HOME / "info" / "Maildir" / "new").mkdir(parents=True, exist_ok=True)
    DELIVERY_FILE.write_text(DELIVERIES)


def install_mail_server():
    for program in (QUEUE, INJECT):
        program.write_text("")
        program.chmod(0o4711)
    (CONTROL / "me").write_text("mail.example\n")


def configure(**values):
    sandbox.write_conf({**sandbox.conf_values(), "PRODUCT_ROOT_D": str(PRODUCT), **values})


def set_up(**values):
    """Sets up all but the size limit; `values` are unusual values of kem.conf."""
    configure(**values)
    install()
    USERS.mkdir(exist_ok=True)
    assign(ASSIGNED)
    make_home()
    install_mail_server()
    (CONTROL / "virtualdomains").write_text("shop.example:shop.example\n")
    remove_control_files()


def remove_control_files():
    for name in ("locals", "rcpthosts", "concurrencylocal"):
        (CONTROL / name).unlink(missing_ok=True)


def take_down():
    for directory in (PRODUCT, USERS, HOME):
        shutil.rmtree(directory, ignore_errors=True)
    for file in (QUEUE, INJECT, CONTROL / "me", CONTROL / "virtualdomains"):
        file.unlink(missing_ok=True)
    remove_control_files()
