#ifndef MIMELIB_KEPT_ITEMS_H
#define MIMELIB_KEPT_ITEMS_H

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

/// Owner of the last elements of a list that is parsed while it is walked. A list of millions of
/// elements costs no more memory than one of a few.
template <class Item>
class KeptItems {
 public:
  /// Takes the next element; the oldest one goes when there are too many.
  Item* Add(std::unique_ptr<Item> item) {
    if (items_.size() < kKept) items_.emplace_back();
    std::unique_ptr<Item>& place = items_[next_];
    place = std::move(item);
    next_ = (next_ + 1) % kKept;
    return place.get();
  }

 private:
  // The newest one and the sixteen that mimepp.h promises.
  static constexpr size_t kKept = 17;

  std::vector<std::unique_ptr<Item>> items_;  // a ring; most lists are never walked and have none
  size_t next_ = 0;
};

#endif
