#include "explain/check/inspection.h"

namespace {

// The first column of the first row; empty if there is no row or the query fails, as it does for a
// variable that the server does not have.
std::string value_of(const char* query, PanelDatabase& database) {
  auto rows = database.TryQuery(query);
  return rows ? first_column(*std::move(rows), "").value_or("") : "";
}

// Without a replication library (wsrep_provider) a server works alone, even with wsrep_on.
bool is_node(PanelDatabase& database) {
  return value_of("select @@wsrep_on=1 and @@wsrep_provider not in ('', 'none')", database) == "1";
}

// A node that has lost the others refuses all statements, so that not even the connection can be
// set up, unless wsrep_dirty_reads lets it answer reads.
void check_readiness(Inspection& inspection) {
  constexpr const char* kReady =
      "select variable_value from information_schema.global_status "
      "where variable_name='wsrep_ready'";
  if (value_of(kReady, *inspection.database) == "ON") return;
  inspection.Error("cluster_not_ready",
                   "This node has no majority of its cluster (wsrep_ready is not ON). It answers "
                   "reads, but refuses what the limiter writes: no rule replies. docs/scaling.md "
                   "says how it comes back.");
}

// Name, engine and number of primary key columns of the tables that a run uses, including the one
// of schema/cluster.sql. A view, which has neither engine nor key, is left out.
constexpr const char* kTables =
    "select t.table_name, t.engine, count(s.index_name) from information_schema.tables t "
    "left join information_schema.statistics s on s.table_schema=t.table_schema "
    "and s.table_name=t.table_name and s.index_name='PRIMARY' "
    "where t.table_schema=database() and t.table_type!='VIEW' and t.table_name in "
    "('misc', 'clients', 'domains', 'domainaliases', 'mail', 'mail_aliases', 'mail_resp', "
    "'resp_freq', 'resp_forward', 'resp_attach', 'resp_freq_turn') "
    "group by t.table_name, t.engine order by t.table_name";

void append_name(std::string& names, const std::string& name) {
  names += names.empty() ? name : ", " + name;
}

void check_tables_of_node(Inspection& inspection) {
  Rows rows = inspection.database->Query(kTables);
  enum Column { kName, kEngine, kKeyColumns };
  std::string without_key;
  std::string other_engine;
  while (const Row row = rows.Next()) {
    const std::string engine = text_or(row[kEngine], "");
    if (std::string(text_or(row[kKeyColumns], "")) == "0") append_name(without_key, row[kName]);
    if (engine != "InnoDB") append_name(other_engine, formatted("{} ({})", row[kName], engine));
  }
  if (!without_key.empty()) {
    inspection.Warning(
        "cluster_key_missing",
        "Without a primary key, so that the nodes may not agree which row is changed: {}. Add keys "
        "as schema/cluster.sql does.",
        without_key);
  }
  if (!other_engine.empty()) {
    inspection.Warning("cluster_engine",
                       "Not of the engine InnoDB, so that their rows stay on the node that writes "
                       "them: {}. Give each table the engine InnoDB.",
                       other_engine);
  }
}

void check_snapshots(Inspection& inspection) {
  if (value_of("select @@innodb_snapshot_isolation", *inspection.database) == "1") return;
  inspection.Warning("cluster_snapshots_off",
                     "innodb_snapshot_isolation is not ON: of two replies to a sender at once, one "
                     "on each node, one may not be counted. Switch it on as galera.cnf.sample "
                     "does; a server that does not know it has to be upgraded.");
}

// At a lower isolation level concurrent replies go uncounted; docs/scaling.md has the numbers.
void check_isolation(Inspection& inspection) {
  // The variable's name depends on the server's version.
  constexpr const char* kIsolation =
      "select variable_value from information_schema.session_variables "
      "where variable_name in ('tx_isolation', 'transaction_isolation')";
  const std::string isolation = value_of(kIsolation, *inspection.database);
  if (isolation == "REPEATABLE-READ" || isolation == "SERIALIZABLE") return;
  inspection.Warning(
      "cluster_isolation",
      "Transactions are isolated by {}: replies to a sender at once, on both nodes, "
      "may not be counted. Set tx_isolation, which MariaDB 11 calls transaction_isolation, to "
      "REPEATABLE-READ, the default.",
      isolation);
}

// Works without the right to see triggers: the server then refuses to show one that exists, and
// still says if there is none.
bool has_trigger(PanelDatabase& database) {
  try {
    database.Query("show create trigger resp_freq_takes_its_turn", "");
  } catch (const PanelFailure& failure) {
    return failure.error() != kNoSuchTrigger;
  }
  return true;
}

// Says nothing without repairs: then no limit holds anyway.
void warn_of_turns(const std::string& what, const char* remedy, Inspection& inspection) {
  if (!inspection.switches.repairs.turns) return;
  inspection.Warning("cluster_turns_missing",
                     "{}: when both nodes answer a sender for the first time at once, each counts "
                     "for itself, and the sender may get more replies than a rule allows. {}",
                     what, remedy);
}

// The trigger writes to resp_freq_turn at each first reply, with the rights of the trigger's
// creator. So if we may not read the table, the trigger can still work.
void check_turn_rows(Inspection& inspection) {
  try {
    constexpr const char* kMissing = "select 64-count(*) from resp_freq_turn where slot<64";
    const std::string missing =
        first_column(inspection.database->Query(kMissing, ""), "0").value_or("0");
    if (missing == "0") return;
    warn_of_turns("resp_freq_turn lacks " + missing + " of its slots 0 to 63",
                  "Insert them as schema/cluster.sql does.", inspection);
  } catch (const PanelFailure& failure) {
    if (failure.error() != kNoSuchTable) {
      inspection.Unseen("The rows of resp_freq_turn", failure.what());
      return;
    }
    inspection.Error("limiter_refused",
                     "The trigger resp_freq_takes_its_turn is there and its table resp_freq_turn "
                     "is not: the server refuses each first reply to a sender. Make the table as "
                     "schema/cluster.sql does.");
  }
}

void check_turns(Inspection& inspection) {
  if (has_trigger(*inspection.database)) {
    check_turn_rows(inspection);
  } else {
    warn_of_turns("There is no trigger resp_freq_takes_its_turn",
                  "Make it as schema/cluster.sql does.", inspection);
  }
}

void check_limits(Inspection& inspection) {
  check_turns(inspection);
  if (inspection.switches.repairs.turns) {
    check_snapshots(inspection);
    check_isolation(inspection);
    return;
  }
  inspection.Warning("cluster_repairs_off",
                     "This server is a node of a cluster and repairs are off: no limit of a rule "
                     "holds. Write AUTORESPONDER_REPAIRS on into kem.conf, on each mail server.");
}

}  // namespace

void check_cluster(Inspection& inspection) {
  if (!is_node(*inspection.database)) return;
  check_readiness(inspection);
  check_tables_of_node(inspection);
  check_limits(inspection);
}
