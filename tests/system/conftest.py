"""The private panel that every process test runs the real program against.

Each test starts with an empty panel: mailbox info@shop.example (id 1) of client `shop`, no rules.
"""

import json
import os
import re
import shutil
import signal
import subprocess
import sys
import textwrap
import time
from pathlib import Path

import pytest

CHECKOUT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(CHECKOUT / "sandbox"))

import panel as sandbox  # noqa: E402

# The programs under test would inherit it if these are ignored, as `nohup` and a shell's "&" do.
for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT):
    if signal.getsignal(number) == signal.SIG_IGN:
        signal.signal(number, signal.SIG_DFL)

BUILD = CHECKOUT / os.environ.get("KEM_BUILD", "build")
PROGRAM = BUILD / "autoresponder" / "autoresponder"
EXPLAIN = BUILD / "explain" / "autoresponder-explain"
FAULTS = BUILD / "tests" / "libfaults.so"
DIAGNOSTICS = BUILD / "diagnostics" / os.environ.get("KEM_TEST", "by hand")
SANITIZED = os.environ.get("KEM_SANITIZED") == "ON"
OPTIMISED = os.environ.get("KEM_BUILD_TYPE", "Release") == "Release"
# With KEM_VALGRIND: runs the program under valgrind, whose errors end the run with status 97. The
# TLS library keeps its memory until the exit, so only definite leaks count.
VALGRIND = ["/usr/bin/valgrind", "-q", "--error-exitcode=97", "--leak-check=full",
            "--errors-for-leak-kinds=definite", "--show-leak-kinds=definite"] if "KEM_VALGRIND" in os.environ else []
RECIPIENT = "shop.example-info@shop.example"
# After `panel.rename_mailbox()`: an address whose ASCII form only libidn knows.
INTERNATIONAL = "shop.example-b\u00fcro@shop.example"

# The boundary of the first reply in a run.
BOUNDARY = "--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX"

# The server's error for a statement that `faults` made fail.
SERVER = b"MySQL" if sandbox.MYSQL_ROOT else b"MariaDB"
NONSENSE = (b"You have an error in your SQL syntax; check the manual that corresponds to your " + SERVER
            + b" server version for the right syntax to use near 'nonsense' at line 1\n")

# Without repairs MySQL refuses what a rule without memory deletes.
FORGETS_NOBODY = pytest.mark.skipif(sandbox.MYSQL_ROOT is not None, reason="MySQL refuses the time 0")

PANEL = """
insert into misc (param, val) values ('admin_email', 'hostmaster@panel.example');
insert into clients (id, login, pname, email)
  values (1, 'shop', 'Grete Kaufmann', 'grete@customer.example');
insert into domains (id, name, cl_id) values (1, 'shop.example', 1);
insert into mail (id, dom_id, mail_name) values (1, 1, 'info');
"""


COMMANDS = sandbox.HOME / "commands"


def record_shell_commands():
    """Replaces /bin/sh by a shell that first notes its arguments."""
    real = sandbox.HOME / "dash"
    recorder = sandbox.HOME / "recorder"
    shutil.copy("/usr/bin/dash", real)
    recorder.write_text(f"#!{real}\nprintf '%s\\0' \"$@\" >>{COMMANDS}\n"
                        f"printf '\\0\\n' >>{COMMANDS}\nexec {real} \"$@\"\n")
    recorder.chmod(0o755)
    subprocess.run(["mount", "--bind", recorder, "/usr/bin/dash"], check=True)


def note_diagnostics(text):
    """Keeps what a run wrote to standard error, for the test of the manual page."""
    with open(DIAGNOSTICS, "ab") as file:
        file.write(text)


class Result:
    """The end and the output of a run."""

    def __init__(self, process):
        self.status = process.returncode
        self.out = process.stdout
        self.err = process.stderr

    def answer(self):
        """The JSON that was written."""
        return json.loads(self.out)


class Panel:
    """The sandbox, and what the tests do in it."""

    def __init__(self, database=sandbox.Database):
        sandbox.install()
        record_shell_commands()
        self.database = database("--sql-mode=")
        self.program = PROGRAM

    def reset(self):
        sandbox.install()
        sandbox.forget_mails()
        self.forget_commands()
        self.limit(None)
        for path in sandbox.MAILNAMES.iterdir():
            shutil.rmtree(path)
        self.database.load("tables.sql")
        self.sql(PANEL)

    def switch(self, repairs=False, courtesy=False):
        """Switches both on or off in the configuration."""
        sandbox.write_conf({**sandbox.conf_values(),
                            "AUTORESPONDER_REPAIRS": "on" if repairs else "off",
                            "AUTORESPONDER_COURTESY": "on" if courtesy else "off"})

    def sql(self, statements):
        return self.database.run(statements)

    def start_sql(self, statements):
        """Starts a session that runs the statements."""
        client = subprocess.Popen(
            ["mariadb", "--no-defaults", f"--socket={self.database.socket}", "--user=root", "kem",
             "-e", statements], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return client

    def end_sql(self, client, statement):
        """Ends a session of `start_sql` while it runs the statement."""
        for session in self.sql("select id from information_schema.processlist"
                                f" where info like '%{statement}%' and id != connection_id()"
                                ).split():
            self.sql(f"kill {session}")
        client.wait()

    def rule(self, **columns):
        """Adds a rule that is on; returns its id."""
        columns = {"mn_id": 1, "resp_on": "true", "text": "Thank you.", **columns}
        values = ", ".join("NULL" if value is None else "'" + str(value).replace("\\", "\\\\")
                           .replace("'", "\\'") + "'" for value in columns.values())
        return int(self.sql(f"insert into mail_resp ({', '.join(columns)}) values ({values});"
                            "select last_insert_id();"))

    def rename_mailbox(self):
        self.sql("update mail set mail_name='b\u00fcro' where id=1")

    def limit(self, text):
        """Sets the mail server's size limit; None removes its file."""
        path = sandbox.QMAIL / "control" / "databytes"
        path.unlink(missing_ok=True)
        if text is not None:
            path.write_text(text)

    def attach(self, rule, *names, content=b"content"):
        """Adds attachments to a rule and their files to the store."""
        self.name_attachments(rule, *names)
        for name in names:
            (sandbox.store() / name).write_bytes(content)

    def name_attachments(self, rule, *names):
        """Adds attachments to a rule without their files."""
        for name in names:
            text = "NULL" if name is None else "'" + name.replace("'", "''") + "'"
            self.sql(f"insert into resp_attach values ({rule}, {text});")

    def forward(self, rule, *addresses):
        for address in addresses:
            text = "NULL" if address is None else f"'{address}'"
            self.sql(f"insert into resp_forward values ({rule}, {text});")

    def run(self, message, recipient=RECIPIENT, env=None, faults=None, **options):
        """Runs the program on a message; `recipient` None leaves RECIPIENT unset."""
        environment = {"PATH": "/usr/bin:/bin", **(env or {})}
        if recipient is not None:
            environment["RECIPIENT"] = recipient
        if faults is not None:
            # Without this option a sanitized program refuses a library that is preloaded before the
            # sanitizer's.
            environment |= {"LD_PRELOAD": str(FAULTS), "KEM_FAULTS": faults,
                            "ASAN_OPTIONS": "verify_asan_link_order=0"}
        if isinstance(message, str):
            message = textwrap.dedent(message).encode()
        result = Result(subprocess.run([*VALGRIND, self.program], input=message,
                                       capture_output=True, env=environment, **options))
        note_diagnostics(result.err)
        return result

    def start(self, recipient=RECIPIENT, env=None, **options):
        """Starts the program with a pipe as its standard input."""
        environment = {"PATH": "/usr/bin:/bin", "RECIPIENT": recipient, **(env or {})}
        return subprocess.Popen([self.program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env=environment, **options)

    def explain(self, message, *arguments, recipient=RECIPIENT, env=None, **options):
        """Runs autoresponder-explain on a message."""
        environment = {"PATH": "/usr/bin:/bin", **(env or {})}
        if recipient is not None:
            environment["RECIPIENT"] = recipient
        return Result(subprocess.run([*VALGRIND, EXPLAIN, *arguments], input=message,
                                     capture_output=True, env=environment, **options))

    def state(self):
        """The state that a program must not change: the tables and the panel's files."""
        tables = self.sql("show tables").split()
        files = [path for directory in ("/tmp", "/etc/kem", sandbox.MAILNAMES, sandbox.QMAIL)
                 for path in sorted(Path(directory).rglob("*"))]
        return (self.sql("checksum table " + ", ".join(tables)),
                [(path, path.lstat().st_mode, path.lstat().st_size, path.lstat().st_mtime_ns)
                 for path in files])

    def mails(self):
        return sandbox.mails()

    def forget_commands(self):
        COMMANDS.write_bytes(b"")

    def leave_all_to_the_shell(self):
        """Makes sendmail a script without a first line, which only a shell can start."""
        sandbox.write_sendmail(sandbox.SENDMAIL.split("\n", 1)[1])

    def commands(self):
        """The command lines that the shell was given, in order."""
        calls = COMMANDS.read_text().split("\0\0\n")[:-1]
        return [call.split("\0")[-1] for call in calls if call.split("\0")[0] == "-c"]

    def temporary_files(self):
        return sorted(name for name in os.listdir("/tmp") if name.startswith("kem-"))

    def remove_temporary_files(self):
        for name in self.temporary_files():
            os.unlink(f"/tmp/{name}")

    def statements(self, run):
        """The statements that the server received from the program while `run` was called."""
        self.sql("set global log_output='TABLE'; truncate mysql.general_log;"
                 "set global general_log=1;")
        try:
            run()
        finally:
            self.sql("set global general_log=0;")
        rows = self.sql("select argument from mysql.general_log"
                        " where user_host like 'admin%' and command_type='Query';")
        return [re.sub(r"\\([nt\\])", lambda m: {"n": "\n", "t": "\t", "\\": "\\"}[m[1]], row)
                for row in rows.splitlines()]

    def senders(self):
        """The limiter's table: rule, sender, replies."""
        return [tuple(row.split("\t")) for row in
                self.sql("select rn_id, email, num from resp_freq order by 1, 2").splitlines()]


@pytest.fixture(scope="session", autouse=True)
def _no_diagnostics():
    DIAGNOSTICS.parent.mkdir(exist_ok=True)
    DIAGNOSTICS.write_bytes(b"")


@pytest.fixture(scope="session")
def _panel():
    return Panel()


@pytest.fixture
def panel(_panel):
    _panel.reset()
    yield _panel
    assert _panel.temporary_files() == []


def real_root():
    """Whether this is root of the machine itself, who can become other users."""
    return Path("/proc/self/uid_map").read_text().split() == ["0", "0", "4294967295"]


def wait_until(condition, seconds=20):
    """Waits until the condition holds; fails when that takes too long."""
    deadline = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < deadline, "it did not happen"
        time.sleep(0.005)


def message(sender="otto@customer.example", subject="Hello", body="A question.\n"):
    """A plain message."""
    return (f"From: {sender}\nTo: info@shop.example\nSubject: {subject}\n\n{body}").encode()
