"""Runs every command of docs/operators.md and of the manual pages as printed, on a server that is
set up with the document's own files; in a root directory of its own.

The last test fails for a line of the document that is neither run here nor in NOT_RUN."""

import grp
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from tools import BUILD, CHECKOUT, package, shell
import panel as sandbox
from documented_server import HOME, NAME, DOCUMENT, LINES, USED, MESSAGE, NOT_RUN, printed, sh, database


@pytest.fixture(autouse=True)
def _fresh(database):
    sandbox.forget_mails()
    database.run("delete from resp_freq; update mail_resp set resp_on='true', subject='';")


@pytest.fixture
def letter(tmp_path):
    """A directory with the customer's message."""
    (tmp_path / "message.eml").write_bytes(MESSAGE)
    (tmp_path / "message").write_bytes(MESSAGE)
    return tmp_path


CHECK = "/opt/kem/sbin/autoresponder-explain --check"
INJECT = "/var/qmail/bin/qmail-inject info@shop.example <message.eml"


def test_the_documented_server_is_set_up_right():
    result = sh(CHECK)
    assert result.returncode == 0
    assert result.stdout.startswith(b"This server is set up right.\nSwitches: repairs ")


def test_the_mailbox_has_the_lines_of_the_document():
    assert (HOME / ".qmail-info").read_text().splitlines() == [
        printed("./info/Maildir/"), printed("|/opt/kem/sbin/autoresponder || exit 0")]


def test_the_documented_wiring_replies(letter):
    result = sh(INJECT, letter)
    assert (result.returncode, result.stdout, result.stderr) == (0, b"", b"")
    (mail,) = sandbox.mails()
    assert mail.arguments == [b"-f", b"info@shop.example", b"otto@customer.example"]
    found = sh("grep -rl otto@customer.example /home/shop/info/Maildir").stdout.split()
    assert found and all(Path(os.fsdecode(path)).read_bytes() == MESSAGE for path in found)


def test_an_alias_replies_in_its_own_name(letter):
    command = INJECT.replace("info@", "sales@")
    assert subprocess.run(["/bin/sh", "-c", command], cwd=letter).returncode == 0
    (mail,) = sandbox.mails()
    assert mail.arguments[1] == b"sales@shop.example"


@pytest.mark.parametrize("command, status, says", [
    ("RECIPIENT=d17-info@shop.example /opt/kem/sbin/autoresponder-explain message.eml", 0,
     b"A reply would leave."),
    ("/opt/kem/sbin/autoresponder-explain --recipient info@shop.example message.eml", 0,
     b"A reply would leave."),
    ("RECIPIENT=my-shop-info@shop.example /opt/kem/sbin/autoresponder-explain message.eml", 1,
     b"  recipient   shop-info@shop.example (RECIPIENT)"),
    ("/opt/kem/sbin/autoresponder-explain --list info@shop.example", 0, b"Rule 7 is on"),
    ("/opt/kem/sbin/autoresponder-explain --list shop.example", 0, b"Rule 7 is on"),
    ("/opt/kem/sbin/autoresponder-explain --version", 0, b"autoresponder-explain 1."),
    ("dpkg-query --show kem-autoresponder", 0, b"kem-autoresponder\t1."),
])
def test_asking_changes_nothing(database, letter, command, status, says):
    result = sh(command, letter)
    assert (result.returncode, result.stderr) == (status, b"")
    assert says in result.stdout
    assert sandbox.mails() == [] and database.run("select * from resp_freq") == ""


def replies(letter):
    sandbox.forget_mails()
    output = subprocess.run(["/bin/sh", "-c", INJECT], cwd=letter, check=True, capture_output=True)
    return len(sandbox.mails()), output.stderr


@pytest.mark.parametrize("statement", [
    "update mail_resp set resp_on='false' where id=7;",
    "update mail_resp set resp_on='false' where mn_id=1;"])
def test_a_rule_can_be_switched_off(database, letter, statement):
    assert replies(letter)[0] == 1
    database.run(printed(statement))
    assert replies(letter)[0] == 0


def test_the_host_can_be_switched_off(letter):
    assert sh("chmod 0700 /opt/kem/sbin/autoresponder").returncode == 0
    sent, said = replies(letter)
    assert sent == 0 and b"Permission denied" in said
    assert sh("chmod 4750 /opt/kem/sbin/autoresponder").returncode == 0
    assert replies(letter) == (1, b"")


def test_the_probe_speaks_only_of_trouble():
    probe = ("/opt/kem/sbin/autoresponder-explain --check >/dev/null"
             ' || echo "autoresponder: look at --check"')
    assert sh(probe).stdout == b""
    sandbox.SHADOW.chmod(0o644)
    assert sh(probe).stdout == b"autoresponder: look at --check\n"
    sandbox.SHADOW.chmod(0o600)


def test_the_alarms_are_found_in_the_log():
    log = Path("/var/log/qmail/current")
    log.parent.mkdir(parents=True, exist_ok=True)
    alarm = "delivery 3: success: qmail-inject:_fatal:_unable_to_parse_this_line:/did_1+0+1/\n"
    log.write_text("delivery 1: success: did_1+0+1/\n"
                   "delivery 2: success: Mailname_not_found:_a@b/did_1+0+1/\n" + alarm)
    (search,) = [line for line in LINES if line.startswith("grep -E ")]
    assert sh(search).stdout.decode() == alarm


def test_replies_are_counted_by_rule_and_day(database, letter):
    replies(letter)
    replies(letter)
    database.run("insert into resp_freq values (7, 'old@x.example', 9, curdate() - interval 1 day)")
    told = b"info@shop.example, rule 7: senders 1, replies 2, senders at the limit 0\n"
    assert sh("/opt/kem/sbin/autoresponder-explain --today").stdout == told
    assert sh("/opt/kem/sbin/autoresponder-explain --today info@shop.example").stdout == told
    database.run(printed("delete from resp_freq where time_resp<curdate();"))
    assert database.run("select email from resp_freq") == "otto@customer.example\n"
    database.run(printed("delete from resp_freq where rn_id=7 and email='otto@customer.example';"
                         "  -- the sender starts anew"))
    assert database.run("select email from resp_freq") == ""


def test_the_subject_has_placeholders(database, letter):
    database.run(printed("update mail_resp set subject='Your message: <request_subject>'"
                         " where id=7;"))
    assert replies(letter)[0] == 1
    assert b"\nSubject: Your message: Hello\n" in sandbox.mails()[0].message


def test_every_placeholder_of_the_document_is_replaced(database, letter):
    names = re.findall(r"`<(\w+)>`", DOCUMENT.split("| placeholder |")[1].split("\n\n")[0])
    assert len(names) == 5
    database.run("update mail_resp set subject='" + " ".join(f"<{name}>" for name in names) + "'")
    replies(letter)
    assert (b"\nSubject: Hello Hello Hello otto@customer.example otto@customer.example\n"
            in sandbox.mails()[0].message)


def test_a_subject_is_cut_where_the_document_says(database, letter):
    max_length = int(re.search(r"of which at most (\d+) bytes remain", DOCUMENT)[1])
    database.run("update mail_resp set subject='<request_subject>'")
    (letter / "message.eml").write_bytes(MESSAGE.replace(b"Hello", b"x" * 5000))
    replies(letter)
    assert re.search(rb"\nSubject: (x*)\n", sandbox.mails()[0].message)[1] == b"x" * max_length


def test_a_null_limit_is_ten_and_what_is_no_number_is_none(database, letter):
    database.run("update mail_resp set ans_freq=null")
    assert sum(replies(letter)[0] for _ in range(12)) == 10
    database.run("alter table mail_resp modify ans_freq varchar(10);"
                 "update mail_resp set ans_freq=''; delete from resp_freq")
    assert replies(letter)[0] == 0
    database.run("update mail_resp set ans_freq=null;"
                 "alter table mail_resp modify ans_freq int")


def test_the_rules_can_be_saved(tmp_path):
    result = sh("mariadb-dump kem mail_resp resp_attach resp_forward >rules.sql", tmp_path)
    assert (result.returncode, result.stderr) == (0, b"")
    assert "Thank you." in (tmp_path / "rules.sql").read_text()


def test_hanging_statements_are_shown(database):
    assert "show full processlist" in database.run(printed("show full processlist;"))


def test_old_files_are_removed_by_cron():
    line = printed("17 4 * * * root find /tmp -maxdepth 1 -type f -user root -name 'kem-*'"
                   " -mmin +1440 -delete")
    for name in ("kem-old", "kem-new", "other"):
        Path("/tmp", name).write_text("")
    for name in ("kem-old", "other"):
        os.utime(Path("/tmp", name), (0, 0))
    subprocess.run(["/bin/sh", "-c", line.split(" root ", 1)[1]], check=True)
    assert {"kem-old", "kem-new", "other"} & set(os.listdir("/tmp")) == {"kem-new", "other"}
    for name in ("kem-new", "other"):
        Path("/tmp", name).unlink()


def group_of_program():
    return Path("/opt/kem/sbin/autoresponder").stat().st_gid


def test_the_group_can_be_chosen_and_changed():
    assert sh("dpkg-statoverride --update --add root GROUP 4750"
              " /opt/kem/sbin/autoresponder").returncode == 0
    assert group_of_program() == 5002
    assert sh("dpkg-statoverride --remove /opt/kem/sbin/autoresponder").returncode == 0
    assert sh("dpkg-statoverride --update --add root OTHER 4750"
              " /opt/kem/sbin/autoresponder").returncode == 0
    assert group_of_program() == 5003
    result = subprocess.run(CHECK.split(), capture_output=True)
    assert result.returncode == 1 and b"is delivered with the primary group " in result.stdout
    shell("dpkg-statoverride", "--remove", "/opt/kem/sbin/autoresponder")
    shell("chown", "root:vmail", "/opt/kem/sbin/autoresponder")
    shell("chmod", "4750", "/opt/kem/sbin/autoresponder")


def examples(page):
    text = (CHECKOUT / "packaging" / page).read_text()
    return [line.replace("\\&", "") for line in re.findall(r"^\.Dl # (.*)$", text, re.MULTILINE)]


PAGES = ("autoresponder.8", "autoresponder-explain.8", "kem.conf.5")


@pytest.mark.parametrize("command", sorted({line for page in PAGES for line in examples(page)}))
def test_the_examples_of_the_pages_work(letter, command):
    result = subprocess.run(["/bin/sh", "-c", command], cwd=letter, capture_output=True, timeout=60)
    # Some name the domain of another panel: there is no such mailbox here.
    assert result.returncode in ((0, 1) if "info@shop.example" in command else (0,))
    assert result.stderr == b""


@pytest.mark.parametrize("page", PAGES)
def test_every_page_has_examples(page):
    assert examples(page)


def test_the_readme_of_the_package_works():
    text = (Path("/usr/share/doc") / NAME / "README.md").read_text()
    assert re.findall(r"^    (.*)$", text, re.MULTILINE) == [CHECK]


def test_the_settings_of_the_document_are_known(database):
    del database
    whole = (CHECKOUT / "packaging" / "kem.conf.sample").read_text()
    sandbox.CONF.write_text(whole + "AUTORESPONDER_REPAIRS maybe\n")
    assert b"counts as off" in subprocess.run(CHECK.split(), capture_output=True).stdout
    settings = [printed(line) for line in LINES if line.startswith("AUTORESPONDER_")]
    sandbox.CONF.write_text(whole + "".join(f"{line}\n" for line in settings))
    result = subprocess.run(CHECK.split(), capture_output=True)
    sandbox.CONF.write_text(whole)
    assert result.returncode == 0
    assert result.stdout.startswith(b"This server is set up right.\nSwitches: repairs ")


def test_the_package_can_go_back_and_be_removed(database, letter):
    """The last test of the package: nothing is installed afterwards."""
    del database
    shell("dpkg", "--install", str(package(NAME, 2)))
    result = sh("apt-get install --allow-downgrades ./kem-autoresponder_1.0.0-1_amd64.deb", BUILD,
                input=b"y\n")
    assert result.returncode == 0, result.stdout + result.stderr
    assert shell("dpkg-query", "-W", "-f", "${Version}", NAME).stdout == b"1.0.0-1"
    assert replies(letter) == (1, b"")
    result = sh("apt-get purge kem-autoresponder", input=b"y\n")
    assert result.returncode == 0, result.stdout + result.stderr
    sent, said = replies(letter)
    assert sent == 0 and b"not found" in said
    assert sandbox.CONF.exists() and Path("/opt").is_dir()


def test_an_installation_without_a_package_has_pages():
    result = sh("cmake --install build-package --component program", CHECKOUT)
    assert result.returncode == 0, result.stderr
    assert "`man -M /opt/kem/share/man 8 autoresponder`" in DOCUMENT
    assert Path("/opt/kem/share/man/man8/autoresponder.8").exists()
    assert grp.getgrgid(group_of_program()).gr_name == "vmail"
    shutil.rmtree("/opt/kem")


def test_every_line_of_the_document_is_run():
    assert LINES - USED - NOT_RUN == set()
    assert NOT_RUN <= LINES
