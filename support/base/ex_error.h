#pragma once

#include <exception>
#include <string>
#include <utility>

namespace quern {

/// A failed text conversion, for which the caller is expected to have a fallback.
class ExError : public std::exception {
 public:
  /// `message`: one line for people, kept as a copy.
  explicit ExError(std::string message) : message_(std::move(message)) {}

  /// The message, NUL-terminated, owned by the exception.
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

}  // namespace quern
