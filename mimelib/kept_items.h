#ifndef MIMELIB_KEPT_ITEMS_H
#define MIMELIB_KEPT_ITEMS_H

#include <cstddef>
#include <deque>
#include <memory>
#include <utility>

/// Owner of the last elements of a list that is parsed while it is walked. A list of millions of
/// elements costs no more memory than one of a few.
template <class Item>
class KeptItems {
 public:
  /// Takes the next element; the oldest one goes when there are too many.
  Item* Add(std::unique_ptr<Item> item) {
    items_.push_back(std::move(item));
    if (items_.size() > kKept) items_.pop_front();
    return items_.back().get();
  }

 private:
  // The newest one and the sixteen that mimepp.h promises.
  static constexpr size_t kKept = 17;

  std::deque<std::unique_ptr<Item>> items_;
};

#endif
