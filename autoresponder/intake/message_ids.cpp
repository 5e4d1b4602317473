#include "autoresponder/intake/message_ids.h"

#include <utility>

#include "autoresponder/intake/field_reader.h"
#include "autoresponder/message/well_formed.h"
#include "support/base/joined.h"

namespace {

void add(std::string id, size_t max_count, std::vector<std::string>& ids) {
  if (!is_message_id(id)) return;
  if (ids.size() == max_count) ids.erase(ids.begin() + 1);
  ids.push_back(std::move(id));
}

}  // namespace

std::vector<std::string> message_ids(std::string_view body, size_t max_count) {
  std::vector<std::string> ids;
  FieldReader reader(body);
  for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
    if (reader.Skip('<')) {
      const std::string_view inside = reader.Word("<>");
      if (reader.Skip('>')) add(joined({"<", inside, ">"}), max_count, ids);
    } else if (reader.Skip('"')) {
      reader.Enclosed('"', 0);
    } else if (reader.Word("<\"").empty()) {
      reader.Skip(reader.Peek());
    }
  }
  return ids;
}
