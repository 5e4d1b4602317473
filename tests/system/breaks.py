"""What can be wrong with a server, and the finding that tells of it."""

import os
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from right_server import (CONTROL, configure, set_up, take_down)


@pytest.fixture
def server(panel):
    """A server that is set up right, with one rule."""
    set_up()
    panel.limit("1000000")
    panel.rule()
    yield panel
    take_down()


# Each returns a function that breaks something. That may return a function to undo it, where
# resetting the panel does not.
def without(key):
    def act(_):
        configure()
        lines = [line for line in sandbox.CONF.read_text().splitlines(True)
                 if not line.startswith(key + " ")]
        sandbox.CONF.write_text("".join(lines))
    return act


def conf(**values):
    return lambda _: configure(**values)


def mode(path, value):
    def act(_):
        before = path.stat().st_mode & 0o7777
        path.chmod(value)
        return lambda: path.exists() and path.chmod(before)
    return act


def owner(path, user, group=0):
    def act(_):
        os.chown(path, user, group)
        return lambda: os.chown(path, 0, 0)
    return act


def written(path, text):
    return lambda _: path.write_text(text)


def gone(path):
    return lambda _: path.unlink()


def sql(statements):
    return lambda panel: panel.sql(statements)


def sql_until(statements, undo):
    def act(panel):
        panel.sql(statements)
        return lambda: panel.sql(undo)
    return act


def hidden(path):
    """Hides a file by one that can be neither started nor loaded."""
    def act(_):
        where = Path(path).resolve()
        subprocess.run(["mount", "--bind", "/dev/null", where], check=True)
        return lambda: subprocess.run(["umount", where], check=True)
    return act


def mounted(options, path, and_then=lambda: None):
    def act(_):
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", path], check=True)
        and_then()
        return lambda: subprocess.run(["umount", path], check=True)
    return act


def strict_with_more_columns(panel):
    panel.sql("alter table resp_freq add column remark varchar(10) not null;"
              "set global sql_mode='STRICT_TRANS_TABLES'")
    return lambda: panel.sql("set global sql_mode=''")


def few_rights(rights):
    def act(panel):
        panel.sql("revoke all on kem.* from 'admin'@'localhost'")
        tables = panel.sql("show tables").split()
        for table in tables:
            panel.sql(f"grant {rights.get(table, 'select')} on kem.{table} to 'admin'@'localhost'")

        def undo():
            for table in tables:
                panel.sql(f"revoke all on kem.{table} from 'admin'@'localhost'")
            panel.sql("grant all on kem.* to 'admin'@'localhost'")
        return undo
    return act


def stop_database(panel):
    panel.sql("rename user 'admin'@'localhost' to 'away'@'localhost'")
    return lambda: panel.sql("rename user 'away'@'localhost' to 'admin'@'localhost'")


def another_server(panel):
    """MySQL, as far as a server's own word tells."""
    panel.sql("update mail_resp set mem_limit=0 where id=1")
    panel.database.restart("--version=8.4.2")
    return panel.database.restart


def server_elsewhere(panel):
    other = Path("/run/mariadbd/mariadbd.sock")
    other.parent.mkdir(exist_ok=True)
    sandbox.SOCKET.rename(other)
    return lambda: other.rename(sandbox.SOCKET)


def broken_table(panel):
    panel.sql("alter table resp_forward engine=MyISAM; flush tables")
    (sandbox.DATA / "kem" / "resp_forward.MYD").unlink()



FAULTS = [
    # name, what is done, severity and code of the finding, words of its line
    ("missing key", without("WEB_STAT"), "error", "conf_key_missing", "define WEB_STAT."),
    ("no conf", gone(sandbox.CONF), "error", "conf_unreadable", "No such file"),
    ("open conf", mode(sandbox.CONF, 0o666), "error", "conf_writable", "mode 0666"),
    ("foreign conf", owner(sandbox.CONF, 64000), "error", "conf_writable", "owner 64000"),
    ("open directory", mode(sandbox.CONF.parent, 0o777), "error", "conf_writable", "/etc/kem may"),
    ("odd switch", conf(AUTORESPONDER_REPAIRS="yes"), "warning", "switch_unknown", '"yes"'),
    ("odd second switch", conf(AUTORESPONDER_COURTESY="On"), "warning", "switch_unknown", '"On"'),
    ("open password", mode(sandbox.SHADOW, 0o640), "error", "password_exposed", "mode 0640"),
    ("foreign password", owner(sandbox.SHADOW, 64000), "error", "password_exposed", "owner 64000"),
    ("no password file", gone(sandbox.SHADOW), "error", "password_unreadable", "No such file"),
    ("empty password file", written(sandbox.SHADOW, ""), "error", "password_unreadable", "empty"),
    ("long password", written(sandbox.SHADOW, "x" * 100), "error", "password_too_long", "99"),
    ("wrong password", written(sandbox.SHADOW, "x\n"), "error", "database_unusable",
     "Access denied"),
    ("no user", stop_database, "error", "database_unusable", "Access denied"),
    ("server elsewhere", server_elsewhere, "error", "database_unusable",
     "A server listens at /run/mariadbd/mariadbd.sock: make the path above a symbolic link"),
    ("no settings", sql("drop table misc"), "error", "database_unusable", "misc"),
    ("no table", sql("drop table resp_attach"), "error", "table_missing", "resp_attach"),
    ("no column", sql("alter table mail_resp drop charset"), "error", "column_missing",
     "mail_resp.charset"),
    ("no right to read", few_rights({"clients": "insert"}), "error", "right_missing", "clients.id"),
    *((f"no right to {verb}", few_rights({"resp_freq": f"select, {rest}"}), "error",
       "right_missing", f"{verb} command denied") for verb, rest in (
           ("INSERT", "update, delete"), ("UPDATE", "insert, delete"), ("DELETE", "insert, update"))),
    ("rule without memory", another_server, "warning", "limiter_without_memory", "Rule 1 may"),
    ("broken trigger", sql_until("create trigger counted before insert on resp_freq for each row "
                                 "insert into gone values (new.num)", "drop trigger if exists counted"),
     "error", "trigger_broken", "counted of resp_freq fails: "),
    ("broken block of a trigger", sql_until(
        "delimiter //\ncreate trigger counted after delete on resp_freq for each row begin "
        "update resp_forward set address='it''s' where rn_id=old.rn_id; delete from gone; end//",
        "drop trigger if exists counted"), "error", "trigger_broken", "'kem.gone' doesn't exist"),
    ("broken table", broken_table, "error", "table_unusable", "resp_forward"),
    ("view", sql("rename table resp_attach to real_attach;"
                 "create view resp_attach as select * from real_attach"), "unseen", "not_seen",
     "types of the columns of resp_attach"),
    ("short addresses", sql("alter table resp_freq modify email varchar(100) not null"), "warning",
     "column_type", "resp_freq.email holds no more than 100"),
    ("other characters", sql("alter table resp_freq modify email varchar(320) character set latin1"),
     "warning", "column_type", "latin1"),
    ("other table characters", sql("alter table resp_attach convert to character set latin1"),
     "warning", "column_type", "resp_attach.filename has the character set latin1"),
    ("short texts", sql("alter table mail_resp modify text tinytext"), "warning", "column_type",
     "mail_resp.text holds no more than 255"),
    ("small counts", sql("alter table resp_freq modify num tinyint"), "warning", "column_type",
     "resp_freq.num is of type tinyint"),
    ("numbers as text", sql("alter table mail_resp modify ans_freq varchar(10)"), "warning",
     "column_type", "mail_resp.ans_freq is of type varchar"),
    ("missing word", sql("alter table mail_resp modify key_where enum('no','subj')"), "warning",
     "column_type", "the word 'body'"),
    ("number for a word", sql("alter table domainaliases modify mail tinyint(1)"), "warning",
     "column_type", "domainaliases.mail is a number"),
    ("small ids", sql("alter table resp_freq modify rn_id smallint"), "warning", "column_type",
     "mail_resp.id of type int"),
    ("no index", sql("alter table mail_aliases drop key mn_id"), "warning", "index_missing",
     "mail_aliases.mn_id"),
    ("no index of aliases", sql("alter table mail_aliases drop key alias"), "warning",
     "index_missing", "alter table mail_aliases add key (alias, mn_id)"),
    ("index that begins otherwise", sql("alter table domainaliases drop key name, add key (id, name)"),
     "warning", "index_missing", "domainaliases.name"),
    ("index over words", sql("alter table domains drop key name, add fulltext (name)"), "warning",
     "index_missing", "domains.name"),
    ("read-only server", sql_until("set global read_only=1", "set global read_only=0"), "error",
     "server_read_only", "no rule replies"),
    ("few connections", sql_until("set global max_connections=15", "set global max_connections=151"),
     "warning", "few_connections", "set global max_connections=20"),
    ("more deliveries", written(CONTROL / "concurrencylocal", "200\n"), "warning", "few_connections",
     "200 deliveries"),
    ("odd reply_to", sql("update mail_resp set reply_to='(Shop <a@b.example>'"), "warning",
     "reply_to_unreadable", "none of its replies leaves"),
    ("no time", sql("alter table resp_freq modify time_resp timestamp null default null"), "error",
     "limiter_time", "never answered again"),
    ("time without a day", sql("alter table resp_freq modify time_resp time"), "error",
     "limiter_time", "never answered again"),
    ("column without default", strict_with_more_columns, "error", "limiter_refused",
     "resp_freq.remark"),
]
