#include "autoresponder/body_lines.h"

#include <algorithm>
#include <utility>

#include "autoresponder/search.h"

BodyLines::BodyLines(std::string text) : has_lines_(true) {
  const auto own = std::make_shared<const std::string>(std::move(text));
  text_ = *own;
  owner_ = own;
}

BodyLines::BodyLines(std::string_view text, std::shared_ptr<const void> owner)
    : owner_(std::move(owner)), text_(text), has_lines_(true) {}

size_t BodyLines::FirstWith(std::string_view key) const {
  if (!has_lines_ || key.find('\n') != std::string_view::npos) return 0;
  if (key.empty()) return 1;
  const char* const found = find_text(text_, key);
  if (found == nullptr) return 0;
  return 1 + static_cast<size_t>(std::count(text_.data(), found, '\n'));
}

BodyLines::Iterator::Iterator(std::string_view text, size_t position)
    : text_(text), position_(position) {
  if (position_ != kEnd) line_ = text_.substr(0, text_.find('\n'));
}

BodyLines::Iterator& BodyLines::Iterator::operator++() {
  const size_t line_end = position_ + line_.size();
  position_ = line_end < text_.size() ? line_end + 1 : kEnd;
  line_ = {};
  if (position_ != kEnd) line_ = text_.substr(position_, text_.find('\n', position_) - position_);
  return *this;
}

BodyLines::Iterator BodyLines::Iterator::operator++(int) {
  Iterator before = *this;
  ++*this;
  return before;
}
