#include <cstring>

#include "autoresponder/panel/table_definition.h"
#include "explain/check/inspection.h"

namespace {

struct Column {
  const char* table;
  const char* name;
  std::string (*problem)(const Column& use, const ColumnDefinition& column) = nullptr;
  const char* words = "";  // for problem_of_word: those that a run knows, each in quotes
  long min_size = 0;       // for problem_of_text, in characters
};

// What is wrong with the type of a column; empty if nothing is. A number that owners choose or that
// the limiter counts, or the id of a row.
std::string problem_of_number(const Column& /*use*/, const ColumnDefinition& column) {
  if (!column.IsInteger()) return formatted("is of type {} and no whole number", column.type);
  return column.type == "tinyint" ? "is of type tinyint, which larger numbers do not fit into" : "";
}

// A text of any characters.
std::string problem_of_text(const Column& use, const ColumnDefinition& column) {
  const bool is_any_size =
      column.Is({"text", "mediumtext", "longtext", "blob", "mediumblob", "longblob"});
  const bool is_small = column.Is({"tinytext", "tinyblob"});
  const bool is_sized = column.Is({"char", "varchar", "binary", "varbinary"});
  if (!is_any_size && !is_small && !is_sized) return formatted("is of type {}", column.type);
  const long size = is_small ? 255 : column.size;
  if (!is_any_size && size < use.min_size) {
    return formatted("holds no more than {} characters", size);
  }
  const bool has_charset = column.type.find('b') == std::string::npos;  // no blob, not binary
  const bool is_complete =
      column.charset.empty() || column.charset == "binary" || column.charset.rfind("ut", 0) == 0;
  return has_charset && !is_complete
             ? formatted("has the character set {}, which lacks most characters", column.charset)
             : "";
}

std::string problem_of_word(const Column& use, const ColumnDefinition& column) {
  if (column.IsInteger()) return formatted("is a number, not one of {}", use.words);
  if (column.type != "enum") return "";
  std::string words = use.words;
  for (char* word = strtok(words.data(), " "); word != nullptr; word = strtok(nullptr, " ")) {
    if (!column.Has(word)) return formatted("does not know the word {}", word);
  }
  return "";
}

constexpr Column kColumns[] = {
    {"misc", "param"},
    {"misc", "val"},
    {"clients", "id", problem_of_number},
    {"clients", "login"},
    {"clients", "pname"},
    {"clients", "email"},
    {"domains", "id", problem_of_number},
    {"domains", "name"},
    {"domains", "cl_id", problem_of_number},
    {"domainaliases", "dom_id", problem_of_number},
    {"domainaliases", "name"},
    {"domainaliases", "mail", problem_of_word, "'true'"},
    {"mail", "id", problem_of_number},
    {"mail", "dom_id", problem_of_number},
    {"mail", "mail_name"},
    {"mail_aliases", "mn_id", problem_of_number},
    {"mail_aliases", "alias"},
    {"mail_resp", "id", problem_of_number},
    {"mail_resp", "mn_id", problem_of_number},
    {"mail_resp", "keystr", problem_of_text},
    {"mail_resp", "key_where", problem_of_word, "'subj' 'body'"},
    {"mail_resp", "text", problem_of_text, "", 256},
    {"mail_resp", "resp_on", problem_of_word, "'true' 'false'"},
    {"mail_resp", "ans_freq", problem_of_number},
    {"mail_resp", "mem_limit", problem_of_number},
    {"mail_resp", "subject", problem_of_text},
    {"mail_resp", "reply_to"},
    {"mail_resp", "charset"},
    {"mail_resp", "content_type"},
    {"resp_freq", "rn_id", problem_of_number},
    {"resp_freq", "email", problem_of_text, "", 254},  // nothing may be cut off: it is compared
    {"resp_freq", "num", problem_of_number},
    {"resp_freq", "time_resp"},
    {"resp_forward", "rn_id", problem_of_number},
    {"resp_forward", "address"},
    {"resp_attach", "rn_id", problem_of_number},
    {"resp_attach", "filename", problem_of_text},
};

std::string name_of(const Column& column) {
  return formatted("{}.{}", column.table, column.name);
}

void check_types(const char* name, const TableDefinition& table, Inspection& inspection) {
  for (const Column& use : kColumns) {
    const auto column = table.find(use.name);
    if (strcmp(use.table, name) != 0 || column == table.end() || use.problem == nullptr) continue;
    const std::string problem = use.problem(use, column->second);
    if (problem.empty()) continue;
    inspection.Warning("column_type", "{} {}: compare the table with schema/tables.sql.",
                       name_of(use), problem);
  }
}

const char* code_of(unsigned error) {
  switch (error) {
    case kNoSuchTable:
      return "table_missing";
    case kUnknownColumn:
      return "column_missing";
    case kTableDenied:
    case kColumnDenied:
      return "right_missing";
    default:
      return "table_unusable";
  }
}

const char* cure_of(unsigned error) {
  const bool is_denied = error == kTableDenied || error == kColumnDenied;
  return is_denied ? "Grant the right (operators.md)"
                   : "Compare the table with schema/tables.sql, or repair it";
}

// Reports a column that cannot be read. False if the whole table cannot be, which is reported once
// and not for each column.
bool check_column(const Column& column, Inspection& inspection) {
  try {
    inspection.database->Query(
        formatted("select `{}` from `{}` limit 0", column.name, column.table), "");
    return true;
  } catch (const PanelFailure& failure) {
    inspection.Error(code_of(failure.error()), "A run cannot read {}: {}. {}.", name_of(column),
                     failure.what(), cure_of(failure.error()));
    return failure.error() == kUnknownColumn || failure.error() == kColumnDenied;
  }
}

// False if the table cannot be read.
bool check_columns(const char* table, Inspection& inspection) {
  for (const Column& column : kColumns) {
    if (strcmp(column.table, table) == 0 && !check_column(column, inspection)) return false;
  }
  return true;
}

constexpr const char* kNoTypes = "\"show create table\" does not name them, as for a view";

// An index that a run's statements need, with any switches: its table and first column, and the
// definition to add if there is none, a plain key, which can always be added.
struct Index {
  const char* table;
  const char* column;
  const char* definition;
};

constexpr Index kIndexes[] = {
    {"misc", "param", "key (param)"},
    {"clients", "id", "key (id)"},
    {"domains", "id", "key (id)"},
    {"domains", "name", "key (name)"},
    {"domainaliases", "dom_id", "key (dom_id)"},
    {"domainaliases", "name", "key (name)"},
    {"mail", "id", "key (id)"},
    {"mail", "dom_id", "key (dom_id, mail_name)"},
    {"mail_aliases", "alias", "key (alias, mn_id)"},
    {"mail_aliases", "mn_id", "key (mn_id, alias)"},
    {"mail_resp", "id", "key (id)"},
    {"mail_resp", "mn_id", "key (mn_id)"},
    {"resp_freq", "rn_id", "key (rn_id, email)"},
    {"resp_forward", "rn_id", "key (rn_id)"},
    {"resp_attach", "rn_id", "key (rn_id)"},
};

// Whether the server has such an index, or does not tell. A full-text or disabled index does not
// help a comparison.
bool has_index(const Index& index, PanelDatabase& database) {
  auto rows = database.TryQuery(
      formatted("show index from `{}` where Seq_in_index=1 and Column_name='{}' and "
                "Index_type in ('BTREE', 'HASH') and Comment=''",
                index.table, index.column));
  return !rows || rows->Next() != nullptr;
}

// False for a view, which has no indexes of its own, and for a table or column that is missing,
// which check_tables reports.
bool is_in_table(const Index& index, PanelDatabase& database) {
  const TableDefinition table = read_table_definition(index.table, database);
  return table.find(index.column) != table.end();
}

void check_index(const Index& index, Inspection& inspection) {
  PanelDatabase& database = *inspection.database;
  if (!is_in_table(index, database) || has_index(index, database)) return;
  inspection.Warning(
      "index_missing",
      "No index begins with {0}.{1}: the more rows of other mailboxes there are, the "
      "more of them a run may read. alter table {0} add {2}",
      index.table, index.column, index.definition);
}

}  // namespace

void check_tables(Inspection& inspection) {
  const char* last = "";
  for (const Column& column : kColumns) {
    if (strcmp(column.table, last) == 0) continue;
    last = column.table;
    if (!check_columns(last, inspection)) continue;
    const TableDefinition table = read_table_definition(last, *inspection.database);
    if (table.empty())
      inspection.Unseen(formatted("The types of the columns of {}", last), kNoTypes);
    check_types(last, table, inspection);
  }
}

void check_indexes(Inspection& inspection) {
  for (const Index& index : kIndexes) check_index(index, inspection);
}
