#include "autoresponder/reply/sendmail.h"

#include <algorithm>

std::string without_quotes(std::string_view address) {
  const size_t local_part = std::min(address.rfind('@'), address.size());
  std::string result;
  bool is_quoted = false;
  for (size_t i = 0; i < local_part; ++i) {
    const bool is_escape = is_quoted && address[i] == '\\' && i + 1 < local_part;
    if (is_escape) {
      result += address[++i];
    } else if (address[i] == '"') {
      is_quoted = !is_quoted;
    } else {
      result += address[i];
    }
  }
  return result.append(address.substr(local_part));
}
