#ifndef AUTORESPONDER_MESSAGE_BODY_H
#define AUTORESPONDER_MESSAGE_BODY_H

#include <cstddef>
#include <string_view>
#include <vector>

/// The text of a message, wherever it is kept.
class Body {
 public:
  virtual ~Body() = default;

  /// For each key (UTF-8) the number, from 1 on, of the first line within which it occurs, or 0. An
  /// empty key occurs where there is a line, one with a newline nowhere. Ask once: a body may be
  /// gone after its answer.
  virtual std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) const = 0;
};

#endif
