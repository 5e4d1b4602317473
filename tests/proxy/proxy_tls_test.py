"""TLS between the proxy and another one on the database's host, by the lines that docs/scaling.md
prints."""

import re
import socket
import subprocess
from pathlib import Path

import pytest

from another_host import CONFIGURATION, GUIDE, HOST, WITH_US, changed, printed_statements
from proxy_panel import GREETING, NOT_CONNECTED, REPLY, message, sandbox, sent, wait_until

PORT = 3307
ETC = Path("/etc/haproxy")  # the sandbox has its own
HEAD = CONFIGURATION[:CONFIGURATION.index("listen panel")]


def printed(pattern):
    """A text of the guide, without the indentation of an example."""
    return re.search(pattern, GUIDE, re.M)[0].replace("\n    ", "\n").strip()


OWN_LINE = printed(r"^    server database 192\.0\.2\.10:3307 .*$")
OTHER_SECTION = printed(r"^    listen panel\n(?:        .*\n)+")


def openssl(command):
    subprocess.run(["openssl", *command.split()], cwd=ETC, check=True, stderr=subprocess.DEVNULL)


def certify(name, by="ca"):
    """A certificate and its key, in one file."""
    openssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout key -out request"
            f" -subj /CN={name} -addext subjectAltName=DNS:{name}.example")
    openssl(f"x509 -req -in request -CA {by}.pem -CAkey {by}.key -CAcreateserial"
            " -copy_extensions copy -out certificate")
    (ETC / f"{name}.pem").write_text((ETC / "certificate").read_text() + (ETC / "key").read_text())


def make_authority(name):
    openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
            f" -keyout {name}.key -out {name}.pem -subj /CN={name}")


@pytest.fixture(scope="module")
def certificates():
    ETC.mkdir(exist_ok=True)
    for name in ("ca", "stranger"):
        make_authority(name)
    certify("mail1")
    certify("database")


def answers():
    with socket.socket() as connection:
        return connection.connect_ex((HOST, PORT)) == 0


@pytest.fixture
def tls(panel, certificates):
    """The server listens on its own host only, where another HAProxy takes connections with TLS."""
    panel.database.restart("--bind-address=127.0.0.1")
    panel.sql("drop user admin@localhost, admin@'192.0.2.1', haproxy@'192.0.2.1';"
              + printed_statements("@'127.0.0.1'"))
    path = sandbox.HOME / "database.cfg"
    path.write_text(HEAD + OTHER_SECTION + "\n")
    other = subprocess.Popen([*WITH_US, *panel.database.enter, "haproxy", "-db", "-q", "-f", path])
    wait_until(answers)
    yield panel
    other.kill()
    other.wait()
    panel.sql("drop user admin@'127.0.0.1', haproxy@'127.0.0.1';")
    panel.database.restart()


def own_line(changes=None):
    line = re.search(r"server database .*", CONFIGURATION)[0]
    return {line: changed(OWN_LINE, changes or {})}


def test_a_run_through_two_proxies(tls, proxy):
    tls.rule()
    proxy(own_line())
    result = tls.run(message())
    assert (result.status, result.err, sent(tls)) == (0, b"", [REPLY])


def is_closed_at_once():
    with socket.socket(socket.AF_UNIX) as connection:
        connection.settimeout(1)
        connection.connect(str(sandbox.SOCKET))
        try:
            return connection.recv(1) == b""
        except TimeoutError:
            return False


@pytest.mark.parametrize("changes", [
    {" crt /etc/haproxy/mail1.pem": ""},
    {"database.example": "another.example"},
    {"ca-file /etc/haproxy/ca.pem": "ca-file /etc/haproxy/stranger.pem"},
    {" ssl verify required verifyhost database.example ca-file /etc/haproxy/ca.pem"
     " crt /etc/haproxy/mail1.pem": ""}],
    ids=["no certificate of its own", "another name", "another authority", "no TLS"])
def test_without_a_certificate_that_fits_nothing_is_asked(tls, proxy, changes):
    tls.rule()
    proxy(own_line(changes))
    if " ssl verify" in "".join(changes):
        # Without TLS both sides wait for the other's first word, until a check has failed.
        wait_until(is_closed_at_once)
    result = tls.run(message(), timeout=30)
    assert result.status == 0
    assert result.err.startswith(NOT_CONNECTED + GREETING)
    assert sent(tls) == []


def test_the_proxy_cannot_speak_tls_with_the_server_itself(panel, proxy):
    # The server's own TLS begins inside its protocol, after the greeting.
    panel.rule()
    proxy({f"{HOST}:3306 check": f"{HOST}:3306 ssl verify none check"})
    result = panel.run(message(), timeout=30)
    assert result.status == 0
    assert result.err.startswith(NOT_CONNECTED + GREETING)
    assert sent(panel) == []
