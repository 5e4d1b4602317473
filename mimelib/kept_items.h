#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

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
