"""How the server finds the rows of each statement of a run."""

import re

import marked
from large_panel import NAMES, run
from loads import switch

# A rule that does everything: it forwards, lacks an attachment and tells the owner, and reaches its
# limit on remembered senders.
RULE = """
insert into resp_forward (rn_id, address) values (1, 'ben@colleague.example');
insert into resp_attach (rn_id, filename) values (1, 'list.txt');
insert into resp_freq (rn_id, email, num, time_resp)
  values (1, 'before@x.example', 1, now() - interval 1 second);
update mail_resp set mem_limit=1 where id=1;
set global log_output='TABLE';
truncate mysql.general_log;
set global general_log=1;
"""
END = """
set global general_log=0;
delete from resp_forward; delete from resp_attach; delete from resp_freq where rn_id=1;
insert into resp_freq (rn_id, email, num) values (1, 'sender1@x.example', 1);
update mail_resp set mem_limit=1000000 where id=1;
"""


def statements(database):
    """The statements of two runs with both switches on, one of each form."""
    switch(repairs=True, courtesy=True)
    database.run(RULE)
    try:
        run(NAMES["an alias"], may_report=True)  # that an attachment is missing
        run(NAMES["an alias at a domain alias"], may_report=True)  # that nobody can be told of that
    finally:
        log = database.run("select argument from mysql.general_log where user_host like 'admin%'"
                           " and command_type='Query' order by event_time")
        database.run(END)
    first = {}
    for statement in log.splitlines():
        first.setdefault(re.sub(r"'[^']*'", "''", statement), statement)
    return list(first.values())


def plan(database, statement):
    """Each table with its index and how many rows the server expects there."""
    steps = []
    for row in database.run(f"set names utf8; explain {statement}").splitlines():
        _, _, name, access, _, key, _, _, count, extra = row.split("\t")
        index = f"{key} ({access}, {count})" if key != "NULL" else access
        steps.append(extra if name == "NULL" else f"{name}: {index}")
    return ", ".join(steps)


def shortened(statement):
    text = re.sub(r"\s+", " ", statement)
    return text if len(text) <= 160 else text[:157] + "..."


def plans(database):
    """A table of the statements; fails where one reads a whole table."""
    rows = []
    for statement in statements(database):
        if not re.match("select|update|delete", statement, re.I):
            continue
        found = plan(database, statement)
        if re.search(r": (ALL|index)\b", found):
            raise RuntimeError(f"the server reads a whole table: {statement}: {found}")
        rows.append([f"`{shortened(statement)}`", found])
    return marked.table(["statement", "index of each table (access, rows expected)"], rows)
