#include "checked_database.h"

namespace {

constexpr char kTables[] = "from information_schema.tables t";

// A node that has everything.
class ANode : public CheckedDatabase {
 protected:
  ANode() {
    server_.Answer("@@wsrep_on", {{"1"}});
    server_.Answer("wsrep_ready", {{"ON"}});
    server_.Answer(kTables, {{"mail", "InnoDB", "1"}, {"resp_freq", "InnoDB", "2"}});
    server_.Answer("from resp_freq_turn", {{"0"}});
    server_.Answer("@@innodb_snapshot_isolation", {{"1"}});
    server_.Answer("tx_isolation", {{"REPEATABLE-READ"}});
    inspection_.switches.repairs.turns = true;
  }

  std::string Codes() { return CodesOf(check_cluster); }
};

TEST_F(ANode, IsRight) {
  EXPECT_EQ(Codes(), "");
  server_.Answer("tx_isolation", {{"SERIALIZABLE"}});
  EXPECT_EQ(Codes(), "");
}

TEST_F(ANode, IsNoNodeWithoutReplication) {
  server_.Answer("wsrep_ready", {{"OFF"}});
  for (const char* answer : {"0", ""}) {
    server_.Answer("@@wsrep_on", {{answer}});
    EXPECT_EQ(Codes(), "");
  }
  server_.Fail("@@wsrep_on", 1193, "Unknown system variable");
  EXPECT_EQ(Codes(), "");
}

TEST_F(ANode, NeedsAMajority) {
  server_.Answer("wsrep_ready", {{"OFF"}});
  EXPECT_EQ(Codes(), "cluster_not_ready");
}

TEST_F(ANode, NeedsKeysAndInnoDbForEachTable) {
  server_.Answer(kTables, {{"mail", "InnoDB", "0"},
                           {"misc", "MyISAM", "1"},
                           {"resp_freq", "Aria", "0"},
                           {"domains", "InnoDB", "1"}});
  EXPECT_EQ(Codes(), "cluster_key_missing cluster_engine");
  EXPECT_EQ(inspection_.findings[0].text,
            "Without a primary key, so that the nodes may not agree which row is changed: mail, "
            "resp_freq. Add keys as schema/cluster.sql does.");
  EXPECT_EQ(inspection_.findings[1].text,
            "Not of the engine InnoDB, so that their rows stay on the node that writes them: misc "
            "(MyISAM), resp_freq (Aria). Give each table the engine InnoDB.");
}

TEST_F(ANode, NeedsRepairs) {
  inspection_.switches.repairs.turns = false;
  server_.Fail("show create trigger", 1360, "Trigger does not exist");
  server_.Answer("@@innodb_snapshot_isolation", {{"0"}});
  EXPECT_EQ(Codes(), "cluster_repairs_off");
}

TEST_F(ANode, NeedsSnapshots) {
  server_.Answer("@@innodb_snapshot_isolation", {{"0"}});
  EXPECT_EQ(Codes(), "cluster_snapshots_off");
  server_.Fail("@@innodb_snapshot_isolation", 1193, "Unknown system variable");
  EXPECT_EQ(Codes(), "cluster_snapshots_off");
}

TEST_F(ANode, NeedsIsolation) {
  server_.Answer("tx_isolation", {{"READ-COMMITTED"}});
  EXPECT_EQ(Codes(), "cluster_isolation");
}

TEST_F(ANode, NeedsTheTriggerOfTurns) {
  server_.Fail("show create trigger", 1360, "Trigger does not exist");
  EXPECT_EQ(Codes(), "cluster_turns_missing");
  EXPECT_EQ(Text().substr(0, 47), "There is no trigger resp_freq_takes_its_turn: w");
}

TEST_F(ANode, MayKeepTheTriggerSecret) {
  server_.Fail("show create trigger", 1142, "denied");
  EXPECT_EQ(Codes(), "");
}

TEST_F(ANode, NeedsTheTableOfTurns) {
  server_.Fail("from resp_freq_turn", 1146, "no such table");
  EXPECT_EQ(Codes(), "limiter_refused");
  server_.Fail("from resp_freq_turn", 1142, "denied");
  EXPECT_EQ(Codes(), "not_seen");
}

TEST_F(ANode, NeedsAllSlots) {
  server_.Answer("from resp_freq_turn", {{"3"}});
  EXPECT_EQ(Codes(), "cluster_turns_missing");
  EXPECT_EQ(Text().substr(0, 44), "resp_freq_turn lacks 3 of its slots 0 to 63:");
}

}  // namespace
