#include "mime/text_pieces.h"

#include <algorithm>
#include <utility>

void TextPieces::Append(std::string_view text) {
  size_ += text.size();
  while (!text.empty()) {
    if (last_.size() == kPiece) {
      full_.push_back(std::exchange(last_, {}));
      last_.reserve(kPiece);
    }
    const size_t length = std::min(text.size(), kPiece - last_.size());
    last_.append(text, 0, length);
    text.remove_prefix(length);
  }
}

void TextPieces::Adopt(std::string&& text) {
  if (text.size() < kPiece) {
    Append(text);
    return;
  }
  size_ += text.size();
  if (!last_.empty()) full_.push_back(std::exchange(last_, {}));
  full_.push_back(std::move(text));
}

std::string TextPieces::Take() {
  const size_t size = std::exchange(size_, 0);
  if (full_.empty()) return std::exchange(last_, {});
  std::string text = std::move(full_.front());
  full_.pop_front();
  if (!full_.empty() || !last_.empty()) text.reserve(size);
  for (; !full_.empty(); full_.pop_front()) text += full_.front();
  text += last_;
  last_ = std::string();
  return text;
}
