#include "explain/json_text.h"

#include <charconv>
#include <cstdint>
#include <ostream>

#include "explain/wording.h"

Json number_of(const std::string& column) {
  int64_t number = 0;
  const char* const end = column.data() + column.size();
  const auto result = std::from_chars(column.data(), end, number);
  const bool is_number = result.ec == std::errc() && result.ptr == end;
  return is_number ? Json(number) : Json(column);
}

Json mailbox_json(const FoundMailbox& found) {
  return {{"id", number_of(found.mailbox.id)},
          {"mail_name", found.mailbox.mail_name},
          {"domain_name", found.mailbox.domain_name},
          {"found_by", words_for(found.lookup).code}};
}

Json switches_json(const Switches& switches) {
  return {{"repairs", has_repairs(switches)}, {"courtesy", switches.courtesy}};
}

void write_json_text(std::ostream& out, const Json& value, bool on_terminal) {
  out << value.dump(2, ' ', on_terminal, Json::error_handler_t::replace) << '\n';
}
