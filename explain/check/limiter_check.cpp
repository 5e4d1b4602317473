#include <algorithm>
#include <iterator>
#include <strings.h>
#include <utility>
#include <vector>

#include "autoresponder/panel/table_definition.h"
#include "explain/check/inspection.h"

namespace {

// The limiter leaves `time_resp` to its default, and deletes the rows of earlier days by it.
void check_time(const ColumnDefinition& column, Inspection& inspection) {
  const bool is_time = column.Is({"timestamp", "datetime"});
  const bool is_filled = column.Has("default current_timestamp") || column.Has("default now()");
  if (is_time && is_filled) return;
  inspection.Error("limiter_time",
                   "resp_freq.time_resp is not filled with the time of the reply: a sender who was "
                   "answered often enough on one day is never answered again. alter table "
                   "resp_freq modify time_resp timestamp not null default current_timestamp");
}

bool is_known(const std::string& name) {
  return name == "rn_id" || name == "email" || name == "num" || name == "time_resp";
}

bool is_strict(PanelDatabase& database) {
  return first_column(database.Query("select @@sql_mode like '%STRICT%'"), "0") == "1";
}

// A strict server refuses the limiter's rows if another column needs a value.
void check_other_columns(const TableDefinition& table, Inspection& inspection) {
  for (const auto& [name, column] : table) {
    const bool may_be_left_out = !column.Has("not null") || column.Has(" default ") ||
                                 column.Has("auto_increment") || column.Has("generated always");
    if (is_known(name) || may_be_left_out || !is_strict(*inspection.database)) continue;
    inspection.Error("limiter_refused",
                     "resp_freq.{} has no default, and the server is strict: it refuses what the "
                     "limiter writes, and no rule replies. Give the column a default.",
                     name);
  }
}

// `statement` as a literal.
std::string quoted(const std::string& statement) {
  std::string literal = "'";
  for (const char c : statement) {
    if (c == '\'' || c == '\\') literal += c;
    literal += c;
  }
  return literal + '\'';
}

// The statements of a trigger's body, without what makes one block of them.
std::vector<std::string> statements_of(const std::string& body) {
  constexpr const char* kBlanks = " \t\r\n";
  std::vector<std::string> statements;
  for (size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
    end = body.find(';', start);
    std::string statement = body.substr(start, end - start);
    statement.erase(0, statement.find_first_not_of(kBlanks));
    if (strncasecmp(statement.c_str(), "begin", 5) == 0) statement.erase(0, 5);
    statements.push_back(std::move(statement));
  }
  return statements;
}

// A trigger that writes to a table that is not there makes the server refuse each row. Prepared and
// never executed, its statements tell.
void check_trigger(const char* name, const char* body, Inspection& inspection) {
  for (const std::string& statement : statements_of(body)) {
    try {
      inspection.database->Query("prepare never_executed from " + quoted(statement), "");
    } catch (const PanelFailure& failure) {
      if (failure.error() != kNoSuchTable) continue;
      inspection.Error("trigger_broken",
                       "The trigger {} of resp_freq fails: {}. No rule replies. Make the table, or "
                       "drop trigger {}",
                       name, failure.what(), name);
      return;
    }
  }
}

void check_triggers(Inspection& inspection) {
  auto rows = inspection.database->TryQuery(
      "select trigger_name, action_statement from information_schema.triggers where "
      "event_object_schema=database() and event_object_table='resp_freq'");
  if (!rows) return;
  // In a read-only transaction the server says only that a table that is not there is not written.
  inspection.database->TryQuery("set session transaction read write");
  while (const Row row = rows->Next()) {
    check_trigger(text_or(row[0], ""), text_or(row[1], ""), inspection);
  }
  inspection.database->TryQuery("set session transaction read only");
}

// Prepares the statement but never executes it: the server checks the rights when it prepares.
void check_right(const char* statement, Inspection& inspection) {
  try {
    inspection.database->Query(formatted("prepare never_executed from '{}'", statement), "");
  } catch (const PanelFailure& failure) {
    if (failure.error() != kTableDenied && failure.error() != kColumnDenied) return;
    inspection.Error("right_missing",
                     "The limiter cannot count: {}. grant select, insert, update, delete on "
                     "kem.resp_freq to admin@localhost",
                     failure.what());
  }
}

void check_rights(Inspection& inspection) {
  check_right("delete from resp_freq where rn_id=0", inspection);
  check_right("update resp_freq set num=1 where rn_id=0", inspection);
  check_right("insert into resp_freq set rn_id=0, email=0, num=1", inspection);
}

// The rank of an integer type by its range, from 1; 0 for other types.
int rank_of(const ColumnDefinition& column) {
  constexpr const char* kTypes[] = {"tinyint", "smallint", "mediumint", "int", "bigint"};
  const auto* const type = std::find(std::begin(kTypes), std::end(kTypes), column.type);
  return type != std::end(kTypes) ? static_cast<int>(type - std::begin(kTypes)) + 1 : 0;
}

// resp_freq.rn_id has to hold the id of any rule.
void check_ids(const TableDefinition& rules, const TableDefinition& limiter,
               Inspection& inspection) {
  const auto id = rules.find("id");
  const auto reference = limiter.find("rn_id");
  if (id == rules.end() || reference == limiter.end()) return;
  if (rank_of(reference->second) >= rank_of(id->second)) return;
  inspection.Warning(
      "column_type",
      "resp_freq.rn_id is of type {0} and mail_resp.id of type {1}: rules with large "
      "ids are not limited. alter table resp_freq modify rn_id {1} not null",
      reference->second.type, id->second.type);
}

// With repairs the limiter locks the rule's row; not all engines can. A view has no engine.
void check_engine(Inspection& inspection) {
  if (!inspection.switches.repairs.turns) return;
  Rows rows = inspection.database->Query("show table status like 'mail_resp'");
  enum Column { kName, kEngine };
  const Row row = rows.Next();
  const std::string engine = row != nullptr ? text_or(row[kEngine], "InnoDB") : "InnoDB";
  if (engine == "InnoDB") return;
  inspection.Warning("limiter_engine",
                     "mail_resp is of the engine {}, which locks no rows: deliveries at the same "
                     "time may get more replies than a rule allows, also with repairs. alter table "
                     "mail_resp engine=InnoDB",
                     engine);
}

// A rule that may remember no sender deletes the one of the time "0" where it remembers none.
// MariaDB finds none; MySQL refuses the statement.
void check_memory(Inspection& inspection) {
  if (inspection.switches.repairs.evictions) return;
  auto rows = inspection.database->TryQuery(
      "select id, mem_limit from mail_resp where mem_limit<=0 and resp_on<>'false' and @@version "
      "not like '%MariaDB%' order by id limit 1");
  const Row row = rows ? rows->Next() : nullptr;
  if (row == nullptr) return;
  inspection.Warning("limiter_without_memory",
                     "Rule {} may remember no sender (mem_limit {}): this server refuses what the "
                     "limiter then deletes, and the rule never answers. Raise its mem_limit, or "
                     "switch AUTORESPONDER_REPAIRS on.",
                     text_or(row[0], ""), text_or(row[1], ""));
}

}  // namespace

void check_limiter(Inspection& inspection) {
  PanelDatabase& database = *inspection.database;
  const TableDefinition table = read_table_definition("resp_freq", database);
  if (const auto time = table.find("time_resp"); time != table.end()) {
    check_time(time->second, inspection);
  }
  check_other_columns(table, inspection);
  check_ids(read_table_definition("mail_resp", database), table, inspection);
  check_rights(inspection);
  check_triggers(inspection);
  check_engine(inspection);
  check_memory(inspection);
}
