#ifndef AUTORESPONDER_BODY_LINES_H
#define AUTORESPONDER_BODY_LINES_H

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

/// The lines of a text, without their newlines. They stay in the one text and are cut while they
/// are walked, so that a body of a hundred million empty lines costs what its bytes cost.
class BodyLines {
 public:
  /// A forward iterator over lines; what it gives lives as long as the lines.
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::string_view;
    using difference_type = std::ptrdiff_t;
    using pointer = const std::string_view*;
    using reference = const std::string_view&;

    reference operator*() const { return line_; }
    pointer operator->() const { return &line_; }
    Iterator& operator++();
    Iterator operator++(int);
    bool operator==(const Iterator& other) const { return position_ == other.position_; }
    bool operator!=(const Iterator& other) const { return position_ != other.position_; }

   private:
    friend class BodyLines;
    static constexpr size_t kEnd = std::string_view::npos;

    Iterator(std::string_view text, size_t position);

    std::string_view text_;
    size_t position_;  // of the line; kEnd behind the last one
    std::string_view line_;
  };

  /// No lines.
  BodyLines() = default;

  /// The lines of `text`: one more than it has newlines.
  explicit BodyLines(std::string text);
  /// The lines of `text`, which stands in what `owner` keeps.
  BodyLines(std::string_view text, std::shared_ptr<const void> owner);

  Iterator begin() const { return {text_, has_lines_ ? 0 : Iterator::kEnd}; }
  Iterator end() const { return {text_, Iterator::kEnd}; }
  bool empty() const { return !has_lines_; }

  /// The number, from 1 on, of the first line within which `key` occurs, or 0; in time linear in
  /// the text. An empty key occurs where there is a line, one with a newline nowhere.
  size_t FirstWith(std::string_view key) const;

 private:
  std::shared_ptr<const void> owner_;
  std::string_view text_;
  bool has_lines_ = false;
};

#endif
