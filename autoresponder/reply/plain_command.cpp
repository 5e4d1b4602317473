#include "autoresponder/reply/plain_command.h"

#include <algorithm>

namespace {

bool is_blank(char byte) {
  return byte == ' ' || byte == '\t';
}

// Reads the rest of a command line.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}

  bool AtEnd() const { return rest_.empty(); }

  void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }

  bool Take(char byte) {
    const bool is_next = !rest_.empty() && rest_.front() == byte;
    if (is_next) rest_.remove_prefix(1);
    return is_next;
  }

  // The word that begins here; nothing if only a shell can read it.
  std::optional<std::string> Word() {
    std::string word;
    while (!rest_.empty() && !is_blank(rest_.front())) {
      const bool is_quoted = Take('\'');
      const size_t length = is_quoted ? rest_.find('\'') : PlainLength();
      if (length == std::string_view::npos || (length == 0 && !is_quoted)) return std::nullopt;
      word += rest_.substr(0, length);
      rest_.remove_prefix(is_quoted ? length + 1 : length);
    }
    return word;
  }

 private:
  // Bytes of multibyte characters are left to the shell's own locale.
  size_t PlainLength() const {
    const auto* const end = std::find_if_not(rest_.begin(), rest_.end(), [](char byte) {
      return static_cast<unsigned char>(byte) < 0x80 && is_plain_for_shell(byte) && !is_blank(byte);
    });
    return static_cast<size_t>(end - rest_.begin());
  }

  std::string_view rest_;
};

// Otherwise the shell would look for the program, or assign to a variable.
bool is_program(const std::string& word) {
  return word.find('/') != std::string::npos && word.find('=') == std::string::npos;
}

}  // namespace

std::optional<PlainCommand> plain_command(std::string_view line) {
  if (line.find('\0') != std::string_view::npos)
    return std::nullopt;  // the shell's line ends there
  PlainCommand command;
  Words words(line);
  for (words.SkipBlanks(); !words.AtEnd(); words.SkipBlanks()) {
    if (!command.input.empty()) return std::nullopt;
    const bool is_input = words.Take('<');
    if (is_input) words.SkipBlanks();
    auto word = words.Word();
    if (!word || (is_input && word->empty())) return std::nullopt;
    if (is_input) {
      command.input = std::move(*word);
    } else {
      command.words.push_back(std::move(*word));
    }
  }
  if (command.words.empty() || !is_program(command.words.front())) return std::nullopt;
  return command;
}

bool is_plain_for_shell(char byte) {
  const auto number = static_cast<unsigned char>(byte);
  const bool is_letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
  const bool is_digit = byte >= '0' && byte <= '9';
  return number >= 0x80 || is_letter || is_digit ||
         std::string_view("@._+-=:/,% \t").find(byte) != std::string_view::npos;
}
