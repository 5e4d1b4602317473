"""The Debian package in a scratch root: what it installs, and what it leaves alone."""

import gzip
import os
import re
import shutil
import time
from pathlib import Path

import pytest

from tools import depends, dpkg, shell
import panel as sandbox
from plain_machine import (GROUP, NAME, NEXT_PACKAGE, PACKAGE, PROGRAM, _no_package, group,
                           owner_and_mode)

OTHER_GROUP = "deliveries"

# Where dpkg and its triggers keep their own records.
RECORDS = ("/var/lib/dpkg", "/var/log", "/var/cache")


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
def override():
    """The administrator's own choice of the group."""
    shell("dpkg-statoverride", "--add", "root", OTHER_GROUP, "4750", str(PROGRAM))
    yield (0, OTHER_GROUP, 0o4750)
    shell("dpkg-statoverride", "--remove", str(PROGRAM))


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
