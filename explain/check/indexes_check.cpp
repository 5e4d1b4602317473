#include "autoresponder/panel/table_definition.h"
#include "explain/check/checks.h"

namespace {

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

void check_indexes(Inspection& inspection) {
  for (const Index& index : kIndexes) check_index(index, inspection);
}
