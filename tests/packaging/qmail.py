"""qmail-inject for a test: delivers standard input to an address as qmail's local deliveries do, by
the files below /var/qmail and the .qmail file of the address.

    qmail.py ADDRESS

It knows only what the documents mention: control/virtualdomains, users/assign as compiled by
qmail-newu, Maildir lines and commands. A command runs as the user and with the one group of
users/assign; if it fails, the delivery ends and has failed.
"""

import os
import subprocess
import sys
import time
from pathlib import Path

QMAIL = Path("/var/qmail")


def prefix_of(domain):
    for line in (QMAIL / "control" / "virtualdomains").read_text().splitlines():
        name, prefix = line.split(":")
        if name == domain:
            return prefix + "-"
    raise SystemExit("Sorry, no virtual domain")


def user_of(local):
    """User id, group id, home and the rest of the address, from the wildcard that matches most."""
    found = max((line for line in (QMAIL / "users" / "cdb").read_text().splitlines()
                 if line.startswith("+") and local.startswith(line[1:].split(":")[0])), key=len)
    wildcard, _, uid, gid, home, dash, before, _ = found.split(":")
    return int(uid), int(gid), Path(home), dash + before + local[len(wildcard) - 1:]


def main():
    local, domain = sys.argv[1].split("@")
    local = prefix_of(domain) + local
    uid, gid, home, ext = user_of(local)
    message = sys.stdin.buffer.read()
    for line in (home / f".qmail{ext}").read_text().splitlines():
        if line.startswith("|"):
            subprocess.run(
                ["setpriv", f"--reuid={uid}", f"--regid={gid}", "--clear-groups", "/bin/sh", "-c",
                 line[1:]], input=message, cwd=home, check=True,
                env={"PATH": "/usr/bin:/bin", "RECIPIENT": f"{local}@{domain}"})
        else:
            name = home / line / "new" / f"{time.time_ns()}.{os.getpid()}"
            subprocess.run(["setpriv", f"--reuid={uid}", f"--regid={gid}", "--clear-groups", "tee",
                            name], input=message, stdout=subprocess.DEVNULL, check=True)


if __name__ == "__main__":
    main()
