#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>

/// A text that is built by appending and may become large. It is held in pieces that are not moved:
/// reallocating one growing string would need memory for two copies.
class TextPieces {
 public:
  /// Appends a copy of `text`.
  void Append(std::string_view text);
  /// Appends `text`; takes it over without copying it if it is large.
  void Adopt(std::string&& text);

  /// The length of the whole text in bytes.
  size_t size() const { return size_; }

  /// Returns the whole text and becomes empty. Frees each piece as soon as it was copied.
  std::string Take();

 private:
  static constexpr size_t kPiece = size_t{1} << 20;

  std::list<std::string> full_;
  std::string last_;
  size_t size_ = 0;
};
