#include <cstring>

#include "autoresponder/panel/table_definition.h"
#include "explain/check/checks.h"
#include "explain/check/server_error.h"

namespace {

// What a run relies on in a column.
enum class Use {
  kAny,
  kId,        // a number that names a row; as large as the column that it refers to
  kNumber,    // a number that owners choose or that the limiter counts
  kText,      // any character
  kLongText,  // any character, and more than 255 of them
  kAddress,   // any address, and nothing cut off: it is compared later
  kWord,      // one of a few words
};

struct Column {
  const char* table;
  const char* name;
  Use use;
  const char* words = "";  // for kWord: those that a run knows, each in quotes
};

constexpr Column kColumns[] = {
    {"misc", "param", Use::kAny},
    {"misc", "val", Use::kAny},
    {"clients", "id", Use::kId},
    {"clients", "login", Use::kAny},
    {"clients", "pname", Use::kAny},
    {"clients", "email", Use::kAny},
    {"domains", "id", Use::kId},
    {"domains", "name", Use::kAny},
    {"domains", "cl_id", Use::kId},
    {"domainaliases", "dom_id", Use::kId},
    {"domainaliases", "name", Use::kAny},
    {"domainaliases", "mail", Use::kWord, "'true'"},
    {"mail", "id", Use::kId},
    {"mail", "dom_id", Use::kId},
    {"mail", "mail_name", Use::kAny},
    {"mail_aliases", "mn_id", Use::kId},
    {"mail_aliases", "alias", Use::kAny},
    {"mail_resp", "id", Use::kId},
    {"mail_resp", "mn_id", Use::kId},
    {"mail_resp", "keystr", Use::kText},
    {"mail_resp", "key_where", Use::kWord, "'subj' 'body'"},
    {"mail_resp", "text", Use::kLongText},
    {"mail_resp", "resp_on", Use::kWord, "'true' 'false'"},
    {"mail_resp", "ans_freq", Use::kNumber},
    {"mail_resp", "mem_limit", Use::kNumber},
    {"mail_resp", "subject", Use::kText},
    {"mail_resp", "reply_to", Use::kAny},
    {"mail_resp", "charset", Use::kAny},
    {"mail_resp", "content_type", Use::kAny},
    {"resp_freq", "rn_id", Use::kId},
    {"resp_freq", "email", Use::kAddress},
    {"resp_freq", "num", Use::kNumber},
    {"resp_freq", "time_resp", Use::kAny},
    {"resp_forward", "rn_id", Use::kId},
    {"resp_forward", "address", Use::kAny},
    {"resp_attach", "rn_id", Use::kId},
    {"resp_attach", "filename", Use::kText},
};

std::string name_of(const Column& column) {
  return fmt::format("{}.{}", column.table, column.name);
}

std::string problem_of_number(const ColumnDefinition& column) {
  if (!column.IsInteger()) return fmt::format("is of type {} and no whole number", column.type);
  return column.type == "tinyint" ? "is of type tinyint, which larger numbers do not fit into" : "";
}

std::string problem_of_text(const ColumnDefinition& column, long least) {
  const bool is_any_size =
      column.Is({"text", "mediumtext", "longtext", "blob", "mediumblob", "longblob"});
  const bool is_small = column.Is({"tinytext", "tinyblob"});
  const bool is_sized = column.Is({"char", "varchar", "binary", "varbinary"});
  if (!is_any_size && !is_small && !is_sized) return fmt::format("is of type {}", column.type);
  const long size = is_small ? 255 : column.size;
  if (!is_any_size && size < least) {
    return fmt::format("holds no more than {} characters", size);
  }
  const bool has_charset = column.type.find('b') == std::string::npos;  // no blob, not binary
  const bool is_complete =
      column.charset.empty() || column.charset == "binary" || column.charset.rfind("ut", 0) == 0;
  return has_charset && !is_complete
             ? fmt::format("has the character set {}, which lacks most characters", column.charset)
             : "";
}

std::string problem_of_word(const Column& use, const ColumnDefinition& column) {
  if (column.IsInteger()) return fmt::format("is a number, not one of {}", use.words);
  if (column.type != "enum") return "";
  std::string words = use.words;
  for (char* word = strtok(words.data(), " "); word != nullptr; word = strtok(nullptr, " ")) {
    if (!column.Has(word)) return fmt::format("does not know the word {}", word);
  }
  return "";
}

// What is wrong with the type of the column; empty if nothing is.
std::string problem_of(const Column& use, const ColumnDefinition& column) {
  constexpr long kMaxAddressLength = 254;
  switch (use.use) {
    case Use::kId:
    case Use::kNumber:
      return problem_of_number(column);
    case Use::kText:
      return problem_of_text(column, 0);
    case Use::kLongText:
      return problem_of_text(column, 256);
    case Use::kAddress:
      return problem_of_text(column, kMaxAddressLength);
    case Use::kWord:
      return problem_of_word(use, column);
    case Use::kAny:
      break;
  }
  return "";
}

void check_types(const char* name, const TableDefinition& table, Inspection& inspection) {
  for (const Column& use : kColumns) {
    const auto column = table.find(use.name);
    if (strcmp(use.table, name) != 0 || column == table.end()) continue;
    const std::string problem = problem_of(use, column->second);
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

// Reports a column that cannot be read. False if the whole table cannot be, which is reported once
// and not for each column.
bool check_column(const Column& column, Inspection& inspection) {
  try {
    inspection.database->Query(
        fmt::format("select `{}` from `{}` limit 0", column.name, column.table), "");
    return true;
  } catch (const PanelFailure& failure) {
    inspection.Error(code_of(failure.error()), "A run cannot read {}: {}.", name_of(column),
                     failure.what());
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

}  // namespace

void check_tables(Inspection& inspection) {
  const char* last = "";
  for (const Column& column : kColumns) {
    if (strcmp(column.table, last) == 0) continue;
    last = column.table;
    if (!check_columns(last, inspection)) continue;
    const TableDefinition table = read_table_definition(last, *inspection.database);
    if (table.empty())
      inspection.Unseen(fmt::format("The types of the columns of {}", last), kNoTypes);
    check_types(last, table, inspection);
  }
}
