#include "autoresponder/panel/table_definition.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "support/base/letter_case.h"
#include "support/base/text.h"

namespace {

// The word after `words`, up to a blank or a comma; empty if they do not occur.
std::string word_after(const std::string& text, const std::string& words) {
  const size_t at = text.find(words);
  if (at == std::string::npos) return "";
  const size_t start = at + words.size();
  return text.substr(start, text.find_first_of(" ,", start) - start);
}

// Where the column's name ends in a line that defines a column; npos for other lines. In the mode
// ANSI_QUOTES the server writes other quotes.
size_t end_of_name(const std::string& line) {
  for (const char quote : {'`', '"'}) {
    const bool is_column = line.size() > 3 && line[0] == ' ' && line[1] == ' ' && line[2] == quote;
    if (is_column) return line.find(quote, 3);
  }
  return std::string::npos;
}

ColumnDefinition read_column(const std::string& definition) {
  ColumnDefinition column;
  column.text = lower_case(definition);
  const size_t end = column.text.find_first_of(" (,");
  column.type = column.text.substr(0, end);
  const bool has_size = end != std::string::npos && column.text[end] == '(';
  if (has_size) column.size = atol(column.text.c_str() + end + 1);
  column.charset = word_after(column.text, "character set ");
  return column;
}

}  // namespace

bool ColumnDefinition::Is(std::initializer_list<const char*> types) const {
  return std::any_of(types.begin(), types.end(), [this](const char* one) { return type == one; });
}

bool ColumnDefinition::IsInteger() const {
  return Is({"tinyint", "smallint", "mediumint", "int", "bigint"});
}

TableDefinition parse_table_definition(const std::string& statement) {
  TableDefinition table;
  std::istringstream lines(statement);
  std::string charset;
  for (std::string line; std::getline(lines, line);) {
    const size_t name_end = end_of_name(line);
    if (name_end != std::string::npos) {
      table[lower_case(line.substr(3, name_end - 3))] = read_column(line.substr(name_end + 2));
    } else if (line.rfind(") ", 0) == 0) {
      charset = lower_case(word_after(line, "CHARSET="));
    }
  }
  for (auto& [name, column] : table) {
    if (column.charset.empty()) column.charset = charset;
  }
  return table;
}

std::string definition_of(Rows rows) {
  enum { kName, kStatement };
  const Row row = rows.Next();
  return row != nullptr ? text_or(row[kStatement], "") : "";
}

TableDefinition read_table_definition(const char* table, PanelDatabase& database) {
  auto rows = database.TryQuery(joined({"show create table `", table, "`"}));
  return rows ? parse_table_definition(definition_of(*std::move(rows))) : TableDefinition{};
}
