#include "autoresponder/message/body_lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

size_t newlines(std::string_view text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// Searches for several keys in a text that arrives in pieces.
class PiecewiseSearch {
 public:
  // `keys`: none of them is empty or has a newline. Must outlive this object.
  explicit PiecewiseSearch(const std::vector<std::string_view>& keys)
      : keys_(keys), lines_(keys.size(), 0) {
    for (const std::string_view key : keys_) max_key_ = std::max(max_key_, key.size());
    for (size_t i = 0; i < keys_.size(); ++i) missing_.push_back(i);
  }

  // Takes one more piece; false when all keys were found.
  bool LookAt(std::string_view piece) {
    window_ += piece;
    // Waits for at least as much new text as the longest key has, so that the part that is kept is
    // not searched again for little new text.
    if (window_.size() >= max_key_ + std::max(kWindow, max_key_)) Search();
    return !missing_.empty();
  }

  // Call after the last piece. For each key the number of the first line with it, or 0.
  std::vector<size_t> Lines() {
    Search();
    return std::move(lines_);
  }

 private:
  static constexpr size_t kWindow = size_t{64} << 10;

  // Searches the window, and keeps of it only what may be the start of a key.
  void Search() {
    const auto is_found = [this](size_t i) { return Find(i); };
    missing_.erase(std::remove_if(missing_.begin(), missing_.end(), is_found), missing_.end());
    const size_t done = window_.size() - std::min(window_.size(), max_key_ - 1);
    newlines_before_ += newlines(std::string_view(window_).substr(0, done));
    window_.erase(0, done);
  }

  bool Find(size_t i) {
    const char* const found = find_text(window_, keys_[i]);
    if (found == nullptr) return false;
    lines_[i] = 1 + newlines_before_ + newlines({window_.data(), size_t(found - window_.data())});
    return true;
  }

  const std::vector<std::string_view>& keys_;
  std::vector<size_t> lines_;
  std::vector<size_t> missing_;  // indices of the keys that were not found yet
  size_t max_key_ = 1;
  std::string window_;
  size_t newlines_before_ = 0;
};

}  // namespace

// Tries a bounded number of candidates that memchr finds, which is fastest in most texts; then
// memmem, which is linear on any input.
const char* find_text(std::string_view text, std::string_view key) {
  if (key.empty()) return text.data();
  if (text.size() < key.size()) return nullptr;
  constexpr size_t kLooks = 4;
  constexpr size_t kCall = 8;
  for (size_t tries = kLooks * text.size() / (key.size() + kCall); tries > 0; --tries) {
    if (text.size() < key.size()) return nullptr;
    const void* const start = memchr(text.data(), key[0], text.size() - key.size() + 1);
    if (start == nullptr) return nullptr;
    text.remove_prefix(static_cast<size_t>(static_cast<const char*>(start) - text.data()));
    if (memcmp(text.data(), key.data(), key.size()) == 0) return text.data();
    text.remove_prefix(1);
  }
  return static_cast<const char*>(memmem(text.data(), text.size(), key.data(), key.size()));
}

BodyLines::BodyLines(std::string text) {
  const auto own = std::make_shared<const std::string>(std::move(text));
  text_ = *own;
  owner_ = own;
}

BodyLines::BodyLines(std::string_view text, std::shared_ptr<const void> owner, std::string charset)
    : owner_(std::move(owner)), text_(text), charset_(std::move(charset)) {}

void BodyLines::WriteTo(const TextSink& sink) const {
  if (charset_.empty()) {
    if (!text_.empty()) sink(text_);
  } else {
    convert_charset_in_pieces(text_, charset_, "UTF-8", true, sink);
  }
}

std::vector<size_t> BodyLines::FirstWith(const std::vector<std::string_view>& keys) {
  std::vector<size_t> lines(keys.size(), 0);
  std::vector<std::string_view> wanted;
  std::vector<size_t*> places;
  for (size_t i = 0; i < keys.size(); ++i) {
    if (keys[i].empty()) lines[i] = 1;
    if (keys[i].empty() || keys[i].find('\n') != std::string_view::npos) continue;
    wanted.push_back(keys[i]);
    places.push_back(&lines[i]);
  }
  const std::vector<size_t> found = charset_.empty() ? FindEach(wanted) : FindTogether(wanted);
  for (size_t i = 0; i < found.size(); ++i) *places[i] = found[i];
  return lines;
}

std::vector<size_t> BodyLines::FindEach(const std::vector<std::string_view>& keys) const {
  std::vector<size_t> lines;
  for (const std::string_view key : keys) {
    const char* const found = find_text(text_, key);
    const bool is_found = found != nullptr;
    lines.push_back(is_found ? 1 + newlines({text_.data(), size_t(found - text_.data())}) : 0);
  }
  return lines;
}

// Converts the text once for all keys.
std::vector<size_t> BodyLines::FindTogether(const std::vector<std::string_view>& keys) const {
  if (keys.empty()) return {};
  PiecewiseSearch search(keys);
  WriteTo([&search](std::string_view piece) { return search.LookAt(piece); });
  return search.Lines();
}
