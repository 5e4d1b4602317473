"""A build with a static client library needs no shared one."""

import re
import subprocess

import pytest

from conftest import BUILD


@pytest.mark.parametrize("program", ["autoresponder/autoresponder", "explain/autoresponder-explain"])
def test_needs_no_shared_client_library(program):
    needed = subprocess.run(["readelf", "--dynamic", BUILD / program], check=True,
                            capture_output=True, text=True).stdout
    assert re.search(r"NEEDED.*libc\.so", needed)
    assert not re.search(r"NEEDED.*lib(mariadb|ssl|crypto|z)\.", needed)
