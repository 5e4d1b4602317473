"""How a server comes to write each line of the log table in docs/operators.md."""

import os
import shutil
from pathlib import Path

import panel as sandbox
from conftest import INTERNATIONAL, BUILD, PROGRAM, message
from logged import INSTALLED, GROUP, USER, deliver, mounted


# What leads to each line.
def from_sender(sender):
    return lambda _: deliver(message(sender=sender))


def to(recipient):
    return lambda _: deliver(recipient=recipient)


def without_password(_):
    sandbox.SHADOW.unlink()
    return deliver()


def with_another_password(_):
    sandbox.write_shadow("another")
    return deliver()


def after(statement, text=None):
    def act(panel):
        panel.rule()
        panel.sql(statement)
        return deliver(text)
    return act


def as_another_user(mode):
    """The program as a delivery starts it, with a mode of its own."""
    def act(_):
        INSTALLED.parent.mkdir(exist_ok=True)
        shutil.copy(PROGRAM, INSTALLED)
        os.chown(INSTALLED, 0, GROUP)
        INSTALLED.chmod(mode)
        try:
            return deliver(command=f"{INSTALLED} || exit 0", user=USER, group=GROUP,
                           extra_groups=[])
        finally:
            shutil.rmtree(INSTALLED.parent)
    return act


def without_a_right(panel):
    panel.rule()
    panel.sql("revoke all on kem.* from 'admin'@'localhost';"
              "grant select on kem.* to 'admin'@'localhost'")
    try:
        return deliver()
    finally:
        panel.sql("grant all on kem.* to 'admin'@'localhost'")


def on_a_strict_server(sender, setting):
    def act(panel):
        panel.sql(f"insert into misc values ('mysql41_compatible', '{setting}')")
        panel.rule()
        panel.sql("set global sql_mode='STRICT_TRANS_TABLES'")
        try:
            return deliver(b"From: " + sender + b"\n\n")
        finally:
            panel.sql("set global sql_mode=''")
    return act


def without_a_key(_):
    lines = sandbox.CONF.read_text().splitlines(True)
    sandbox.CONF.write_text("".join(line for line in lines if not line.startswith("WEB_STAT ")))
    return deliver()


def with_a_low_limit(_):
    INSTALLED.parent.mkdir(exist_ok=True)
    shutil.copy(PROGRAM, INSTALLED)
    os.chown(INSTALLED, 0, GROUP)
    INSTALLED.chmod(0o4750)
    try:
        return deliver(command=f"ulimit -n 8; {INSTALLED} || exit 0", before=[
            "setpriv", f"--reuid={USER}", f"--regid={GROUP}", "--clear-groups",
            "--bounding-set=-sys_resource"])
    finally:
        shutil.rmtree(INSTALLED.parent)


def with_a_quote(panel):
    panel.rule()
    return deliver(message(sender="o'neil@x.example"))


def with_a_pipe(panel):
    panel.attach(panel.rule(), "pipe")
    (sandbox.store() / "pipe").unlink()
    os.mkfifo(sandbox.store() / "pipe")
    return deliver()


def with_a_long_alias(panel):
    name = "x" * 64
    panel.rule()
    panel.sql(f"insert into mail_aliases (mn_id, alias) values (1, '{name}')")
    return deliver(recipient=f"shop.example-{name}@shop.example")


def on_a_read_only_disk(_):
    with mounted("-t", "tmpfs", "-o", "ro,mode=1777", "tmpfs", "/tmp"):
        return deliver()


def on_a_full_disk(panel):
    panel.rule(text="x" * 60000)
    with mounted("-t", "tmpfs", "-o", "size=32768,mode=1777", "tmpfs", "/tmp"):
        return deliver()


def with_subject(subject):
    return lambda _: deliver(message(subject=subject))


def without_sendmail(panel):
    panel.rule()
    (sandbox.QMAIL / "bin" / "sendmail").unlink()
    return deliver()


def without_uuencode(panel):
    panel.attach(panel.rule(), "list.txt")
    directory = sandbox.HOME / "few-commands"
    directory.mkdir()
    (directory / "sed").symlink_to("/usr/bin/sed")
    try:
        return deliver(env={"PATH": str(directory)})
    finally:
        shutil.rmtree(directory)


def without_library(name):
    def delivered(panel):
        panel.rule()
        panel.rename_mailbox()
        library = next(Path("/usr/lib").glob(f"*/{name}")).resolve()
        with mounted("--bind", "/dev/null", str(library)):
            return deliver(recipient=INTERNATIONAL)

    return delivered


def aborted(panel):
    line = deliver(message(subject="=?utf-8?Q?a?= \0"))
    panel.remove_temporary_files()
    return line


def not_installed(_):
    return deliver(command="/nowhere/sbin/autoresponder || exit 0")


def with_a_dead_reader(panel):
    panel.rule()
    return deliver(CRASH, env={"LD_PRELOAD": str(BUILD / "tests" / "libintruder.so"),
                               "ASAN_OPTIONS": "verify_asan_link_order=0"})


def with_an_unknown_switch(panel):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_REPAIRS": "yes"})
    return deliver()


def with_courtesy(panel):
    panel.switch(repairs=False, courtesy=True)
    panel.rule()
    return deliver(b"List-Id: <x.example>\n" + message())


def with_repairs(deed):
    def act(panel):
        panel.switch(repairs=True, courtesy=False)
        panel.rule()
        return deed(panel)
    return act


def with_an_odd_reply_to(panel):
    panel.sql("update mail_resp set reply_to='\"Shop <a@b.example>'")
    return deliver()


def with_a_newline(panel):
    panel.attach(1, "two\nlines")
    return deliver()


def forwarded_from_a_full_disk(panel):
    panel.forward(1, "anna@colleague.example")
    with mounted("-t", "tmpfs", "-o", "size=32768,mode=1777", "tmpfs", "/tmp"):
        return deliver(message(body="x" * 60000))


def without_its_file(name):
    """The first mail, the owner's notification, removes the file; two rules answer."""
    def delivered(panel):
        rules = panel.rule(), panel.rule()
        panel.name_attachments(rules[0], "missing.txt")
        panel.forward(rules[1], "anna@colleague.example")
        sandbox.write_sendmail(f"#!/bin/sh\ncat >/dev/null\nrm -f /tmp/kem-{name}-*\n"
                               f"rm -f {sandbox.QMAIL}/bin/sendmail\n"
                               f"cp /bin/true {sandbox.QMAIL}/bin/sendmail\n")
        return deliver()
    return delivered


CRASH = (b"From: otto@customer.example\nTo: info@shop.example\n"
         b"Content-Type: text/plain; charset=x-intruder-crash\n\n")

# The two servers have other words for the same.
MARIADB_WORDS = "…Illegal_mix_of_collations_…", "…Invalid_utf8…"
MYSQL_WORDS = "…Cannot_convert_string_…", "…Incorrect_string_value:_…"
WORDS, OTHER_WORDS = (MYSQL_WORDS, MARIADB_WORDS) if sandbox.MYSQL_ROOT else (MARIADB_WORDS, MYSQL_WORDS)

PRODUCERS = {
    "the_message_could_not_be_read/Abnormal_exit.": with_a_dead_reader,
    "…_is_neither_on_nor_off": with_an_unknown_switch,
    "no_reply,_courtesy:_…": with_courtesy,
    "refused_to_run_a_command_with_a_newline_in:_…": with_repairs(with_a_newline),
    "left_out_a_Reply-To_…": with_repairs(with_an_odd_reply_to),
    "refused_to_mail_to_an_option:_…": with_repairs(
        lambda _: deliver(message(sender="-bs@evil.example"))),
    "not_forwarded,_because_the_message_is_not_whole_…": with_repairs(forwarded_from_a_full_disk),
    "not_sent,_because_its_file_was_removed:_…": without_its_file("response-uu"),
    "not_forwarded,_because_its_file_was_removed:_…": without_its_file("autoresponder"),
    "not_sent,_because_its_attachments_are_not_whole:_…": with_repairs(
        lambda panel: without_uuencode(panel)),
    "Field_From:_contains_MAILER-DAEMON": from_sender("MAILER-DAEMON@x.example"),
    "Field_From:_equial_field_To:": from_sender("info@shop.example"),
    "Could_not_get_sender's_…": lambda _: deliver(b"Subject: Hello\n\n"),
    "Mailname_not_found:_…": to("my-shop.example-info@my-shop.example"),
    "Unable_to_connect_to_Quern_Database:_…": with_another_password,
    "DB_error_…": after("drop table misc"),
    "admin_password_file:_Permission_denied/…": as_another_user(0o750),
    "admin_password_file:_No_such_file_…": without_password,
    "Unable_to_query:_…": after("drop table mail"),
    "Unable_to_exec_query_:…": after("drop table mail_resp"),
    "…command_denied_to_user_…": without_a_right,
    "…Data_too_long_for_column_'email'…": on_a_strict_server(b"x" * 400 + b"@x.example", "true"),
    WORDS[0]:
        on_a_strict_server("\U0001F600@x.example".encode(), "true"),
    WORDS[1]:
        on_a_strict_server(b"\xff@x.example", "false"),
    "Error:_…_not_defined": without_a_key,
    "The_caller's_limit_on_…": with_a_low_limit,
    "refused_to_run_a_command_with_a_quote_in:_…": with_a_quote,
    "no_plain_file,_attached_empty:_…": with_a_pipe,
    "idn_toascii_safe(…": with_a_long_alias,
    "Could_not_create_…": on_a_read_only_disk,
    "Unable_to_write_the_reply_…": on_a_full_disk,
    "Could_not_convert_…": with_subject("=?x-unknown?Q?a?="),
    "wrong_rfc1522_…": with_subject("=?utf-8?="),
    "Bad_base64_…": with_subject("=?utf-8?B?****?="),
    "Bad_hex_…": with_subject("=?utf-8?Q?=ZZ?="),
    "sendmail:_not_found": without_sendmail,
    "uuencode:_not_found": without_uuencode,
    "Unable_to_load_libidn:_…": without_library("libidn.so.12"),
    "Unable_to_load_the_database's_client_library:_…": without_library("libmariadb.so.3"),
    "autoresponder:_Permission_denied": as_another_user(0o700),
    "autoresponder:_not_found": not_installed,
    "terminate_called_…": aborted,
}

# The unit test of the shell has the line that takes ten minutes.
# The last three are the mail server's own words: tests/qmail has them.
NOT_PRODUCED = {"did_…", "ended_a_command_that_took_too_long:_…", "qmail-inject:_fatal:_…",
                "sendmail:_illegal_option_…", "502_unimplemented_…", *OTHER_WORDS}
