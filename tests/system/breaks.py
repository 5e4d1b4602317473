"""What can be wrong with a server, and the finding that tells of it."""

import os
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from right_server import (CONTROL, GROUP, INSTALLED, PRODUCT, USERS, assign, configure, install, set_up,
                          take_down)


@pytest.fixture
def server(panel):
    """A server that is set up right, with one rule."""
    set_up()
    panel.limit("1000000")
    panel.rule()
    yield panel
    take_down()


def with_another_engine(server):
    server.sql("alter table mail_resp engine=MyISAM")
    configure(AUTORESPONDER_REPAIRS="on")
    return lambda: server.sql("alter table mail_resp engine=InnoDB")


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


def moved_store(_):
    configure(QMAIL_MAILNAMES_D="/nowhere/mailnames")


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


def dashes_in_local_names(panel):
    (CONTROL / "locals").write_text("shop.example\n")
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales-eu')")


def newer_assign(_):
    later = time.time() + 10
    os.utime(USERS / "assign", (later, later))


LIBIDN = next(Path("/usr/lib").glob("*/libidn.so.12"))
SENDMAIL = sandbox.QMAIL / "bin" / "sendmail"


def too_many_attachments(server):
    server.sql("insert into resp_attach select 1, concat('file', seq, '.txt') from seq_1_to_450")


def without_proc(server):
    server.switch(repairs=True)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/proc"], check=True)
    return lambda: subprocess.run(["umount", "/proc"], check=True)


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
    ("no time", sql("alter table resp_freq modify time_resp timestamp null default null"), "error",
     "limiter_time", "never answered again"),
    ("time without a day", sql("alter table resp_freq modify time_resp time"), "error",
     "limiter_time", "never answered again"),
    ("column without default", strict_with_more_columns, "error", "limiter_refused",
     "resp_freq.remark"),
    ("no sendmail", gone(SENDMAIL), "error", "sendmail_missing", str(SENDMAIL)),
    ("sendmail that cannot start", mode(SENDMAIL, 0o644), "error", "sendmail_missing", "started"),
    ("open sendmail", mode(SENDMAIL, 0o777), "error", "sendmail_writable", "mode 0777"),
    ("no uuencode", hidden("/usr/bin/uuencode"), "error", "uuencode_missing", "sharutils"),
    ("no sed", hidden("/usr/bin/sed"), "error", "sed_missing", "sed"),
    ("no libidn", hidden(LIBIDN), "error", "libidn_missing", "libidn12"),
    ("no program", gone(INSTALLED), "error", "program_missing", "/opt/kem/sbin/autoresponder or"),
    ("foreign program", owner(INSTALLED, 64000, GROUP), "error", "program_owner", "user 64000"),
    ("not setuid", mode(INSTALLED, 0o750), "error", "program_not_setuid", "mode 0750"),
    ("open to everybody", mode(INSTALLED, 0o4755), "error", "program_open", "mode 4755"),
    ("open to writers", mode(INSTALLED, 0o4770), "error", "program_writable", "mode 4770"),
    ("closed to the group", mode(INSTALLED, 0o4700), "error", "program_closed", "mode 4700"),
    ("of the wrong group", lambda _: os.chown(INSTALLED, 0, 0) or INSTALLED.chmod(0o4750), "error",
     "program_closed", "group 0"),
    ("nosuid", mounted("nosuid", PRODUCT, install), "error", "program_nosuid", "nosuid"),
    ("noexec", mounted("noexec", PRODUCT, install), "error", "program_noexec", "noexec"),
    ("tmp not sticky", mode(Path("/tmp"), 0o777), "error", "tmp_not_sticky", "mode 0777"),
    ("tmp read-only", mounted("ro,mode=1777", "/tmp"), "error", "tmp_read_only", "read-only"),
    ("tmp full", mounted("size=4m,mode=1777", "/tmp", lambda: subprocess.run(
        ["dd", "if=/dev/zero", "of=/tmp/filling", "bs=1M", "count=8"], stderr=subprocess.DEVNULL)),
     "error", "tmp_full", "Make room"),
    ("tmp small", mounted("size=8m,mode=1777", "/tmp"), "warning", "tmp_small", "8 MiB"),
    ("no store", moved_store, "error", "store_missing", "/nowhere/mailnames"),
    ("open store", mode(sandbox.MAILNAMES, 0o777), "error", "store_writable", "mode 0777"),
    ("no qmail", conf(QMAIL_ROOT_D="/nowhere"), "error", "qmail_root_missing", "/nowhere"),
    ("no limit", gone(CONTROL / "databytes"), "warning", "no_size_limit", "missing"),
    ("limit of 0", written(CONTROL / "databytes", "0\n"), "warning", "no_size_limit", 'holds "0"'),
    ("limit in words", written(CONTROL / "databytes", "ten\n"), "warning", "no_size_limit",
     'holds "ten"'),
    ("empty limit", written(CONTROL / "databytes", "\n"), "warning", "no_size_limit", 'holds ""'),
    ("limit with a unit", written(CONTROL / "databytes", "20000k\n"), "warning",
     "size_limit_unlikely", "means 20000 bytes"),
    ("small limit", written(CONTROL / "databytes", "1000\n"), "warning", "size_limit_unlikely",
     "means 1000 bytes"),
    ("huge limit", written(CONTROL / "databytes", "2147483648\n"), "warning",
     "size_limit_too_large", "2147483647"),
    ("dash in a prefix", written(CONTROL / "virtualdomains", "shop.example:my-shop\n"), "error",
     "prefix_with_dash", '"my-shop" of shop.example'),
    ("dash in the prefix of all", written(CONTROL / "virtualdomains", ":all-mail\n"), "error",
     "prefix_with_dash", "of all domains"),
    ("dash in the prefix of those below", written(CONTROL / "virtualdomains", ".example:a-b\n"),
     "error", "prefix_with_dash", '"a-b" of .example'),
    ("dash elsewhere", written(CONTROL / "virtualdomains",
                               "shop.example:shop.example\nx.example:a-b\n"),
     "warning", "prefix_with_dash", "x.example"),
    ("dash without a prefix", dashes_in_local_names, "error", "local_name_with_dash",
     "sales-eu@shop.example"),
    ("domain elsewhere", written(CONTROL / "virtualdomains", "#shop.example:shop.example\n"),
     "warning", "domain_not_delivered", "shop.example"),
    ("domain excepted", written(CONTROL / "virtualdomains", "shop.example:\n:d1\n"), "warning",
     "domain_not_delivered", "shop.example"),
    ("prefix without user", lambda _: assign("+other-:o:64000:1:/:-::"), "warning",
     "prefix_without_user", "alias user"),
    ("other group", lambda _: assign("+shop.example-:shop:64000:64002:/:-::"), "error",
     "delivery_group", "group 64002"),
    ("other group of one mailbox", lambda _: assign("=shop.example-info:shop:64000:64002:/:::"),
     "error", "delivery_group", "group 64002"),
    ("not compiled", newer_assign, "error", "users_not_compiled", "qmail-newu"),
    *((f"address {address}", lambda panel, address=address: panel.forward(1, address), "error",
       "dangerous_address", words) for address, words in (
           ("a@b.example; id", "root\\'s shell"), ("$(id)@b.example", "root\\'s shell"),
           ("a@b.example -t", "as an option"))),
    ("engine without locks", with_another_engine, "warning", "limiter_engine", "engine MyISAM"),
    ("name with a parent", lambda panel: panel.name_attachments(1, "../../secret"), "error",
     "dangerous_file_name", "any file of the system"),
    ("name with a quote", lambda panel: panel.name_attachments(1, "o'neil.txt"), "error",
     "dangerous_file_name", "all attachments"),
    ("too many attachments", too_many_attachments, "error", "too_many_attachments", "(450)"),
    ("no proc", without_proc, "error", "proc_missing", "mount -t proc"),
    ("name with a backslash", lambda panel: panel.name_attachments(1, "a\\\\nb"), "error",
     "dangerous_file_name", "echo"),
]
