"""What conflicts between two nodes do to the limiter; run by tests/cluster/figures.

    figures.py [ROUNDS]
"""

import re
import statistics
import sys
from collections import Counter, defaultdict

from cluster import DEADLOCK, GUIDE, KEYS, ROOT, Cluster, message

sys.path.insert(0, str(ROOT / "bench"))

from runs import os_description, wrapped  # noqa: E402

ROUNDS = 3
AT_ONCE = 4  # on each node
BEGIN, END = "<!-- tests/cluster/figures writes from here -->", "<!-- to here -->"

DEFAULTS = {"innodb_snapshot_isolation": 0, "wsrep_retry_autocommit": 1, "wsrep_sync_wait": 0}
SAMPLE = {**DEFAULTS, "innodb_snapshot_isolation": 1, "wsrep_retry_autocommit": 10}
# Name, files of the schema, whether the trigger is there, settings, whether both nodes get
# messages.
SETUPS = [
    ("tables as they are, default settings", ["tables.sql"], False, DEFAULTS, True),
    ("keys, default settings", KEYS, False, DEFAULTS, True),
    ("keys, the sample's settings", KEYS, False, SAMPLE, True),
    ("**keys, turns, the sample's settings**", KEYS, True, SAMPLE, True),
    ("these and `wsrep_sync_wait=1`", KEYS, True, {**SAMPLE, "wsrep_sync_wait": 1}, True),
    ("all of it, every message to one node", KEYS, True, SAMPLE, False),
]

# Name, messages for each node, replies that a sender may get, whether there is one sender.
LIMITED, UNLIMITED, MANY = SCENARIOS = [
    ("limited", 20, 10, True), ("unlimited", 50, 1000000, True), ("many", 50, 10, False)]

COLUMNS = ["setup", "repairs", "replies to one sender, 10 allowed", "replies to one sender, all"
           " allowed (100)", "counted of them", "replies to 100 senders", "runs that gave up",
           "aborted", "refused", "a run, ms: median (most)"]


def prepare(cluster, files, takes_turns, settings):
    cluster.load(*files)
    if not takes_turns and files is KEYS:
        cluster.first.sql("drop trigger resp_freq_takes_its_turn")
    for node in cluster.nodes:
        node.sql("".join(f"set global {name}={value};" for name, value in settings.items()))
    cluster.rule(mem_limit=1000000)


def messages(scenario, both):
    """The messages of the two nodes, from different senders or with different numbers."""
    _, count, _, is_one = scenario
    numbers = [range(count), range(count, 2 * count)] if both else [range(2 * count), []]
    return [[message("otto@customer.example" if is_one else f"sender{n}@customer.example",
                     f"message {n}") for n in node] for node in numbers]


def conflicts(cluster):
    """Numbers of transactions that one of another node aborted, and that were refused at commit."""
    return [sum(int(node.status(name)) for node in cluster.nodes)
            for name in ("local_bf_aborts", "local_cert_failures")]


def gave_up(ends):
    """How many runs ended because of a conflict. Any other end makes the figures worthless."""
    said = Counter(end[:2] for end in ends)
    count = said.pop((0, DEADLOCK), 0)
    said.pop((0, ""), None)
    if said:
        sys.exit(f"unexpected: {said}")
    return count


def measure(cluster, scenario, both, notes):
    name, _, allowed, _ = scenario
    cluster.first.sql(f"delete from resp_freq; update mail_resp set ans_freq={allowed}")
    for node in cluster.nodes:
        node.catch_up()
        node.forget_mails()
    before = conflicts(cluster)
    ends = sum(cluster.deliver(messages(scenario, both), AT_ONCE if both else 2 * AT_ONCE), [])
    notes[name].append(len(cluster.mails()))
    notes["gave up"].append(gave_up(ends))
    for kind, now, then in zip(("aborted", "refused"), conflicts(cluster), before):
        notes[kind].append(now - then)
    notes["seconds"] += [seconds for _, _, seconds in ends]
    if name == "unlimited":
        cluster.second.catch_up()
        notes["counted"].append(int(cluster.second.sql("select max(num) from resp_freq")))


def least_to_most(values):
    return f"{min(values)}" if min(values) == max(values) else f"{min(values)} to {max(values)}"


def of_rounds(values):
    """For each round, the sum over its three scenarios."""
    return [sum(values[at:at + 3]) for at in range(0, len(values), 3)]


def row(setup, repairs, notes):
    cells = [setup, "on" if repairs else "off"]
    cells += [least_to_most(notes[name]) for name in ("limited", "unlimited", "counted", "many")]
    cells += [least_to_most(of_rounds(notes[name])) for name in ("gave up", "aborted", "refused")]
    cells.append(f"{1000 * statistics.median(notes['seconds']):.0f}"
                 f" ({1000 * max(notes['seconds']):.0f})")
    return f"| {' | '.join(cells)} |"


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else ROUNDS
    machine = f"Machine: {os_description()}."
    cluster = Cluster()
    notes = defaultdict(lambda: defaultdict(list))
    for _ in range(rounds):
        for setup, *how, both in SETUPS:
            prepare(cluster, *how)
            for repairs in (False, True):
                cluster.switch(repairs=repairs)
                for scenario in SCENARIOS:
                    measure(cluster, scenario, both, notes[setup, repairs])
    cluster.end()
    table = "\n".join([machine, "", f"| {' | '.join(COLUMNS)} |", f"|{' --- |' * len(COLUMNS)}",
                       *(row(*key, notes[key]) for key in notes)])
    print(table)
    if rounds == ROUNDS:
        GUIDE.write_text(re.sub(f"{BEGIN}.*{END}", lambda _: f"{BEGIN}\n\n{wrapped(table)}\n\n{END}",
                                GUIDE.read_text(), flags=re.S))


if __name__ == "__main__":
    main()
