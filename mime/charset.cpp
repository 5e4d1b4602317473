#include "mime/charset.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <strings.h>

#include "mime/converter.h"
#include "mime/text_pieces.h"
#include "mime/utf8.h"
#include "support/base/ex_error.h"
#include "support/base/text.h"

namespace {

// Whether `name` is one of the aliases of a charset. Like iconv, ignores the case of ASCII letters.
bool is_one_of(const std::string& name, std::initializer_list<const char*> charset) {
  return std::any_of(charset.begin(), charset.end(),
                     [&name](const char* alias) { return strcasecmp(name.c_str(), alias) == 0; });
}

// Converts ISO-8859-1, in which byte N is the character U+00NN, to UTF-8. Returns the end of the
// output.
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

bool convert_latin1(std::string_view text, const TextSink& sink) {
  char chunk[4096];
  constexpr size_t kInput = sizeof chunk / 2;
  bool goes_on = true;
  for (size_t i = 0; i < text.size() && goes_on; i += kInput) {
    const char* const end = write_latin1(text.substr(i, kInput), chunk);
    goes_on = sink({chunk, static_cast<size_t>(end - chunk)});
  }
  return goes_on;
}

// Shortcut without iconv: copies UTF-8 and ASCII, widens ISO-8859-1. Only for these charsets, which
// the C library always knows.
class ShortWay {
 public:
  ShortWay(const std::string& to, const std::string& from) {
    if (!is_one_of(to, {"UTF-8", "UTF8"})) return;
    if (is_one_of(from, {"UTF-8", "UTF8"})) copied_ = utf8_length;
    if (is_one_of(from, {"US-ASCII", "ASCII", "ANSI_X3.4-1968"})) copied_ = ascii_length;
    is_latin1_ = is_one_of(from, {"ISO-8859-1", "ISO8859-1", "ISO_8859-1", "LATIN1"});
  }

  // Whether the conversion of `text` would only copy it.
  bool IsAllOf(std::string_view text) const {
    return copied_ != nullptr && copied_(text) == text.size();
  }

  // Converts the start of `text` as far as the shortcut can, and removes it from there. False if
  // `sink` wants no more.
  bool Take(std::string_view& text, const TextSink& sink) const {
    if (is_latin1_) {
      const bool goes_on = convert_latin1(text, sink);
      text = {};
      return goes_on;
    }
    const size_t length = copied_ != nullptr ? copied_(text) : 0;
    const bool goes_on = length == 0 || sink(text.substr(0, length));
    text.remove_prefix(length);
    return goes_on;
  }

 private:
  size_t (*copied_)(std::string_view) = nullptr;
  bool is_latin1_ = false;
};

// The state of a conversion by iconv: the rest of the text, and whether the sink still takes
// output.
class Progress {
 public:
  // cppcheck-suppress uninitMemberVar // a step writes the buffer before it is read
  Progress(std::string_view text, bool replace_invalid, const TextSink& sink)
      : text_(text), replace_invalid_(replace_invalid), sink_(sink) {}

  // The part of the text that was not converted yet.
  std::string_view& text() { return text_; }

  // Converts the next piece; false if iconv fails or makes no progress.
  bool Advance(Converter& converter) {
    const std::string_view piece = text_.substr(0, converter.MaxInput());
    const Converter::Step step = converter.Convert(piece, buffer_);
    text_.remove_prefix(step.consumed);
    Write(step.output);
    if (step.error == EILSEQ && replace_invalid_) {
      ReplaceOneByte();
      return true;
    }
    const bool is_cut = step.error == EINVAL && text_.size() > piece.size() - step.consumed;
    return (step.error == 0 || step.error == E2BIG || is_cut) && HasMoved(step);
  }

  // False once the sink wants no more output.
  bool goes_on() const { return goes_on_; }

 private:
  void Write(std::string_view output) { goes_on_ = goes_on_ && (output.empty() || sink_(output)); }

  // Replaces the byte that iconv rejected by "?". A converter may report a bad sequence after it
  // has consumed the whole text; then there is no byte to replace.
  void ReplaceOneByte() {
    is_idle_ = false;
    if (text_.empty()) return;
    text_.remove_prefix(1);
    Write("?");
  }

  // Whether the step made progress. One step may write buffered output without reading; a converter
  // that does so twice in a row would never end.
  bool HasMoved(const Converter::Step& step) {
    const bool was_idle = is_idle_;
    is_idle_ = step.consumed == 0;
    return !is_idle_ || (!was_idle && !step.output.empty());
  }

  std::string_view text_;
  bool replace_invalid_;
  const TextSink& sink_;
  Converter::Buffer buffer_;
  bool is_idle_ = false;
  bool goes_on_ = true;
};

}  // namespace

bool is_unchanged(std::string_view text, const std::string& from_charset,
                  const std::string& to_charset) {
  return ShortWay(to_charset, from_charset).IsAllOf(text);
}

void convert_charset_in_pieces(std::string_view text, const std::string& from_charset,
                               const std::string& to_charset, bool replace_invalid,
                               const TextSink& sink) {
  Converter converter(to_charset, from_charset);
  if (!converter.IsOpen()) {
    throw quern::ExError(joined({"Cannot convert from ", from_charset, " to ", to_charset}));
  }
  const ShortWay short_way(to_charset, from_charset);
  Progress progress(text, replace_invalid, sink);
  while (progress.goes_on() && short_way.Take(progress.text(), sink) && !progress.text().empty()) {
    if (!progress.Advance(converter)) {
      throw quern::ExError(joined({"Conversion from ", from_charset, " to ", to_charset}));
    }
  }
  if (!converter.Close()) {
    // Kept: the message names utf-8 whatever the target was.
    throw quern::ExError(joined({"Closing conversion from ", from_charset, " to utf-8 failed"}));
  }
}

std::string convert_charset(std::string_view text, const std::string& from_charset,
                            const std::string& to_charset, bool replace_invalid) {
  if (is_unchanged(text, from_charset, to_charset)) return std::string(text);
  TextPieces converted;
  convert_charset_in_pieces(text, from_charset, to_charset, replace_invalid,
                            [&converted](std::string_view piece) {
                              converted.Append(piece);
                              return true;
                            });
  return converted.Take();
}
