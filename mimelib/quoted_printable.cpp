#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "mimelib/decode.h"
#include "mimelib/view.h"
#include "support/base/growing_bytes.h"

namespace {

constexpr uint8_t kSevenBits = 0x7F;  // _1111111

char seven_bits(char c) {
  return static_cast<char>(c & kSevenBits);
}

bool is_white_space(char c) {
  return c == '\n' || c == '\r' || c == ' ' || c == '\t';
}

// Negative, and keeps an escape negative that it is combined into.
constexpr int kNoDigit = -1;
using Digits = std::array<int, 256>;

// The value of each hexadecimal digit times `weight`. A byte's highest bit does not count.
constexpr Digits make_digits(int weight) {
  Digits digits{};
  for (int& digit : digits) digit = kNoDigit;
  for (size_t high = 0; high < 256; high += 128) {
    for (size_t i = 0; i < 16; ++i) {
      const int value = static_cast<int>(i) * weight;
      digits[high + (i < 10 ? '0' + i : 'A' + i - 10)] = value;
      digits[high + (i < 10 ? '0' + i : 'a' + i - 10)] = value;
    }
  }
  return digits;
}
constexpr Digits kLowDigits = make_digits(1);    // 0000dddd
constexpr Digits kHighDigits = make_digits(16);  // dddd0000

// The byte that "=" and the two bytes after it encode; negative unless both are digits.
int escaped_byte(const char* equals_sign) {
  return kHighDigits[static_cast<unsigned char>(equals_sign[1])] |
         kLowDigits[static_cast<unsigned char>(equals_sign[2])];
}

// Where to read and write next. Passed by value: stores through `out` could alias a reference and
// force reloads.
struct Position {
  const char* in;
  char* out;
};

// Trims trailing white space, but nothing before `start`.
char* drop_white_space(const char* start, char* out) {
  while (out > start && is_white_space(out[-1])) --out;
  return out;
}

class Decoder {
 public:
  explicit Decoder(std::string_view text)
      : text_(text), escapes_end_(text.data() + (text.size() < 3 ? 0 : text.size() - 2)) {}

  // Writes to `out`, which has room for as many bytes as the text has. Returns the end of what it
  // wrote.
  char* Decode(char* out) {
    Position at{text_.data(), out};
    const char* plain = out;  // what was written from here on does not come from an escape
    while (CopyPlain(at)) {
      if (*at.in == '\n') {
        at.out = drop_white_space(plain, at.out);
        *at.out++ = *at.in++;
        line_end_ = nullptr;
      } else if (!DecodeEscapes(at)) {
        at = DecodeOddEscape(at);
      }
      plain = at.out;
    }
    return drop_white_space(plain, at.out);
  }

  bool valid() const { return valid_; }

 private:
  // Copies the bytes before the next "=" or line end; false if there is none.
  bool CopyPlain(Position& at) const {
    for (; at.in < End(); *at.out++ = seven_bits(*at.in++)) {
      if (seven_bits(*at.in) == '=' || *at.in == '\n') return true;
    }
    return false;
  }

  // Decodes a run of escapes with two digits each; false if there is none.
  bool DecodeEscapes(Position& at) const {
    const char* const before = at.in;
    while (at.in < escapes_end_ && *at.in == '=') {
      const int byte = escaped_byte(at.in);
      if (byte < 0) break;
      *at.out++ = static_cast<char>(byte);
      at.in += 3;
    }
    return at.in != before;
  }

  // Decodes a "=" that is not followed by two digits, or that has its highest bit set.
  Position DecodeOddEscape(Position at) {
    ++at.in;
    if (at.in < End() && *at.in == '\n') {
      line_end_ = nullptr;
      return {at.in + 1, at.out};
    }
    FindLineEnd(at.in);
    if (at.in == text_end_) {  // a soft line break
      at.in = line_end_ < End() ? line_end_ + 1 : End();
      line_end_ = nullptr;
    } else if (text_end_ - at.in == 1) {
      valid_ = false;
    } else {
      *at.out++ = static_cast<char>(DigitOrCode(at.in[0]) * 16 + DigitOrCode(at.in[1]));
      at.in += 2;
    }
    return at;
  }

  // Kept: a byte that is no digit counts with its own code.
  int DigitOrCode(char c) {
    const int digit = kLowDigits[static_cast<unsigned char>(c)];
    if (digit != kNoDigit) return digit;
    valid_ = false;
    return seven_bits(c);
  }

  // Finds the end of the line, with and without its trailing white space. Searches once in a line,
  // so that a line full of odd escapes takes linear time.
  void FindLineEnd(const char* from) {
    if (line_end_ != nullptr) return;
    const void* const found = memchr(from, '\n', static_cast<size_t>(End() - from));
    line_end_ = found != nullptr ? static_cast<const char*>(found) : End();
    text_end_ = line_end_;
    while (text_end_ > from && is_white_space(seven_bits(text_end_[-1]))) --text_end_;
  }

  const char* End() const { return text_.data() + text_.size(); }

  const std::string_view text_;
  const char* const escapes_end_;  // the first position with fewer than three bytes left
  const char* line_end_ = nullptr;
  const char* text_end_ = nullptr;
  bool valid_ = true;
};

}  // namespace

int DwDecodeQuotedPrintable(const DwString& in, DwString& out) {
  std::string_view text = view_of(in);
  text = text.substr(0, text.find('\0'));
  GrowingBytes decoded(text.size());
  Decoder decoder(text);
  const char* const end = decoder.Decode(decoded.data());
  const auto length = static_cast<size_t>(end - decoded.data());
  out = DwString::Adopt(decoded.Release(), length);
  return decoder.valid() ? 0 : -1;
}
