#ifndef MIME_TEXT_PIECES_H
#define MIME_TEXT_PIECES_H

#include <cstddef>
#include <list>
#include <string>
#include <string_view>

/// A text that is written from its start and may become large. What was written is not moved, so a
/// growing text is never in memory twice, as a growing string is each time it needs more room.
class TextPieces {
 public:
  /// Copies `text`.
  void Append(std::string_view text);
  /// Takes a large text over instead.
  void Adopt(std::string&& text);

  /// In bytes.
  size_t size() const { return size_; }

  /// The whole text; nothing is left here. Each piece is freed as soon as it was copied.
  std::string Take();

 private:
  static constexpr size_t kPiece = size_t{1} << 20;

  std::list<std::string> full_;
  std::string last_;
  size_t size_ = 0;
};

#endif
