"""Single runs of the program and of what it is compared with, on one panel, and what they cost."""

import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import textwrap
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path[:0] = [str(ROOT / "tests" / "system"), str(ROOT / "sandbox")]

import panel as sandbox  # noqa: E402
from conftest import BUILD, RECIPIENT, Panel  # noqa: E402

PROGRAM = BUILD / "autoresponder" / "autoresponder"
TOOLS = BUILD / "bench"
INPUT = sandbox.HOME / "input"
SCRIPT = sandbox.HOME / "script"
RESET = sandbox.HOME / "reset"
# In the order of the tables' columns.
COMMANDS = {
    "floor": [TOOLS / "floor", SCRIPT],
    "program": [PROGRAM],
    "static": [ROOT / "build-static-client" / "autoresponder" / "autoresponder"],
    "ground": [TOOLS / "ground", SCRIPT],
}
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT}

# Starts the measured program from a small process: the peak memory of a child is at least that of
# the process that starts it.
PEAK = """
import os, sys
pid = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, usage = os.wait4(pid, 0)
print(usage.ru_maxrss, file=sys.stderr)
"""


class Difference(Exception):
    """One of the commands did not do what the program did."""


class Bench:
    """A panel on which the commands run."""

    def __init__(self):
        self.panel = Panel()

    def make(self, case):
        self.panel.reset()
        case.make_panel(self.panel)
        INPUT.write_bytes(case.make_message())
        RESET.write_text("#!/bin/sh\nexec mariadb --no-defaults --user=root"
                         f" --socket={sandbox.SOCKET} kem -e \"{case.reset}\"\n")
        RESET.chmod(0o755)

    def reset(self):
        subprocess.run([RESET], check=True)

    def run(self, command, **environment):
        with open(INPUT, "rb") as stdin:
            return subprocess.run(command, stdin=stdin, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.PIPE, env={**ENVIRONMENT, **environment})

    def record(self):
        """Records the floor's script from one run of the program."""
        self.reset()
        SCRIPT.write_bytes(b"")
        result = self.run([PROGRAM], LD_PRELOAD=str(TOOLS / "librecorder.so"),
                          FLOOR_SCRIPT=str(SCRIPT))
        if result.returncode != 0:
            raise Difference(f"the program ended with {result.returncode}: {result.stderr}")

    def outcome(self, command):
        """What one run sends, starts and hands to sendmail."""
        self.reset()
        sandbox.forget_mails()
        (sandbox.HOME / "commands").write_bytes(b"")
        statements = self.panel.statements(lambda: self.run(command))
        commands = [re.sub(r"-[A-Za-z0-9]{6}\b", "-XXXXXX", text)
                    for text in self.panel.commands()]
        mails = [(mail.arguments, mail.message) for mail in self.panel.mails()]
        return statements, commands, mails, self.panel.temporary_files()

    def compare(self):
        """Fails where one of the others leaves out or adds anything."""
        program = self.outcome(COMMANDS["program"])
        for name in COMMANDS.keys() - {"program"}:
            outcome = self.outcome(COMMANDS[name])
            for what, ours, its in zip(("statements", "commands", "mails", "files"), program, outcome):
                if ours != its:
                    raise Difference(f"{what} of the program: {str(ours)[:2000]}\n"
                                     f"{what} of the {name}: {str(its)[:2000]}")

    def lighten(self):
        """Gives up the shell that records commands."""
        subprocess.run(["umount", "/usr/bin/dash"], check=True)

    def use_sink(self):
        shutil.copy(TOOLS / "sink", sandbox.QMAIL / "bin" / "sendmail")

    def instructions(self, command):
        self.reset()
        result = self.run(["/usr/bin/valgrind", "--tool=callgrind",
                           "--callgrind-out-file=/dev/null", *command])
        # The process that it forks reports too, and earlier.
        return int(re.findall(rb"Collected : (\d+)", result.stderr)[-1])

    def instructions_of_reader(self):
        """Those of the process that takes the message apart, from its start."""
        result = self.run(["/usr/bin/valgrind", "--tool=callgrind", "--zero-before=confine*",
                           "--callgrind-out-file=/dev/null", TOOLS / "reader", "once"])
        return int(re.findall(rb"Collected : (\d+)", result.stderr)[0])

    def milliseconds_of_reader(self):
        """The medians of the times to its answer, and from there to its end."""
        words = subprocess.run([TOOLS / "reader"], check=True, stdout=subprocess.PIPE).stdout.split()
        return float(words[0]), float(words[1])

    def peak_memory(self, command):
        """In bytes."""
        self.reset()
        result = self.run(["/usr/bin/python3", "-S", "-c", PEAK, *command])
        return 1024 * int(result.stderr.split()[-1])

    def round(self, runs, commands):
        """The median wall time and the mean processor time of each command."""
        output = sandbox.HOME / "hyperfine.json"
        lines = [" ".join(map(str, [TOOLS / "feed", INPUT, *command])) for command in commands]
        subprocess.run(
            ["hyperfine", "-N", "--style", "none", "--warmup", "1", "--runs", str(runs),
             "--prepare", str(RESET), "--export-json", str(output), *lines],
            check=True, env=ENVIRONMENT, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return [(result["median"], result["user"] + result["system"])
                for result in json.loads(output.read_text())["results"]]


class Rounds:
    """Rounds of all commands, which take turns in being first."""

    def __init__(self, bench, rounds, runs):
        names = list(COMMANDS)
        self.results = []
        for number in range(rounds):
            order = names[::-1] if number % 2 else names
            results = bench.round(runs, [COMMANDS[name] for name in order])
            self.results.append(dict(zip(order, results)))

    def milliseconds(self, name):
        return 1000 * statistics.median(result[name][0] for result in self.results)

    def walls(self, name):
        """Wall time / the floor's, sorted."""
        return sorted(result[name][0] / result["floor"][0] for result in self.results)

    def cpu(self, name):
        """Processor time / the floor's."""
        return statistics.median(result[name][1] / result["floor"][1] for result in self.results)


def intake(message):
    """Seconds, processor seconds and peak memory in bytes of one intake of the message."""
    INPUT.write_bytes(message)
    with open(INPUT, "rb") as stdin:
        words = subprocess.run([TOOLS / "intake"], stdin=stdin, check=True, env=ENVIRONMENT,
                               stdout=subprocess.PIPE).stdout.split()
    return float(words[0]), float(words[1]), 1024 * int(words[2])


def os_description():
    """The machine, without its name."""
    cpu = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())[1]
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") // (1 << 30)
    release = re.search(r'PRETTY_NAME="(.*)"', Path("/etc/os-release").read_text())[1]
    load = os.getloadavg()[1]
    return (f"{cpu}, {os.cpu_count()} cores, {memory} GiB of memory, {release}, Linux"
            f" {os.uname().release.split('-')[0]}, spool and messages in memory;"
            f" load before the run {load:.1f}")


def wrapped(text):
    """The text of a document with its prose in lines of at most 120 columns."""
    return "\n".join(line if line.startswith("|") else textwrap.fill(line, 120, break_on_hyphens=False)
                     for line in text.split("\n"))
