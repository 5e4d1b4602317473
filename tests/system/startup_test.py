"""What a run does not touch at its start, because a connection by a local socket does not need
it."""

import os
import re
import socket
import subprocess

import pytest

import panel as sandbox
from conftest import PROGRAM, message

NSCD = sandbox.HOME.parent / "nscd" / "socket"
SECONDS = 30


@pytest.fixture(params=["autoresponder", "autoresponder-explain"])
def start(panel, request):
    """Starts one of the programs, on a message for a rule that does not fire."""
    panel.rule(keystr="pears", key_where="body")
    run = panel.run if request.param == "autoresponder" else panel.explain

    def started(**options):
        result = run(message(), timeout=SECONDS, **options)
        assert b"Unable" not in result.err
        return result.status

    return started, 0 if request.param == "autoresponder" else 1


@pytest.fixture
def nscd():
    """A socket in the place of the name service cache's."""
    NSCD.parent.mkdir()
    with socket.socket(socket.AF_UNIX) as listening:
        listening.bind(str(NSCD))
        listening.listen(8)
        listening.setblocking(False)
        yield listening
    NSCD.unlink()
    NSCD.parent.rmdir()


def test_loads_the_database_client_itself():
    needed = subprocess.run(["readelf", "--dynamic", PROGRAM], check=True, capture_output=True).stdout
    assert not re.search(rb"NEEDED.*lib(mariadb|ssl|crypto|z)\.", needed), needed.decode()


def test_does_not_read_the_configuration_of_tls(start):
    run, status = start
    # Opening this pipe would wait for a writer.
    configuration = sandbox.HOME / "openssl.cnf"
    os.mkfifo(configuration)
    try:
        assert run(env={"OPENSSL_CONF": str(configuration)}) == status
    finally:
        configuration.unlink()


def test_does_not_ask_the_name_service_cache(start, nscd):
    run, status = start
    assert run() == status
    with pytest.raises(BlockingIOError):
        nscd.accept()
