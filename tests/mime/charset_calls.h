#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>

#include "mime/charset.h"
#include "support/base/ex_error.h"

/// Bytes at the end of their memory, so that AddressSanitizer sees a read beyond them.
class Exactly {
 public:
  explicit Exactly(std::string_view text) : bytes_(new char[text.size()]), size_(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  operator std::string_view() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  size_t size_;
};

/// `text` so many times.
inline std::string times(size_t count, std::string_view text) {
  std::string all;
  for (size_t i = 0; i < count; ++i) all += text;
  return all;
}

/// What `convert_charset` says when it throws; "nothing thrown" when it does not.
inline std::string failure(std::string_view text, const std::string& from, const std::string& to,
                           bool replace_invalid) {
  try {
    convert_charset(Exactly(text), from, to, replace_invalid);
  } catch (const quern::ExError& error) {
    return error.what();
  }
  return "nothing thrown";
}
