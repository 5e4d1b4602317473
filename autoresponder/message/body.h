#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// The lines of a message's text. This base class has none.
class Body {
 public:
  virtual ~Body() = default;

  /// For each key (UTF-8) the number, from 1, of the first line within which it occurs, or 0. An
  /// empty key occurs in the first line, one with a newline in none. Call only once: the text may
  /// be in a process that ends after its answer.
  virtual std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) {
    return std::vector<size_t>(keys.size(), 0);
  }
};
