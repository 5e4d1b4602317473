// Checks that a conversion takes time and memory in proportion to the text, for any charset that
// the C library knows and any bytes.
//
// An input is: two bytes that choose a name from the list of `iconv -l` (beyond its end the name
// itself follows, up to a NUL), how often the text is repeated, and the text.

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <malloc.h>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "../charset_names.h"
#include "fuzz.h"
#include "mime/charset.h"
#include "support/base/ex_error.h"

namespace {

size_t allocated = 0;
size_t max_allocated = 0;

void* allocate(size_t size) {
  void* const memory = malloc(size);
  if (memory == nullptr) abort();
  allocated += malloc_usable_size(memory);
  max_allocated = std::max(max_allocated, allocated);
  return memory;
}

void release(void* memory) {
  allocated -= malloc_usable_size(memory);
  free(memory);
}

}  // namespace

// All forms: memory of ours must not be freed by the sanitizer's, nor the other way round.
void* operator new(size_t size) {
  return allocate(size);
}
void* operator new[](size_t size) {
  return allocate(size);
}
void* operator new(size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
  return allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t& /*nothrow*/) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, size_t /*size*/) noexcept {
  release(memory);
}
void operator delete[](void* memory, size_t /*size*/) noexcept {
  release(memory);
}

namespace {

constexpr size_t kMaxLength = 20000;
// One byte of any charset becomes at most so many bytes of UTF-8.
constexpr size_t kMaxGrowth = 16;
// For the result, its copies while it grows, and buffers.
constexpr size_t kMemoryTimes = 2 * kMaxGrowth + 4;
constexpr size_t kFewBytes = 20000;
// Many times what it takes under the sanitizers.
constexpr double kSecondsPerByte = 0.0001;
constexpr double kFewSeconds = 0.5;

std::string charset_name(Input& input) {
  static const std::vector<std::string> names = all_charsets();
  require(names.size() > 100, "the C library lists its charsets");
  const size_t number = 256 * input.Byte() + input.Byte();
  return number < names.size() ? names[number] : input.UpTo('\0');
}

double seconds() {
  return static_cast<double>(clock()) / CLOCKS_PER_SEC;
}

// Requires that `work` on a text of `size` bytes takes time and memory in proportion.
template <class Work>
void require_proportion(size_t size, Work work) {
  const size_t allocated_before = allocated;
  max_allocated = allocated;
  const double start = seconds();
  work();
  require(seconds() - start <= kSecondsPerByte * static_cast<double>(size) + kFewSeconds,
          "time grows with the text");
  require(max_allocated - allocated_before <= kMemoryTimes * size + kFewBytes,
          "memory grows with the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const std::string charset = charset_name(input);
  const unsigned repeats = 4 * input.Byte() + 1;
  const std::string once = input.Rest();
  std::string text;
  for (unsigned i = 0; i < repeats && text.size() <= kMaxLength; ++i) text += once;

  require_proportion(text.size() + charset.size(), [&] {
    try {
      const std::string converted = convert_charset(text, charset, "UTF-8", true);
      require(converted.size() <= kMaxGrowth * text.size(), "a text grows so far and no further");
    } catch (const quern::ExError&) {
    }
  });
  require_proportion(text.size() + charset.size(), [&] {
    try {
      convert_charset(text, "UTF-8", charset, true);
    } catch (const quern::ExError&) {
    }
  });
  return 0;
}
