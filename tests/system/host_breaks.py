"""What can be wrong with the host: programs, directories, and the mail server's files; and with values of
the database. The first half of the table is in breaks.py."""

import os
import shutil
import subprocess
import time
from pathlib import Path

import panel as sandbox
from breaks import conf, mode, owner, written, gone, sql, hidden, mounted, without
from right_server import (ASSIGNED, CONTROL, DELIVERY_FILE, GROUP, HOME, INJECT, INSTALLED, PRODUCT, QUEUE,
                          USERS, assign, configure, install)


def local_domain_with_dash(panel):
    (CONTROL / "locals").write_text("my-shop.example\n")
    panel.sql("update domains set name='my-shop.example' where name='shop.example'")


def linked_domain(server):
    configure(AUTORESPONDER_REPAIRS="on")
    (sandbox.MAILNAMES / "elsewhere").mkdir(exist_ok=True)
    shutil.rmtree(sandbox.MAILNAMES / "shop.example", ignore_errors=True)
    (sandbox.MAILNAMES / "shop.example").symlink_to("elsewhere")
    return lambda: (sandbox.MAILNAMES / "shop.example").unlink()


def dashes_in_local_names(panel):
    (CONTROL / "locals").write_text("shop.example\n")
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales-eu')")


def assign_alias_to_another_group(panel):
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales')")
    (HOME / ".qmail-sales").symlink_to(".qmail-info")
    assign(ASSIGNED, f"=shop.example-sales:shop:64000:64002:{HOME}:-:sales:")


def without_files_of_many(panel):
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales'), (1, 'Old.sales')")
    DELIVERY_FILE.unlink()


def with_file_of_all(_):
    DELIVERY_FILE.unlink()
    (HOME / ".qmail-default").write_text("./info/Maildir/\n")


def newer_assign(_):
    later = time.time() + 10
    os.utime(USERS / "assign", (later, later))


def too_many_attachments(server):
    server.sql("insert into resp_attach select 1, concat('file', seq, '.txt') from seq_1_to_450")


def without_proc(server):
    server.switch(repairs=True)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/proc"], check=True)
    return lambda: subprocess.run(["umount", "/proc"], check=True)


def moved_store(_):
    configure(QMAIL_MAILNAMES_D="/nowhere/mailnames")


def with_another_engine(server):
    server.sql("alter table mail_resp engine=MyISAM")
    configure(AUTORESPONDER_REPAIRS="on")
    return lambda: server.sql("alter table mail_resp engine=InnoDB")


LIBIDN = next(Path("/usr/lib").glob("*/libidn.so.12"))
SENDMAIL = sandbox.QMAIL / "bin" / "sendmail"

HOST_FAULTS = [
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
    ("domain not taken", written(CONTROL / "rcpthosts", "other.example\n"), "warning",
     "domain_not_received", "shop.example"),
    ("local and virtual", written(CONTROL / "locals", "shop.example\n"), "warning", "domain_twice",
     "Take it out of control/locals"),
    ("dash in a local domain", local_domain_with_dash, "error", "local_domain_with_dash",
     "my-shop.example"),
    ("lines after the dot", written(USERS / "assign", f".\n{ASSIGNED}\n"), "error", "assign_after_dot",
     "do not count"),
    ("no dot", written(USERS / "assign", f"{ASSIGNED}\n"), "error", "assign_unfinished",
     'Add "." as the last line'),
    ("deliveries as root", lambda _: assign(ASSIGNED.replace("64000", "0")), "error",
     "delivery_as_root", "mail to shop.example"),
    ("linked domain", linked_domain, "warning", "store_linked", "shop.example is a symbolic link"),
    ("unknown switch", conf(AUTORESPONDER_REPAIR="on"), "warning", "switch_unknown",
     "AUTORESPONDER_REPAIR in"),
    ("domain elsewhere", written(CONTROL / "virtualdomains", "#shop.example:shop.example\n"),
     "warning", "domain_not_delivered", "shop.example"),
    ("domain excepted", written(CONTROL / "virtualdomains", "shop.example:\n:d1\n"), "warning",
     "domain_not_delivered", "shop.example"),
    ("prefix without user", lambda _: assign("+other-:o:64000:1:/home/o:-::"), "warning",
     "prefix_without_user", "alias user"),
    ("other group", lambda _: assign(f"+shop.example-:shop:64000:64002:{HOME}:-::"), "error",
     "delivery_group", "group 64002"),
    ("other group of one mailbox", lambda _: assign(f"=shop.example-info:shop:64000:64002:{HOME}:-:info:"),
     "error", "delivery_group", "group 64002"),
    ("other group of an alias", assign_alias_to_another_group, "error", "delivery_group",
     "sales@shop.example is delivered"),
    ("no home", lambda _: shutil.rmtree(HOME), "error", "home_unusable", "mail to info@shop.example waits"),
    ("open home", mode(HOME, 0o777), "error", "home_unusable", f"chmod o-w,-t {HOME}"),
    ("no .qmail file", gone(DELIVERY_FILE), "error", "delivery_file_missing",
     f"There is no {DELIVERY_FILE}: mail to info@shop.example bounces"),
    ("no .qmail file for many", without_files_of_many, "error", "delivery_file_missing",
     "sales@shop.example and 2 more bounces"),
    ("open .qmail file", mode(DELIVERY_FILE, 0o666), "error", "delivery_file_refused", "chmod 0644"),
    ("executable .qmail file", mode(DELIVERY_FILE, 0o755), "error", "delivery_file_refused",
     "or is executable"),
    ("no program", written(DELIVERY_FILE, "./info/Maildir/\n#|autoresponder\n&a@b.example\n"),
     "warning", "program_not_started", "of info@shop.example never reply"),
    ("no program in the file of all", with_file_of_all, "warning", "program_not_started",
     ".qmail-default does not"),
    ("another program", written(DELIVERY_FILE, "./info/Maildir/\n|/opt/autoresponder || exit 0\n"),
     "error", "program_elsewhere", "Correct the path"),
    ("no exit 0", written(DELIVERY_FILE, f"./info/Maildir/\n|{INSTALLED}\n"), "warning",
     "failure_delivered_again", "again and again"),
    ("no Maildir", lambda _: shutil.rmtree(HOME / "info"), "error", "maildir_missing",
     f"{HOME}/./info/Maildir/ is no Maildir"),
    ("no qmail-inject", gone(INJECT), "error", "qmail_inject_missing", str(INJECT)),
    ("queue not setuid", mode(QUEUE, 0o755), "error", "qmail_queue_not_setuid", f"chmod 4711 {QUEUE}"),
    ("no queue", gone(QUEUE), "error", "qmail_queue_not_setuid", str(QUEUE)),
    ("no name", gone(CONTROL / "me"), "error", "server_name_missing", "this server's name"),
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
