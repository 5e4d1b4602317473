"""The cure of each finding, by its code or by the name of the break: the command that the finding itself
ends with, or what its words ask for."""

import os
import re
import shutil
import subprocess

import panel as sandbox
from right_server import (ASSIGNED, CONTROL, DELIVERIES, GROUP, HOME, INSTALLED, USERS, assign, configure,
                          install, install_mail_server, make_home)

COMMAND = re.compile(r"(?:chown|chmod|mount) .*$")
STATEMENT = re.compile(r"(?:alter table|set global|grant|drop trigger) [^.]*(?:\.resp_freq [^.]*)?$")


def repaired(*_):
    """What the break returned undoes it: a package, a mount or a table comes back."""


def printed_command(_, text):
    subprocess.run(["sh", "-c", COMMAND.search(text)[0]], check=True)


def printed_statement(server, text):
    server.sql(STATEMENT.search(text)[0].split(", or ")[0])


def files(*_):
    install()
    install_mail_server()
    shutil.rmtree(HOME, ignore_errors=True)
    make_home()


def sh(command):
    return lambda *_: subprocess.run(["sh", "-c", command], check=True)


def text(path, words):
    return lambda *_: path.write_text(words)


def sql(statements):
    return lambda server, _: server.sql(statements)


def mode_and_owner(_, words):
    path = words.split()[0]
    os.chown(path, 0, 0)
    os.chmod(path, int(re.search(r"mode (0\d+)\.", words)[1], 8))


CURES = {
    "conf_key_missing": lambda *_: configure(),
    "conf_unreadable": lambda *_: configure(),
    "conf_writable": mode_and_owner,
    "switch_unknown": lambda *_: configure(),
    "password_exposed": printed_command,
    "password_unreadable": text(sandbox.SHADOW, f"{sandbox.PASSWORD}\n"),
    "password_too_long": text(sandbox.SHADOW, f"{sandbox.PASSWORD}\n"),
    "wrong password": text(sandbox.SHADOW, f"{sandbox.PASSWORD}\n"),
    "no user": repaired,
    "server elsewhere": lambda *_: sandbox.SOCKET.symlink_to("../mariadbd/mariadbd.sock"),
    "no settings": lambda server, _: server.reset(),
    "table_missing": lambda server, _: server.reset(),
    "column_missing": lambda server, _: server.reset(),
    "table_unusable": lambda server, _: server.reset(),
    "no right to read": repaired,
    "right_missing": printed_statement,
    "limiter_without_memory": sql("update mail_resp set mem_limit=1"),
    "trigger_broken": lambda server, text: server.sql(re.search("drop trigger .*", text)[0]),
    "view": sql("drop view resp_attach; rename table real_attach to resp_attach"),
    "small ids": printed_statement,
    "column_type": lambda server, _: server.reset(),
    "index_missing": printed_statement,
    "server_read_only": printed_statement,
    "few_connections": printed_statement,
    "reply_to_unreadable": sql("update mail_resp set reply_to='a@b.example'"),
    "limiter_time": printed_statement,
    "limiter_refused": sql("alter table resp_freq alter remark set default ''"),
    "limiter_engine": printed_statement,
    "sendmail_missing": lambda *_: sandbox.write_sendmail(),
    "sendmail_writable": printed_command,
    "qmail_inject_missing": files,
    "no queue": files,
    "qmail_queue_not_setuid": printed_command,
    "server_name_missing": files,
    "uuencode_missing": repaired,
    "sed_missing": repaired,
    "libidn_missing": repaired,
    "program_missing": files,
    "program_owner": lambda *_: os.chown(INSTALLED, 0, GROUP) or INSTALLED.chmod(0o4750),
    "program_not_setuid": printed_command,
    "program_open": printed_command,
    "program_writable": printed_command,
    "program_closed": lambda *_: os.chown(INSTALLED, 0, GROUP) or INSTALLED.chmod(0o4750),
    "program_nosuid": sh(f"mount -o remount,suid {INSTALLED.parent.parent}"),
    "program_noexec": sh(f"mount -o remount,exec {INSTALLED.parent.parent}"),
    "tmp_not_sticky": printed_command,
    "tmp_read_only": printed_command,
    "tmp_full": sh("rm /tmp/filling; mount -o remount,size=100m /tmp"),
    "tmp_small": sh("mount -o remount,size=100m /tmp"),
    "proc_missing": repaired,
    "store_missing": lambda *_: configure(),
    "store_writable": printed_command,
    "store_linked": repaired,
    "qmail_root_missing": lambda *_: configure(),
    "no_size_limit": text(CONTROL / "databytes", "1000000\n"),
    "size_limit_unlikely": text(CONTROL / "databytes", "1000000\n"),
    "size_limit_too_large": text(CONTROL / "databytes", "1000000\n"),
    "prefix_with_dash": text(CONTROL / "virtualdomains", "shop.example:shop.example\n"),
    "local_name_with_dash": text(CONTROL / "locals", "localhost\n"),
    "local_domain_with_dash": text(CONTROL / "locals", "localhost\n"),
    "domain_twice": text(CONTROL / "locals", "localhost\n"),
    "domain_not_received": text(CONTROL / "rcpthosts", "shop.example\n"),
    "domain_not_delivered": text(CONTROL / "virtualdomains", "shop.example:shop.example\n"),
    "prefix_without_user": lambda *_: assign(ASSIGNED),
    "delivery_group": lambda *_: assign(ASSIGNED),
    "delivery_as_root": lambda *_: assign(ASSIGNED),
    "assign_unfinished": lambda *_: assign(ASSIGNED),
    "assign_after_dot": lambda *_: assign(ASSIGNED),
    "users_not_compiled": lambda *_: os.utime(USERS / "cdb", (2**31, 2**31)),  # qmail-newu
    "open home": printed_command,
    "home_unusable": files,
    "no .qmail file for many": lambda *_: (HOME / ".qmail-default").write_text(DELIVERIES),
    "delivery_file_missing": files,
    "delivery_file_refused": printed_command,
    "program_not_started": files,
    "program_elsewhere": files,
    "failure_delivered_again": files,
    "maildir_missing": files,
    "dangerous_address": sql("update resp_forward set address='a@b.example'"),
    "dangerous_file_name": sql("update resp_attach set filename='a.txt'"),
    "too_many_attachments": sql("delete from resp_attach where rn_id=1"),
}
