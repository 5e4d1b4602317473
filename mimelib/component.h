#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "mimelib/string.h"

/// A message or a part of one, such as a field or the body.
class DwMessageComponent {
 public:
  explicit DwMessageComponent(DwString text) : text_(std::move(text)) {}
  virtual ~DwMessageComponent() = default;
  DwMessageComponent(const DwMessageComponent&) = delete;
  DwMessageComponent& operator=(const DwMessageComponent&) = delete;

  /// Its text as it is in the message, undecoded. Valid as long as the component.
  const DwString& AsString() { return text_; }

 protected:
  std::string_view text() const { return {text_.data(), text_.length()}; }

  /// The bytes of `part`, a view into `text()`, without copying them.
  DwString Slice(std::string_view part) const {
    return text_.Slice(static_cast<size_t>(part.data() - text_.data()), part.size());
  }

 private:
  DwString text_;
};

/// Free text, such as the body of a Subject field; and that of a Date field, which is not
/// interpreted.
using DwText = DwMessageComponent;
using DwDateTime = DwMessageComponent;

/// Owns the newest elements of a list that is parsed while it is walked, and deletes older ones: a
/// list of millions of elements takes no more memory than one of a few.
template <class Item>
class KeptItems {
 public:
  /// Takes ownership of the next element, and deletes the oldest if there are too many. Returns it.
  Item* Add(std::unique_ptr<Item> item) {
    if (items_.size() < kKept) items_.emplace_back();
    std::unique_ptr<Item>& place = items_[next_];
    place = std::move(item);
    next_ = (next_ + 1) % kKept;
    return place.get();
  }

 private:
  // The newest element, and the sixteen before it that mimepp.h promises.
  static constexpr size_t kKept = 17;

  std::vector<std::unique_ptr<Item>> items_;  // a ring; empty for the many lists that nobody walks
  size_t next_ = 0;
};
