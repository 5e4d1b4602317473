#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Choices that a seed repeats with any standard library: its engines are defined exactly, its
/// distributions are not.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  /// A number below `count`, which is not 0.
  size_t Below(size_t count) { return engine_() % count; }

  bool Chance(unsigned percent) { return engine_() % 100 < percent; }

  template <class Item, size_t count>
  const Item& Pick(const Item (&items)[count]) {
    return items[Below(count)];
  }

  template <class Item>
  void Shuffle(std::vector<Item>& items) {
    for (size_t i = items.size(); i > 1; --i) std::swap(items[i - 1], items[Below(i)]);
  }

  /// `length` letters of lower case.
  std::string Letters(size_t length) {
    std::string letters;
    while (letters.size() < length) letters += static_cast<char>('a' + Below(26));
    return letters;
  }

  /// `name` with letters of any case.
  std::string AnyCase(std::string_view name) {
    const size_t way = Below(4);
    std::string result(name);
    for (char& c : result) {
      const bool lower = c >= 'a' && c <= 'z';
      if (lower && (way == 1 || (way == 2 && Chance(50)))) c = static_cast<char>(c - 'a' + 'A');
    }
    return result;
  }

 private:
  std::mt19937 engine_;
};
