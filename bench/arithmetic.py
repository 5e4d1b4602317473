"""What large installations need, computed from the figures that bench/throughput and bench/growth
measured. Prints its table; those commands also write it into docs/scaling.md."""

import math

import marked

MAILBOXES = (1_000_000, 10_000_000, 100_000_000)
MESSAGES = 20           # per mailbox and day
WITH_RULES = 0.1        # of the mailboxes; each message to one of them gets one reply
PEAK = 3                # load of the busiest hour / mean load of the day
DAY = 86400
MAIL_CORES = 8
DATABASE_CORES = 16
BUSY = 0.7              # at most, of a server's processors
REMEMBERED = 1000       # senders of a rule, by default


class Need:
    """What a number of mailboxes needs in the busiest hour and per day."""

    def __init__(self, figures, mailboxes, is_started_for_all):
        measured = figures["throughput"]
        self.messages = mailboxes * MESSAGES
        self.replies = self.messages * WITH_RULES
        seconds = DAY / PEAK
        self.replies_in_second = self.replies / seconds
        others = (self.messages - self.replies) / seconds if is_started_for_all else 0
        self.runs_in_second = self.replies_in_second + others

        def total(name):
            return (self.replies_in_second * measured["reply"][name]
                    + others * measured["no_rule"][name])

        self.mail_cores = total("run_seconds")
        self.database_cores = total("server_seconds")
        self.statements = total("statements")
        self.connections = total("seconds_alone")
        self.rows = min(self.replies, mailboxes * WITH_RULES * REMEMBERED)
        self.gigabytes = self.rows * figures["growth"]["bytes_of_row"] / 1e9

    def column(self):
        return [f"{self.messages / 1e6:,.0f} million", f"{self.replies / 1e6:,.0f} million",
                f"{self.runs_in_second:,.0f}", f"{self.replies_in_second:,.0f}",
                f"{self.mail_cores:,.1f}", servers(self.mail_cores, MAIL_CORES),
                f"{self.database_cores:,.1f}", servers(self.database_cores, DATABASE_CORES),
                f"{self.statements:,.0f}", f"{self.replies_in_second:,.0f}",
                f"{self.connections:,.0f}", f"{self.rows / 1e6:,.0f} million",
                f"{self.gigabytes:,.1f}"]


ROWS = ["messages a day", "replies a day", "runs a second, in the busiest hour",
        "replies a second, in the busiest hour",
        "processors at work for program, reader and sendmail",
        f"mail servers of {MAIL_CORES} processors", "processors at work for the database",
        f"database servers of {DATABASE_CORES} processors", "statements a second",
        "written rows a second", "connections at once, on average",
        "rows of one day in resp_freq, at most", "their size with the index, GB"]


def servers(processors, of_one):
    return f"{math.ceil(processors / (of_one * BUSY)):,}"


def hot_rule(figures):
    """The deliveries a second that one rule takes, as measured."""
    rates = [f"{case['rate']:.0f} a second with repairs {'on' if case['repairs'] else 'off'} and"
             f" {case['remembered']:,} senders" for case in figures["throughput"]["one_rule"]
             if case["one"] and case["remembered"] and not case["full"]]
    return f"One rule took {', '.join(rates)}.\n"


def text(figures):
    cases = [(mailboxes, is_started_for_all) for mailboxes in MAILBOXES
             for is_started_for_all in (False, True)]
    columns = [Need(figures, *case).column() for case in cases]
    head = ["", *(f"{mailboxes // 1_000_000:,} million, started for {'all' if for_all else 'rules'}"
                  for mailboxes, for_all in cases)]
    one, other = figures["throughput"]["reply"], figures["throughput"]["no_rule"]
    return (f"Measured, with {figures['throughput']['at_once']} deliveries at once: a run that replies"
            f" takes {1000 * one['run_seconds']:.1f} ms of a processor and {one['statements']:.0f}"
            f" statements, for which the server takes {1000 * one['server_seconds']:.1f} ms; a run"
            f" without a rule {1000 * other['run_seconds']:.1f} ms, {other['statements']:.0f}"
            f" statements and {1000 * other['server_seconds']:.1f} ms. A row of resp_freq takes"
            f" {figures['growth']['bytes_of_row']:.0f} bytes, and a run reads each row of its own rule"
            f" in {1e6 * figures['growth']['seconds_of_row']:.1f} µs.\n\n"
            + marked.table(head, [list(row) for row in zip(ROWS, *columns)])
            + "\n" + hot_rule(figures))


def write():
    """Writes the table if both commands have measured."""
    figures = marked.figures()
    if {"throughput", "growth"} <= figures.keys():
        marked.write("arithmetic.py", text(figures))


if __name__ == "__main__":
    print(text(marked.figures()))
