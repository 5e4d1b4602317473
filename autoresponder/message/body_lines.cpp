#include "autoresponder/message/body_lines.h"

#include <algorithm>
#include <utility>

#include "autoresponder/message/search.h"

namespace {

size_t newlines(std::string_view text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// A search for a key in a text of which one piece after another becomes known.
class PiecewiseSearch {
 public:
  explicit PiecewiseSearch(std::string_view key) : key_(key) {}

  // Looks at one more piece; false when the key was found.
  bool LookAt(std::string_view piece) {
    window_ += piece;
    // As much new text as the key has, so that a long key is not looked for in little text again
    // and again.
    if (window_.size() >= key_.size() + std::max(kWindow, key_.size())) Search();
    return line_ == 0;
  }

  // The number of the line with the key, or 0, when there are no more pieces.
  size_t Line() {
    if (line_ == 0) Search();
    return line_;
  }

 private:
  static constexpr size_t kWindow = size_t{64} << 10;

  // Keeps of the window what may be the start of the key.
  void Search() {
    const char* const found = find_text(window_, key_);
    if (found != nullptr) {
      line_ = 1 + newlines_before_ + newlines({window_.data(), size_t(found - window_.data())});
      return;
    }
    const size_t done = window_.size() - std::min(window_.size(), key_.size() - 1);
    newlines_before_ += newlines(std::string_view(window_).substr(0, done));
    window_.erase(0, done);
  }

  std::string_view key_;
  std::string window_;
  size_t newlines_before_ = 0;
  size_t line_ = 0;
};

}  // namespace

BodyLines::BodyLines(std::string text) : has_lines_(true) {
  const auto own = std::make_shared<const std::string>(std::move(text));
  text_ = *own;
  owner_ = own;
}

BodyLines::BodyLines(std::string_view text, std::shared_ptr<const void> owner)
    : owner_(std::move(owner)), text_(text), has_lines_(true) {}

BodyLines::BodyLines(std::string_view text, std::shared_ptr<const void> owner, std::string charset)
    : owner_(std::move(owner)), text_(text), charset_(std::move(charset)), has_lines_(true) {}

void BodyLines::WriteTo(const TextSink& sink) const {
  if (charset_.empty()) {
    if (!text_.empty()) sink(text_);
  } else {
    convert_charset_in_pieces(text_, charset_, "UTF-8", true, sink);
  }
}

std::vector<size_t> BodyLines::FirstWith(const std::vector<std::string_view>& keys) const {
  std::vector<size_t> lines;
  lines.reserve(keys.size());
  for (const std::string_view key : keys) lines.push_back(FirstWith(key));
  return lines;
}

size_t BodyLines::FirstWith(std::string_view key) const {
  if (!has_lines_ || key.find('\n') != std::string_view::npos) return 0;
  if (key.empty()) return 1;
  if (!charset_.empty()) {
    PiecewiseSearch search(key);
    WriteTo([&search](std::string_view piece) { return search.LookAt(piece); });
    return search.Line();
  }
  const char* const found = find_text(text_, key);
  if (found == nullptr) return 0;
  return 1 + newlines({text_.data(), static_cast<size_t>(found - text_.data())});
}
