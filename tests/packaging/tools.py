"""Shared by the tests of the Debian packages. Only for use in `tests/packaging/scratch-root`."""

import subprocess
import sys
from pathlib import Path

CHECKOUT = Path(__file__).resolve().parent.parent.parent
BUILD = CHECKOUT / "build-package"
sys.path.insert(0, str(CHECKOUT / "sandbox"))


def shell(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          **options)


def dpkg(*arguments):
    return shell("dpkg", *arguments).stderr.decode()


def package(name, release=1):
    """The file of a package."""
    (path,) = BUILD.glob(f"{name}_*-{release}_*.deb")
    return path


def depends(name):
    """The packages that a package depends on."""
    field = shell("dpkg-deb", "--field", package(name), "Depends").stdout.decode()
    return {entry.split()[0] for entry in field.split(", ")}
