#pragma once

#include <initializer_list>
#include <map>
#include <string>

#include "autoresponder/panel/panel_database.h"

/// A column as "show create table" writes it.
struct ColumnDefinition {
  std::string type;     ///< without its size, such as "varchar"
  long size = 0;        ///< what is in brackets after the type: a text's maximum length; 0 for none
  std::string text;     ///< all of the definition, in lower case
  std::string charset;  ///< of its texts; empty if it has none

  bool Is(std::initializer_list<const char*> types) const;
  bool IsInteger() const;
  bool Has(const std::string& words) const { return text.find(words) != std::string::npos; }
};

/// The columns of a table, by their names.
using TableDefinition = std::map<std::string, ColumnDefinition>;

/// Parses the answer to "show create table". A text of another form, such as a view's, gives no
/// columns.
TableDefinition parse_table_definition(const std::string& statement);

/// The statement in the answer to "show create table"; empty without an answer.
std::string definition_of(Rows rows);

/// Asks the server for the definition of `table`; no columns if that fails.
TableDefinition read_table_definition(const char* table, PanelDatabase& database);
