#include "mime/charset.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <map>
#include <strings.h>

#include <iconv.h>

#include "mime/utf8.h"
#include "support/base/ex_error.h"

namespace {

constexpr size_t kChunk = 4096;

// One open conversion; closed by its owner where nobody asked for the result of closing.
class Converter {
 public:
  Converter(const std::string& to, const std::string& from)
      : handle_(iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() { Close(); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool IsOpen() const { return handle_ != Invalid(); }

  // Converts up to a chunk from the front of `text`, appends it to `output`, and returns the error
  // number that iconv left.
  int Convert(std::string_view& text, std::string& output) {
    char chunk[kChunk];
    // iconv does not write to its input; its interface only forgets to say so.
    char* in = const_cast<char*>(text.data());
    size_t in_left = text.size();
    char* out = chunk;
    size_t out_left = kChunk;
    errno = 0;
    iconv(handle_, &in, &in_left, &out, &out_left);
    const int error = errno;
    output.append(chunk, kChunk - out_left);
    text.remove_prefix(text.size() - in_left);
    return error;
  }

  bool Close() {
    if (!IsOpen()) return true;
    const bool closed = iconv_close(handle_) == 0;
    handle_ = Invalid();
    return closed;
  }

 private:
  // The interface's own value for a descriptor that could not be had.
  static iconv_t Invalid() { return reinterpret_cast<iconv_t>(-1); }  // NOLINT

  iconv_t handle_;
};

// Names without a suffix, which iconv reads without regard to the case of ASCII letters.
bool is_one_of(const std::string& name, std::initializer_list<const char*> charset) {
  return std::any_of(charset.begin(), charset.end(),
                     [&name](const char* alias) { return strcasecmp(name.c_str(), alias) == 0; });
}

// Makes room for the next chunk. After a first stretch the room for all of `size` bytes is
// estimated from what the `converted` ones gave, so that a large output is seldom moved.
void make_room(std::string& output, size_t size, size_t converted) {
  constexpr size_t kStretch = 16 * kChunk;
  if (output.capacity() - output.size() > kChunk) return;
  size_t room = kStretch;
  if (converted > 0) {
    const double growth = static_cast<double>(output.size()) / static_cast<double>(converted);
    room = static_cast<size_t>(growth * static_cast<double>(size - converted));
  }
  output.reserve(output.size() + std::max(room + room / 16, output.size() / 2) + 2 * kChunk);
}

// Every byte of ISO-8859-1 is the character of its number; returns the end of what was written.
char* write_latin1(std::string_view text, char* out) {
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      *out++ = c;
    } else {
      *out++ = static_cast<char>(0xC0 | code >> 6);
      *out++ = static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return out;
}

void append_latin1(std::string_view text, std::string& output) {
  char chunk[kChunk];
  for (size_t i = 0; i < text.size(); i += kChunk / 2) {
    const char* const end = write_latin1(text.substr(i, kChunk / 2), chunk);
    make_room(output, text.size(), i);
    output.append(chunk, static_cast<size_t>(end - chunk));
  }
}

// What iconv would only copy, or replace by two bytes, at the front of a text.
class ShortWay {
 public:
  ShortWay(const std::string& to, const std::string& from) {
    if (!is_one_of(to, {"UTF-8", "UTF8"})) return;
    if (is_one_of(from, {"UTF-8", "UTF8"})) copied_ = utf8_length;
    if (is_one_of(from, {"US-ASCII", "ASCII", "ANSI_X3.4-1968"})) copied_ = ascii_length;
    is_latin1_ = is_one_of(from, {"ISO-8859-1", "ISO8859-1", "ISO_8859-1", "LATIN1"});
  }

  // Whether `text` would only be copied. Only between charsets that the C library always knows.
  bool IsAllOf(std::string_view text) const {
    return copied_ != nullptr && copied_(text) == text.size();
  }

  // Moves as much as there is of that from `text` to `output`.
  void Take(std::string_view& text, std::string& output) const {
    if (is_latin1_) {
      append_latin1(text, output);
      text = {};
    } else if (copied_ != nullptr) {
      const size_t length = copied_(text);
      output.append(text, 0, length);
      text.remove_prefix(length);
    }
  }

 private:
  size_t (*copied_)(std::string_view) = nullptr;
  bool is_latin1_ = false;
};

// A converter may report a bad sequence when it has already consumed everything; then there is no
// byte to step over, and none that a "?" could stand for.
void replace_one_byte(std::string_view& text, std::string& output) {
  if (text.empty()) return;
  text.remove_prefix(1);
  output += '?';
}

// False when the conversion cannot go on.
bool convert_step(Converter& converter, std::string_view& text, bool replace_invalid,
                  std::string& output) {
  const size_t text_before = text.size();
  const size_t output_before = output.size();
  const int error = converter.Convert(text, output);
  if (error == EILSEQ && replace_invalid) {
    replace_one_byte(text, output);
    return true;
  }
  // A step that neither reads nor writes would be repeated for ever.
  const bool moved = text.size() != text_before || output.size() != output_before;
  return (error == 0 || error == E2BIG) && moved;
}

}  // namespace

bool is_unchanged(std::string_view text, const std::string& from_charset,
                  const std::string& to_charset) {
  return ShortWay(to_charset, from_charset).IsAllOf(text);
}

std::string convert_charset(std::string_view text, const std::string& from_charset,
                            const std::string& to_charset, bool replace_invalid) {
  const ShortWay short_way(to_charset, from_charset);
  if (short_way.IsAllOf(text)) return std::string(text);
  Converter converter(to_charset, from_charset);
  if (!converter.IsOpen()) {
    throw quern::ExError("Cannot convert from " + from_charset + " to " + to_charset);
  }
  const size_t size = text.size();
  std::string output;
  for (short_way.Take(text, output); !text.empty(); short_way.Take(text, output)) {
    make_room(output, size, size - text.size());
    if (!convert_step(converter, text, replace_invalid, output)) {
      throw quern::ExError("Conversion from " + from_charset + " to " + to_charset);
    }
  }
  if (!converter.Close()) {
    // Kept: the message names utf-8 whatever the target was.
    throw quern::ExError("Closing conversion from " + from_charset + " to utf-8 failed");
  }
  return output;
}

void keep_charset_loaded(const std::string& charset, const std::string& to_charset) {
  constexpr size_t kMost = 64;
  static std::map<std::string, Converter> kept;
  if (kept.size() < kMost) kept.try_emplace(charset, to_charset, charset);
}
