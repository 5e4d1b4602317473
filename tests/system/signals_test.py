"""Signals at any call of a run."""

import os
import signal
from pathlib import Path

import pytest

from busy_rule import COPY, OWNER, REPLY, busy_rule, sent, whole
from conftest import message

POINTS = range(1, 33)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_signals_at_every_call(panel, number):
    ends = []
    for point in POINTS:
        panel.reset()
        busy_rule(panel)
        result = panel.run(message(), faults=f"signal={int(number)}@{point}")
        ends.append(result.status)
        assert result.status in (-number, 0), point
        assert panel.temporary_files() == [], point
        assert whole(panel), point
    # A signal at any point within the run ends it; the points after its last call change nothing.
    assert ends.count(-number) >= 20
    assert ends == sorted(ends)


def test_a_broken_pipe_at_any_call_changes_nothing(panel):
    for point in POINTS:
        panel.reset()
        busy_rule(panel)
        result = panel.run(message(), faults=f"signal={int(signal.SIGPIPE)}@{point}")
        assert (result.status, result.err) == (0, b""), point
        assert sent(panel) == [COPY, OWNER, REPLY] and whole(panel), point


def test_nothing_of_the_tests_themselves_is_left():
    assert Path("/tmp").is_dir() and os.listdir("/tmp") == []
