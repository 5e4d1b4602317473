#include "autoresponder/panel/sender_column.h"

#include <cstdint>
#include <limits>

#include "autoresponder/panel/table_definition.h"

namespace {

// How long a sender the column `email` of `resp_freq` can hold.
struct ColumnWidth {
  size_t max_size;       ///< in characters
  bool is_of_unicode;    ///< otherwise a byte may count as a character
  bool has_three_bytes;  ///< at most, for a character
};

// Read from the table's definition: for a query of information_schema the server would write a
// temporary file.
ColumnWidth width_of_senders(PanelDatabase& database) {
  const TableDefinition table =
      parse_table_definition(definition_of(database.Query("show create table resp_freq")));
  const auto column = table.find("email");
  if (column == table.end() || !column->second.Is({"varchar", "char"})) {
    return {std::numeric_limits<uint32_t>::max(), true, false};
  }
  const ColumnDefinition& email = column->second;
  return {static_cast<size_t>(email.size), email.charset.rfind("utf8", 0) == 0,
          email.charset == "utf8" || email.charset == "utf8mb3"};
}

bool begins_character(char byte) {
  constexpr unsigned kTopBits = 0xC0;
  constexpr unsigned kContinuation = 0x80;  // 10______
  return (static_cast<unsigned char>(byte) & kTopBits) != kContinuation;
}

// `text` with "?" for each byte of a character of four bytes, as the server stores it in a column
// that has none.
std::string in_three_bytes(std::string text) {
  constexpr unsigned char kFirstOfFour = 0xF0;
  bool is_of_four = false;
  for (char& byte : text) {
    if (begins_character(byte)) is_of_four = static_cast<unsigned char>(byte) >= kFirstOfFour;
    if (is_of_four) byte = '?';
  }
  return text;
}

}  // namespace

std::string_view first_characters(std::string_view text, size_t max_count) {
  size_t characters = 0;
  for (size_t at = 0; at < text.size(); ++at) {
    if (begins_character(text[at]) && ++characters > max_count) return text.substr(0, at);
  }
  return text;
}

std::string_view first_bytes(std::string_view text, size_t max_size) {
  if (text.size() <= max_size) return text;
  size_t end = max_size;
  while (end > 0 && !begins_character(text[end])) --end;
  return text.substr(0, end);
}

std::string held_sender(PanelDatabase& database, const std::string& sender) {
  const ColumnWidth width = width_of_senders(database);
  const std::string text = width.has_three_bytes ? in_three_bytes(sender) : sender;
  return std::string(width.is_of_unicode ? first_characters(text, width.max_size)
                                         : first_bytes(text, width.max_size));
}

size_t max_sender_length(PanelDatabase& database) {
  return width_of_senders(database).max_size;
}
