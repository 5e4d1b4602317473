"""The peers side by side, as tables; run by bench/peers/run in the sandbox.

    compare.py [--quick]

Fails where a peer did not send exactly one reply to the sender, for each size of message.
"""

import argparse
import os
import statistics
import subprocess
import sys
import time
from pathlib import Path

from answers import NoReply, message, print_answered, print_replies, print_table, require_reply
from bars import draw
from claims import require_claims
from peers import INPUT, Ground
# Importing `peers` has put their folders on the path.
from cases import KILOBYTE, LINE, MEGABYTE, filled
from conftest import real_root
from runs import TOOLS, os_description, wrapped

TRIGGER = "Äpfel"
SIZES = {"2 KB": 2 * KILOBYTE, "100 KB": 100 * KILOBYTE, "20 MB": 20 * MEGABYTE}
LARGE = MEGABYTE
# Servers work on for a moment after the delivery has ended.
AFTERWARDS = 0.005


class Situation:
    """A message, and whether only a word at its end makes the peers answer it."""

    def __init__(self, name, size, trigger=None):
        self.name = f"{name} of text" + (", the last word is the trigger" if trigger else "")
        self.short_name = name + (", trigger" if trigger else "")
        self.large = size > LARGE
        self.trigger = trigger
        body = filled(LINE, size) + (trigger or "").encode() + b"\n"
        self.message = message({"Content-Transfer-Encoding": "8bit"}, body=body)

    def enter(self, ground):
        """Prepares the peers; returns those that can answer in this situation."""
        ground.answer(self.trigger)
        return [peer for peer in ground.peers if peer.conditions or not self.trigger]


SITUATIONS = [*(Situation(name, size) for name, size in SIZES.items()),
              *(Situation(name, SIZES[name], TRIGGER) for name in ("100 KB", "20 MB"))]


def stat(process):
    """The fields of /proc/PROCESS/stat that follow the name."""
    return Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()


def family(server):
    """The server and the processes that it started."""
    found = [server]
    for name in os.listdir("/proc"):
        try:
            if name.isdigit() and int(stat(name)[1]) == server:
                found.append(int(name))
        except OSError:  # it has ended
            continue
    return found


def seconds(process):
    """Processor time of a process and of the children that it waited for."""
    try:
        children = sum(map(int, stat(process)[13:15])) / os.sysconf("SC_CLK_TCK")
        # Nanoseconds for the process itself, ticks for its children.
        return time.clock_gettime(~process << 3 | 2) + children
    except OSError:  # it has ended, and its parent counts it
        return 0


def server_seconds(server):
    return sum(map(seconds, family(server)))


class Cost:
    """What the deliveries of one peer took."""

    def __init__(self):
        self.walls = []
        self.own = []
        self.servers = []

    def milliseconds(self):
        return 1000 * statistics.median(self.walls)

    def spread(self):
        """The middle half."""
        low, _, high = statistics.quantiles(self.walls, n=4)
        return f"{1000 * low:.1f} to {1000 * high:.1f}"


def deliver(ground, peer, cost):
    """One measured delivery."""
    ground.forget()
    ground.panel.switch(courtesy=peer.courtesy)
    command = peer.command()
    null = os.open(os.devnull, os.O_RDWR)
    before = server_seconds(peer.server) if peer.server else 0
    start = time.perf_counter()
    process = os.posix_spawn(command[0], command, ground.environment(), file_actions=[
        (os.POSIX_SPAWN_DUP2, null, descriptor) for descriptor in range(3)])
    _, status, usage = os.wait4(process, 0)
    cost.walls.append(time.perf_counter() - start)
    os.close(null)
    if status != 0:
        raise NoReply(f"{peer.name} ended with {status}")
    cost.own.append(usage.ru_utime + usage.ru_stime)
    if peer.server:
        time.sleep(AFTERWARDS)
        cost.servers.append(server_seconds(peer.server) - before)


def rounds(ground, peers, count):
    """Deliveries by the peers in turns; every second round goes the other way."""
    costs = {peer: Cost() for peer in peers}
    for number in range(count + 1):
        for peer in peers[::-1] if number % 2 else peers:
            deliver(ground, peer, Cost() if number == 0 else costs[peer])  # the first warms up
    return costs


def tree(ground, peer):
    """Processes, programs, and peak memory in MB of the largest process and of all together."""
    ground.forget()
    ground.panel.switch(courtesy=peer.courtesy)
    result = subprocess.run([TOOLS / "tree", *peer.command()], check=True, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            env=ground.environment())
    processes, programs, largest, together = map(int, result.stdout.split()[-4:])
    # The first program only starts the delivery.
    return processes, programs - 1, largest * 1024 / 1e6, together * 1024 / 1e6


def new_process():
    """The number of a process that ends at once. Numbers are given in order."""
    process = os.posix_spawn("/bin/true", ["true"], {})
    os.waitpid(process, 0)
    return process


def started_by_server(ground, peer):
    """How many processes a peer's server starts for a delivery."""
    if peer.server != ground.dovecot.pid:
        return 0  # the database server works in threads
    counts = []
    for _ in range(3):
        ground.forget()
        before = new_process()
        ground.run(peer)
        counts.append(new_process() - before - 2)
    return min(counts)


def server_peak(ground, peer):
    """Peak memory in MB of the largest process of a peer's server while it delivers."""
    for process in family(peer.server):
        Path(f"/proc/{process}/clear_refs").write_text("5")
    ground.forget()
    ground.run(peer)
    peaks = [line.split()[1] for process in family(peer.server)
             for line in Path(f"/proc/{process}/status").read_text().splitlines()
             if line.startswith("VmHWM:")]
    return max(map(int, peaks)) * 1024 / 1e6


def row(ground, peer, cost):
    processes, programs, largest, together = tree(ground, peer)
    more = started_by_server(ground, peer)
    own = 1000 * statistics.mean(cost.own)
    servers = 1000 * statistics.mean(cost.servers) if peer.server else 0
    return [peer.name, f"{cost.milliseconds():.1f}", cost.spread(), f"{own + servers:.1f}",
            f"{servers:.1f}" if peer.server else "–", str(processes + more), str(programs + more),
            f"{largest:.0f}", f"{together:.0f}",
            f"{server_peak(ground, peer):.0f}" if peer.server else "–"]


def measure(ground, quick):
    """Prints a table for each situation; returns the medians in milliseconds, by name."""
    medians = {}
    for situation in SITUATIONS:
        peers = situation.enter(ground)
        ground.use_sink()
        INPUT.write_bytes(situation.message)
        count = (3 if quick else 16) if situation.large else (8 if quick else 100)
        costs = rounds(ground, peers, count)
        print(f"\n**{situation.name}**; {count} deliveries to each")
        print_table(["delivered to", "wall time, ms", "middle half, ms", "processor time, ms",
                     "of it in servers", "processes", "programs", "largest process, MB",
                     "all processes, MB", "largest of the servers, MB"],
                    [row(ground, peer, cost) for peer, cost in costs.items()])
        medians[situation.short_name] = {peer.name: cost.milliseconds()
                                         for peer, cost in costs.items()}
    return medians


def packages():
    """The packages that the others come from, with their versions."""
    names = ["vacation", "maildrop", "dovecot-core", "dovecot-sieve", "dovecot-lmtpd"]
    return subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}, ", *names], check=True,
                          stdout=subprocess.PIPE, text=True).stdout.rstrip(", ")


def require_replies(ground):
    for situation in SITUATIONS:
        for peer in situation.enter(ground):
            require_reply(ground, peer, situation.message)
    print(f"Each of the {len(ground.peers)} sends exactly one reply to the sender, in each"
          " situation in which it is measured.", flush=True)


def tell(ground):
    """Prints what the peers do with other messages, and what they send."""
    ground.answer()
    # These two answer as the peer before them in the list.
    peers = [peer for peer in ground.peers
             if peer.name not in ("autoresponder, static client", "dovecot lmtp, Sieve")]
    print_answered(ground, peers)
    print_replies(ground, peers)
    require_claims(ground)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quick", action="store_true")
    quick = parser.parse_args().quick
    if not real_root():
        sys.exit("bench/peers: this needs root of the machine: deliveries run as a mailbox's user.")
    print(wrapped(f"Machine: {os_description()}.\n\nPackages: {packages()}.\n"), flush=True)
    ground = Ground()
    try:
        require_replies(ground)
        medians = measure(ground, quick)
        tell(ground)
    except NoReply as failure:
        sys.exit(str(failure))
    if not quick:
        draw([peer.name for peer in ground.peers], medians)


if __name__ == "__main__":
    main()
