"""The Debian package in a scratch root: what it installs, what it leaves alone, and the installed
program as the mail server starts it."""

import grp
import gzip
import os
import re
import shutil
import stat
import subprocess
import time
from pathlib import Path

import pytest

from tools import BUILD, CHECKOUT, depends, dpkg, package, shell

import panel as sandbox

NAME = "kem-autoresponder"
PACKAGE, NEXT_PACKAGE = package(NAME, 1), package(NAME, 2)
PROGRAM = Path("/opt/kem/sbin/autoresponder")
GROUP = "vmail"  # the package's default
OTHER_GROUP = "deliveries"
DELIVERY, STRANGER = 64001, 64002  # user ids without an account
MESSAGE = b"From: otto@customer.example\nSubject: Hello\n\nA question.\n"

# Where dpkg and its triggers keep their own records.
RECORDS = ("/var/lib/dpkg", "/var/log", "/var/cache")


def owner_and_mode(path=PROGRAM):
    status = path.stat()
    return status.st_uid, grp.getgrgid(status.st_gid).gr_name, stat.S_IMODE(status.st_mode)


def files(*roots):
    """Every file below the directories, with all that an installation could change of it."""
    found = {}
    for root in roots:
        for directory, names, others in os.walk(root):
            if directory.startswith(RECORDS):
                names.clear()
                continue
            for path in (directory, *(os.path.join(directory, name) for name in others)):
                status = os.lstat(path)
                found[path] = (status.st_mode, status.st_uid, status.st_gid,
                               None if os.path.isdir(path) else (status.st_size, status.st_mtime_ns))
    return found


def system_files():
    return files("/etc", "/opt", "/usr", "/var")


@pytest.fixture(scope="session", autouse=True)
def _plain_machine():
    """Makes machines alike: none of the groups exists, dpkg leaves out no file of a package, and
    another package has files in /opt, because dpkg would remove an empty /opt."""
    group_file = Path("/etc/group")
    group_file.write_text("".join(line for line in group_file.read_text().splitlines(True)
                                  if line.split(":")[0] not in (GROUP, OTHER_GROUP)))
    for options in Path("/etc/dpkg/dpkg.cfg.d").glob("*"):
        options.unlink()
    Path("/opt/neighbour").mkdir(parents=True)
    shell("groupadd", "--system", OTHER_GROUP)


@pytest.fixture
def group():
    shell("groupadd", "--system", GROUP)
    yield GROUP
    shell("groupdel", GROUP)


@pytest.fixture
def override():
    """The administrator's own choice of the group."""
    shell("dpkg-statoverride", "--add", "root", OTHER_GROUP, "4750", str(PROGRAM))
    yield (0, OTHER_GROUP, 0o4750)
    shell("dpkg-statoverride", "--remove", str(PROGRAM))


@pytest.fixture(autouse=True)
def _no_package():
    yield
    dpkg("--purge", NAME)


def test_belongs_to_root_and_the_deliveries(group):
    dpkg("--install", str(PACKAGE))
    assert owner_and_mode() == (0, GROUP, 0o4750)


def test_depends_on_what_it_runs_and_loads():
    assert {"sharutils", "libidn12", "libmariadb3"} <= depends(NAME)


def test_stays_closed_until_the_group_exists():
    said = dpkg("--install", str(PACKAGE))
    assert f"there is no group '{GROUP}'" in said
    assert owner_and_mode() == (0, "root", 0o750)
    shell("groupadd", "--system", GROUP)
    try:
        shell("dpkg-reconfigure", NAME)
        assert owner_and_mode() == (0, GROUP, 0o4750)
    finally:
        shell("groupdel", GROUP)


def test_another_group_can_be_chosen_afterwards(override):
    del override  # used for its cleanup only
    shell("dpkg-statoverride", "--remove", str(PROGRAM))
    dpkg("--install", str(PACKAGE))
    shell("dpkg-statoverride", "--update", "--add", "root", OTHER_GROUP, "4750", str(PROGRAM))
    assert owner_and_mode() == (0, OTHER_GROUP, 0o4750)


def test_an_override_of_the_administrator_counts(group, override):
    assert dpkg("--install", str(PACKAGE)) == ""
    assert owner_and_mode() == override
    dpkg("--install", str(NEXT_PACKAGE))
    assert owner_and_mode() == override
    dpkg("--purge", NAME)
    assert shell("dpkg-statoverride", "--list", str(PROGRAM)).stdout.decode() \
        == f"root {OTHER_GROUP} 4750 {PROGRAM}\n"


def test_an_upgrade_is_open_to_the_deliveries_again(group):
    dpkg("--install", str(PACKAGE))
    dpkg("--install", str(NEXT_PACKAGE))
    assert shell("dpkg-query", "-W", "-f", "${Version}", NAME).stdout.endswith(b"-2")
    assert owner_and_mode() == (0, GROUP, 0o4750)


def test_removal_leaves_nothing(group):
    before = system_files()
    dpkg("--install", str(PACKAGE))
    added = system_files().keys() - before.keys()
    assert {str(PROGRAM), "/usr/share/man/man8/autoresponder.8.gz"} <= added
    dpkg("--remove", NAME)
    assert system_files() == before
    dpkg("--purge", NAME)
    assert system_files() == before


def test_an_emptied_opt_stays(group):
    neighbour = Path("/opt/neighbour")
    for path in Path("/opt").iterdir():
        shell("rm", "-rf", str(path))
    before = Path("/opt").stat().st_mode
    try:
        for step in ("--remove", "--purge"):
            dpkg("--install", str(PACKAGE))
            dpkg(step, NAME)
            assert Path("/opt").stat().st_mode == before
            assert list(Path("/opt").iterdir()) == []
    finally:
        neighbour.mkdir()


@pytest.fixture
def newer(tmp_path):
    """A package of a later version, which has one file more, one less, and another program."""
    tree = tmp_path / "tree"
    shell("dpkg-deb", "--raw-extract", str(PACKAGE), str(tree))
    control = tree / "DEBIAN" / "control"
    control.write_text("".join("Version: 9.0.0-1\n" if line.startswith("Version:") else line
                               for line in control.read_text().splitlines(True)))
    documents = tree / "usr/share/doc" / NAME
    (documents / "security.md").rename(documents / "safety.md")
    with open(tree / PROGRAM.relative_to("/"), "ab") as program:
        program.write(b"later")
    (tree / "DEBIAN" / "md5sums").unlink()
    path = tmp_path / "newer.deb"
    shell("dpkg-deb", "--root-owner-group", "--build", str(tree), str(path))
    return path


@pytest.mark.parametrize("with_override", [False, True])
def test_another_version_replaces_it_and_goes_back(group, newer, request, with_override):
    owner = request.getfixturevalue("override") if with_override else (0, GROUP, 0o4750)
    documents = Path("/usr/share/doc") / NAME

    def state():
        version = shell("dpkg-query", "-W", "-f", "${Version}", NAME).stdout.decode()
        return (version.split(".")[0], PROGRAM.read_bytes().endswith(b"later"), owner_and_mode(),
                sorted(path.name for path in documents.glob("s*ty.md")))

    for version, file, names in (("1", PACKAGE, ["security.md"]), ("9", newer, ["safety.md"]),
                                 ("1", PACKAGE, ["security.md"])):
        shell("dpkg", "--install", "--force-downgrade", str(file))
        assert state() == (version, version == "9", owner, names)


def test_the_links_of_the_documents_lead_somewhere():
    dpkg("--install", str(PACKAGE))
    documents = Path("/usr/share/doc") / NAME
    links = [(path.name, link.split("#")[0]) for path in documents.glob("*.md")
             for link in re.findall(r"\]\(([^)]*)\)", path.read_text())]
    assert ("README.md", "operators.md") in links and ("security.md", "operators.md") in links
    assert [(name, link) for name, link in links if link and not (documents / link).exists()] == []


def test_the_pages_name_the_installed_programs():
    dpkg("--install", str(PACKAGE))
    for page in ("man8/autoresponder.8", "man8/autoresponder-explain.8", "man5/kem.conf.5"):
        text = gzip.decompress(Path(f"/usr/share/man/{page}.gz").read_bytes()).decode()
        assert "/opt/kem/sbin/autoresponder" in text
        assert ".Sh EXAMPLES\n" in text


def test_the_sample_configuration_is_whole():
    dpkg("--install", str(PACKAGE))
    sample = (Path("/usr/share/doc") / NAME / "kem.conf.sample").read_text()
    assert [line.split()[0] for line in sample.splitlines()] == sandbox.KEYS


def test_what_was_installed_is_what_was_packed(group):
    dpkg("--install", str(PACKAGE))
    assert shell("dpkg", "--verify", NAME).stdout == b""
    listed = {Path(line) for line in shell("dpkg", "-L", NAME).stdout.decode().splitlines()}
    for path in listed - {PROGRAM}:
        program = path.is_dir() or path.parent == PROGRAM.parent
        assert owner_and_mode(path) == (0, "root", 0o755 if program else 0o644), path


def test_the_configuration_is_not_made():
    shutil.rmtree("/etc/kem", ignore_errors=True)
    dpkg("--install", str(PACKAGE))
    assert not Path("/etc/kem").exists()


def test_the_configuration_is_left_alone(group):
    sandbox.write_conf()
    sandbox.write_shadow()
    before = files("/etc/kem")
    assert len(before) == 3
    for step in (("--install", str(PACKAGE)), ("--install", str(NEXT_PACKAGE)),
                 ("--remove", NAME), ("--purge", NAME)):
        dpkg(*step)
        assert files("/etc/kem") == before


def test_what_aborted_runs_left_is_removed_after_a_day(group):
    dpkg("--install", str(PACKAGE))
    left = {"kem-autoresponder-Ab3dEf", "kem-response-uu-Ab3dEf"}
    others = {"k", "ke", "kem", "kema-x", "kez", "kxm-", "other", ".hidden", ".kem-x"}
    for name in left | others:
        Path("/tmp", name).write_text("x")
    rule = Path(f"/usr/lib/tmpfiles.d/{NAME}.conf").read_text()
    clean = Path("/run/tmpfiles.conf")
    try:
        clean.write_text(rule)
        shell("systemd-tmpfiles", "--clean", str(clean))
        assert left | others <= set(os.listdir("/tmp"))
        # No file can be made a day old: changing it renews its status time.
        assert rule.count(" 1d\n") == 1
        clean.write_text(rule.replace(" 1d\n", " 1s\n"))
        time.sleep(2)
        shell("systemd-tmpfiles", "--clean", str(clean))
        assert set(os.listdir("/tmp")) & (left | others) == others
    finally:
        for name in (left | others) & set(os.listdir("/tmp")):
            Path("/tmp", name).unlink()
        clean.unlink()


@pytest.fixture
def panel():
    """A panel with one mailbox, and a rule that answers everything with an attachment."""
    sandbox.install()
    sandbox.forget_mails()
    database = sandbox.Database()
    database.load("tables.sql", "sample.sql")
    database.run("delete from mail_resp; delete from resp_forward; delete from resp_attach;"
                 "insert into mail_resp (id, mn_id, resp_on, text)"
                 " select 1, id, 'true', 'Thank you.' from mail where mail_name = 'info';"
                 "insert into resp_attach values (1, 'list.txt');")
    (sandbox.store() / "list.txt").write_text("Apples\n")
    yield database
    database.stop()
    shutil.rmtree(sandbox.DATA)


def documented_line():
    """The command of the .qmail file that operators are told to write."""
    lines = (CHECKOUT / "docs" / "operators.md").read_text().splitlines()
    (line,) = (line.strip() for line in lines if line.startswith("    |"))
    return line.removeprefix("|")


def deliver(user, group_id, command=str(PROGRAM)):
    """Starts the program as a delivery does: by a shell, as the mailbox's user and with its one
    group."""
    return subprocess.run(
        ["setpriv", f"--reuid={user}", f"--regid={group_id}", "--clear-groups",
         "/bin/sh", "-c", command],
        input=MESSAGE, capture_output=True, timeout=20, cwd="/",
        env={"PATH": "/usr/bin:/bin", "RECIPIENT": "shop.example-sales@shop.example"})


def test_a_delivery_gets_a_reply(panel, group):
    dpkg("--install", str(PACKAGE))
    result = deliver(DELIVERY, grp.getgrnam(GROUP).gr_gid, documented_line())
    assert (result.returncode, result.stderr) == (0, b"")
    (mail,) = sandbox.mails()
    assert mail.arguments == [b"-f", b"sales@shop.example", b"otto@customer.example"]
    assert b"Thank you." in mail.message
    assert b"QXBwbGVzCg==" in mail.message  # the attachment
    assert [name for name in os.listdir("/tmp") if name.startswith("kem-")] == []


def test_the_documented_line_keeps_a_broken_configuration_from_the_mailbox(panel, group):
    dpkg("--install", str(PACKAGE))
    sandbox.CONF.unlink()
    gid = grp.getgrnam(GROUP).gr_gid
    assert deliver(DELIVERY, gid).returncode == 1
    result = deliver(DELIVERY, gid, documented_line())
    assert result.returncode == 0
    assert result.stderr.startswith(b"autoresponder: Error: PRODUCT_ROOT_D not defined\n")


def test_nobody_else_can_start_it(panel, group):
    dpkg("--install", str(PACKAGE))
    result = deliver(STRANGER, 64002)
    assert result.returncode == 126
    assert b"Permission denied" in result.stderr
    assert sandbox.mails() == []


def open_to_deliveries(prefix, **environment):
    return subprocess.run(["cmake", f"-DCMAKE_INSTALL_PREFIX={prefix}", "-P",
                           BUILD / "OpenToDeliveries.cmake"], check=True, capture_output=True,
                          env={**os.environ, **environment}).stderr.decode()


@pytest.fixture
def installed(tmp_path):
    """What `cmake --install` left, before its last step."""
    shutil.copytree(BUILD / "installed", tmp_path / "kem")
    program = tmp_path / "kem" / "sbin" / "autoresponder"
    program.chmod(0o750)
    os.chown(program, 0, 0)
    return tmp_path / "kem"


def test_an_installation_without_a_package_is_open_to_the_deliveries(installed, group):
    assert open_to_deliveries(installed) == ""
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, GROUP, 0o4750)


def test_an_installation_without_the_group_says_what_to_do(installed):
    said = open_to_deliveries(installed)
    assert "chown root:GROUP-OF-THE-DELIVERIES" in said
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, "root", 0o750)


def test_a_staged_installation_is_nobodys_yet(installed, group):
    assert open_to_deliveries(installed, DESTDIR="/nowhere") == ""
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, "root", 0o750)


def test_an_installation_has_pages_and_documents(installed):
    below = {str(path.relative_to(installed)) for path in installed.rglob("*") if path.is_file()}
    assert below >= {
        "sbin/autoresponder", "sbin/autoresponder-explain", "share/man/man8/autoresponder.8",
        "share/man/man5/kem.conf.5",
        *(f"share/doc/{NAME}/{name}" for name in (
            "README.md", "CHANGELOG.md", "operators.md", "scaling.md", "security.md",
            "kem.conf.sample", "galera.cnf.sample", "haproxy.cfg", "growth.png", "remote.png",
            "throughput.png", "schema/tables.sql", "schema/cluster.sql",
            "schema/sample.sql"))}
