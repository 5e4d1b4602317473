"""The cluster that all tests share. Each test starts with an empty panel with the keys of
schema/cluster.sql, on two nodes and with an arbitrator."""

import pytest

from cluster import KEYS, Cluster


@pytest.fixture(scope="session")
def _cluster():
    cluster = Cluster()
    yield cluster
    cluster.end()


@pytest.fixture
def cluster(_cluster):
    _cluster.load(*KEYS)
    yield _cluster
    for node in _cluster.nodes:
        assert node.temporary_files() == []
