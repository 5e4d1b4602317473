"""A panel for the autoresponder inside the sandbox: configuration, a private MariaDB, a qmail root
with a recording sendmail, and an attachment store.

Only for use inside `sandbox/enter`: it writes to /etc/kem, /run and /tmp.
"""

import os
import re
import shutil
import subprocess
import time
import unittest
from pathlib import Path

CHECKOUT = Path(__file__).resolve().parent.parent
HOME = Path("/run/panel")
QMAIL = HOME / "qmail"
MAILNAMES = HOME / "mailnames"
RECORDS = HOME / "records"
DATA = HOME / "mysql"
SOCKET = Path("/run/mysqld/mysqld.sock")
CONF = Path("/etc/kem/kem.conf")
SHADOW = Path("/etc/kem/.kem.shadow")
# A root directory with MySQL's server, which then takes MariaDB's place.
MYSQL_ROOT = os.environ.get("KEM_MYSQL_ROOT")
TEMPLATE = CHECKOUT / "build" / "sandbox" / ("of-mysql" if MYSQL_ROOT else "mysql")
PASSWORD = "panel-secret"

KEYS = """PRODUCT_ROOT_D HTTPD_VHOSTS_D HTTPD_CONF_D HTTPD_INCLUDE_D HTTPD_BIN_D HTTPD_LOG_D
QMAIL_ROOT_D QMAIL_MAILNAMES_D FTPD_CONF FTPD_CONF_INC FTPD_BIN_D NAMED_RUN_ROOT_D WEB_STAT LOGROTATE
MYSQL_VAR_D MYSQL_BIN_D PGSQL_BIN_D PGSQL_DATA_D MAILMAN_ROOT_D MAILMAN_VAR_D PRODUCT_RC_D DUMP_D
CATALINA_HOME DRWEB_ROOT_D DRWEB_ETC_D CURL_CA_BUNDLE_FILE AWSTATS_ETC_D AWSTATS_BIN_D
AWSTATS_TOOLS_D AWSTATS_DOC_D""".split()

# Records each call: arguments, environment and input, in a directory numbered by order of start.
SENDMAIL = f"""#!/bin/sh
n=1
while ! /bin/mkdir {RECORDS}/$n 2>/dev/null; do n=$((n + 1)); done
printf '%s\\0' "$@" >{RECORDS}/$n/arguments
/usr/bin/env -0 >{RECORDS}/$n/environment
/bin/cat >{RECORDS}/$n/message
"""


class Mail:
    """One call of sendmail."""

    def __init__(self, record):
        self.arguments = (record / "arguments").read_bytes().split(b"\0")[:-1]
        self.environment = (record / "environment").read_bytes().split(b"\0")[:-1]
        self.message = (record / "message").read_bytes()


def conf_values():
    values = {key: f"/opt/panel/{key.lower()}" for key in KEYS}
    values["QMAIL_ROOT_D"] = str(QMAIL)
    values["QMAIL_MAILNAMES_D"] = str(MAILNAMES)
    return values


def write_conf(values=None):
    CONF.parent.mkdir(exist_ok=True)
    values = conf_values() if values is None else values
    CONF.write_text("".join(f"{key} {value}\n" for key, value in values.items()))


def write_shadow(password=PASSWORD):
    SHADOW.parent.mkdir(exist_ok=True)
    SHADOW.write_text(password + "\n")
    SHADOW.chmod(0o600)


def write_sendmail(script=SENDMAIL):
    program = QMAIL / "bin" / "sendmail"
    program.parent.mkdir(parents=True, exist_ok=True)
    program.unlink(missing_ok=True)  # do not write through a link
    program.write_text(script)
    program.chmod(0o755)
    (QMAIL / "control").mkdir(exist_ok=True)


def install():
    """Everything but the database."""
    for directory in (HOME, RECORDS, MAILNAMES):
        directory.mkdir(parents=True, exist_ok=True)
    write_conf()
    write_shadow()
    write_sendmail()


def sample():
    """Everything, with the small panel of `schema/sample.sql`; returns the database."""
    install()
    database = Database()
    database.load("tables.sql", "sample.sql")
    (store() / "price list.txt").write_text("Apples  2.50\nPears   3.20\n")
    return database


def mails():
    """The recorded calls of sendmail, in order."""
    return [Mail(record) for record in sorted(RECORDS.iterdir(), key=lambda r: int(r.name))]


def forget_mails():
    for record in RECORDS.iterdir():
        shutil.rmtree(record)


def store(domain="shop.example", mail_name="info"):
    """The attachment store of a mailbox."""
    directory = MAILNAMES / domain / mail_name / "@attachments"
    directory.mkdir(parents=True, exist_ok=True)
    return directory


def _in_mysql_root():
    """MySQL's server in its own root, which shares /run with this one."""
    root = Path(MYSQL_ROOT).resolve()
    if not (root / "run" / "panel").exists():
        subprocess.run(["mount", "--rbind", "/run", root / "run"], check=True)
    return ["chroot", root, "/usr/sbin/mysqld", "--no-defaults", "--user=root"]


# What the servers call differently.
MARIADB = ["mariadbd", "--no-defaults", "--user=root", "--innodb-log-file-size=4M"]
MYSQL = ["--innodb-redo-log-capacity=8M", "--mysqlx=OFF", "--secure-file-priv=",
         "--sql-mode=STRICT_TRANS_TABLES,ERROR_FOR_DIVISION_BY_ZERO,NO_ENGINE_SUBSTITUTION"]


def _make_template():
    # Made under another name and renamed: two runs may do this at once.
    if TEMPLATE.exists():
        return
    TEMPLATE.parent.mkdir(parents=True, exist_ok=True)
    new = TEMPLATE.with_name(f"new-{os.getpid()}-{time.time_ns()}")
    if MYSQL_ROOT:
        # The data must be where both roots have them.
        subprocess.run([*_in_mysql_root(), "--initialize-insecure", f"--datadir={DATA}"], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        shutil.move(DATA, new)
    else:
        subprocess.run(
            ["mariadb-install-db", "--no-defaults", f"--datadir={new}", "--user=root",
             "--auth-root-authentication-method=normal", "--skip-test-db",
             "--innodb-log-file-size=4M"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        new.rename(TEMPLATE)
    except OSError:  # another run was first
        shutil.rmtree(new)


class Database:
    """A private MariaDB that listens on the default socket only. It ends with this process."""

    socket = SOCKET
    network = ["--skip-networking"]
    enter = []  # a command in whose arguments the server is started

    def __init__(self, *options):
        self.options = options
        self.process = None
        if not DATA.exists():
            _make_template()
            shutil.copytree(TEMPLATE, DATA, symlinks=True)
        self.start()

    def restart(self, *more_options):
        """Shuts the server down and starts it again, this once with further options."""
        if MYSQL_ROOT and any(option.startswith(("--version", "--wsrep")) for option in more_options):
            raise unittest.SkipTest("only MariaDB has this option")
        self.process.terminate()
        self.process.wait()
        self.start(*more_options)

    def start(self, *more_options):
        self.socket.parent.mkdir(parents=True, exist_ok=True)
        self.process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", *self.enter,
             *([*_in_mysql_root(), *MYSQL] if MYSQL_ROOT else MARIADB),
             f"--datadir={DATA}", f"--socket={self.socket}",
             f"--pid-file={HOME}/mysqld.pid", *self.network, "--innodb-buffer-pool-size=16M",
             "--innodb-flush-log-at-trx-commit=0", "--skip-log-bin",
             "--key-buffer-size=1M", "--performance-schema=OFF", *self.options, *more_options],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=open(HOME / "mysqld.log", "ab"))
        deadline = time.monotonic() + 60
        while not self._answers():
            if self.process.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("the database does not start:\n"
                                   + (HOME / "mysqld.log").read_text()[-2000:])
            time.sleep(0.02)

    def _answers(self):
        return self.socket.exists() and subprocess.run(
            ["mariadb-admin", "--no-defaults", f"--socket={self.socket}", "--user=root", "ping"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def stop(self):
        self.process.kill()
        self.process.wait()
        self.socket.unlink(missing_ok=True)

    def run(self, sql, database="kem"):
        """Runs statements as the superuser; the rows come back as lines of tab-separated texts."""
        if MYSQL_ROOT and re.search(r" seq_\d+_to_", sql):
            raise unittest.SkipTest("only MariaDB has tables of numbers")
        result = subprocess.run(
            ["mariadb", "--no-defaults", f"--socket={self.socket}", "--user=root", "--batch",
             "--default-character-set=utf8mb4", "--skip-column-names", database],
            input=sql.encode(), stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if result.returncode != 0:
            raise RuntimeError(result.stderr.decode())
        return result.stdout.decode()

    def load(self, *files):
        """Recreates the panel's database from files of `schema/`."""
        self.run("drop database if exists kem; create database kem character set utf8mb4;"
                 f"create user if not exists 'admin'@'localhost' identified by '{PASSWORD}';"
                 "grant all on kem.* to 'admin'@'localhost';", database="mysql")
        for name in files:
            self.run((CHECKOUT / "schema" / name).read_text())
