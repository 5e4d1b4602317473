"""A database server on another host, and proxies that own the local socket.

The other host is a network namespace, reached by a pair of virtual network cards. The mail server's
address is 192.0.2.1 and the database server's 192.0.2.10, as in docs/scaling.md. Only for use inside
`sandbox/enter --net --pid`.
"""

import re
import socket
import subprocess
import time
from pathlib import Path

import panel as sandbox

DOCS = sandbox.CHECKOUT / "docs"
CONFIGURATION = (DOCS / "haproxy.cfg").read_text()
GUIDE = (DOCS / "scaling.md").read_text()
MAIL_SERVER, HOST, PORT = "192.0.2.1", "192.0.2.10", 3306
# A command that dies with the process that started it.
WITH_US = ["setpriv", "--pdeathsig", "KILL"]


def wait_until(condition, what, seconds=20):
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise RuntimeError(f"{what}: it did not happen in {seconds} s")
        time.sleep(0.005)


def commands(text):
    for line in text.strip().splitlines():
        subprocess.run(line.split(), check=True)


class Network:
    """The other host's network."""

    def __init__(self):
        self.host = subprocess.Popen([*WITH_US, "unshare", "--net", "sleep", "infinity"])
        self.enter = ["nsenter", f"--net=/proc/{self.host.pid}/ns/net"]
        own = Path("/proc/self/ns/net").readlink()
        other = Path(f"/proc/{self.host.pid}/ns/net")
        wait_until(lambda: other.readlink() != own, "another network")
        commands(f"""ip link add mail type veth peer name database netns {self.host.pid}
                     ip address add {MAIL_SERVER}/24 dev mail
                     ip link set mail up""")
        for line in ("ip link set lo up", f"ip address add {HOST}/24 dev database",
                     "ip link set database up"):
            subprocess.run([*self.enter, *line.split()], check=True)

    def cut(self):
        """From now on the other host's answers are lost, without an error."""
        self.route("add")

    def mend(self):
        self.route("delete")

    def route(self, what):
        subprocess.run([*self.enter, "ip", "route", what, "blackhole", MAIL_SERVER], check=True)


def printed_statements(of):
    """The guide's SQL lines that contain `of`."""
    lines = [line.strip() for line in re.findall(r"^    .*;$", GUIDE, re.M) if of in line]
    assert lines, of
    return "".join(line.replace("PASSWORD", sandbox.PASSWORD) for line in lines)


class RemoteDatabase(sandbox.Database):
    """A MariaDB on the other host; by network only the guide's users can connect. What it has
    committed survives its being killed."""

    socket = sandbox.HOME / "remote.sock"
    network = [f"--bind-address={HOST}", f"--port={PORT}"]

    def __init__(self, *options):
        self.host = Network()
        self.enter = self.host.enter
        super().__init__("--innodb-flush-log-at-trx-commit=1", *options)

    def load(self, *files):
        super().load(*files)
        self.run("drop user if exists admin@'192.0.2.1', haproxy@'192.0.2.1';"
                 + printed_statements("@'192.0.2.1'"))


class Proxy:
    """A process that owns the local socket. If it is killed, the socket's file stays."""

    def __init__(self, *command, path=sandbox.SOCKET):
        self.path = path
        path.unlink(missing_ok=True)
        path.parent.mkdir(parents=True, exist_ok=True)
        self.process = subprocess.Popen(
            [*WITH_US, *command], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=open(sandbox.HOME / "proxy.log", "ab"))
        wait_until(self._listens, "a proxy that listens")

    def _listens(self):
        if self.process.poll() is not None:
            raise RuntimeError((sandbox.HOME / "proxy.log").read_text()[-2000:])
        with socket.socket(socket.AF_UNIX) as connection:
            return connection.connect_ex(str(self.path)) == 0

    @property
    def pid(self):
        return self.process.pid

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        """Ends the proxy and removes its socket."""
        self.kill()
        self.path.unlink(missing_ok=True)


def changed(text, changes):
    """The text with some of its parts replaced; each must be there."""
    for old, new in changes.items():
        assert old in text, old
        text = text.replace(old, new)
    return text


def haproxy(changes=None, path=sandbox.SOCKET):
    """HAProxy with the guide's configuration, in which some texts are replaced."""
    configuration = sandbox.HOME / f"{path.parent.name}-{path.stem}.cfg"
    changes = {**(changes or {}), str(sandbox.SOCKET): str(path)}
    configuration.write_text(changed(CONFIGURATION, changes))
    running = Proxy("haproxy", "-db", "-q", "-f", str(configuration), path=path)
    running.configuration = configuration
    return running


def socat():
    return Proxy("socat", f"UNIX-LISTEN:{sandbox.SOCKET},fork,mode=600", f"TCP:{HOST}:{PORT}")
