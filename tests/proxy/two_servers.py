"""A second mail server of the same panel: its own configuration, qmail root, /tmp and proxy, in a
mount namespace of its own. The first one is the test's sandbox."""

import subprocess

from another_host import haproxy
from conftest import PROGRAM, RECIPIENT, Result

import panel as sandbox

HOME = sandbox.HOME / "second"
QMAIL = HOME / "qmail"
RECORDS = HOME / "records"
# The second server's own directories, and where they are mounted.
PLACES = {HOME / "etc": sandbox.CONF.parent, HOME / "mysqld": sandbox.SOCKET.parent,
          HOME / "tmp": "/tmp"}


class SecondServer:
    """Like the fixture `panel`, for the second server, as far as the tests need it."""

    def __init__(self):
        for directory in (*PLACES, QMAIL / "bin", QMAIL / "control", RECORDS):
            directory.mkdir(parents=True)
        (HOME / "etc" / sandbox.SHADOW.name).write_text(sandbox.PASSWORD + "\n")
        sendmail = QMAIL / "bin" / "sendmail"
        sendmail.write_text(sandbox.SENDMAIL.replace(str(sandbox.RECORDS), str(RECORDS)))
        sendmail.chmod(0o755)
        self.configure()
        self.proxy = haproxy(path=HOME / "mysqld" / sandbox.SOCKET.name)

    def configure(self, **values):
        values = {**sandbox.conf_values(), "QMAIL_ROOT_D": str(QMAIL), **values}
        (HOME / "etc" / sandbox.CONF.name).write_text(
            "".join(f"{key} {value}\n" for key, value in values.items()))

    def limit(self, text):
        (QMAIL / "control" / "databytes").write_text(text)

    def run(self, message, before="", **environment):
        """Runs the shell command `before`, and then the program, on the second server."""
        mounts = "".join(f"mount --bind {own} {place} && " for own, place in PLACES.items())
        result = subprocess.run(
            ["unshare", "--mount", "sh", "-c", f"{mounts} {before} exec {PROGRAM}"], input=message,
            capture_output=True, timeout=30,
            env={"PATH": "/usr/bin:/bin:/usr/sbin", "RECIPIENT": RECIPIENT, **environment})
        assert list((HOME / "tmp").iterdir()) == []
        return Result(result)

    def mails(self):
        return [sandbox.Mail(record)
                for record in sorted(RECORDS.iterdir(), key=lambda record: int(record.name))]
