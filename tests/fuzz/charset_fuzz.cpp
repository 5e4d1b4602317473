// Charset conversion with any names and bytes.
//
// An input is: the two charset names (see `charset_name`), how often the text is repeated, and the
// text. Long ones are converted in pieces.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "../plain_iconv.h"
#include "fuzz.h"
#include "mime/charset.h"
#include "support/base/ex_error.h"
#include "utf8.h"

namespace {

constexpr const char* kNames[] = {
    "UTF-8",         "utf-8",           "US-ASCII",
    "ISO-8859-1",    "windows-1252",    "UTF-16",
    "UTF-16LE",      "UTF-32",          "UCS-4",
    "UTF-7",         "ISO-2022-JP",     "ISO-2022-JP-3",
    "ISO-2022-KR",   "ISO-2022-CN",     "SHIFT_JIS",
    "EUC-JP",        "EUC-KR",          "EUC-TW",
    "GB18030",       "BIG5-HKSCS",      "KOI8-R",
    "TSCII",         "IBM1390",         "TCVN5712-1",
    "JAVA",          "UNICODE",         "",
    "UTF-8//IGNORE", "UTF-8//TRANSLIT", "ISO-2022-CN-EXT",
    "WCHAR_T",       "x-unknown",
};

constexpr size_t kMaxLength = 10000;

// An even byte chooses from the list; an odd one is followed by the name itself, up to a NUL.
std::string charset_name(Input& input) {
  const unsigned choice = input.Byte();
  return choice % 2 == 0 ? kNames[choice / 2 % std::size(kNames)] : input.UpTo('\0');
}

std::optional<std::string> convert(const std::string& text, const std::string& from,
                                   const std::string& to, bool replace_invalid) {
  try {
    return convert_charset(text, from, to, replace_invalid);
  } catch (const quern::ExError& error) {
    require(std::string_view(error.what()).substr(0, 1) == "C", "a failure is told");
    return std::nullopt;
  }
}

// Names of charsets that may be converted without iconv, and similar names.
constexpr const char* kShort[] = {
    "utf-8",      "UTF8",   "us-ascii", "ASCII",  "ANSI_X3.4-1968", "iso-8859-1", "ISO8859-1",
    "iso_8859-1", "latin1", "UTF-8//",  "utf-8,", "ISO-8859-15",    "iso88591",
};

// Tries one name, chosen by the text's length.
void check_short_way(const std::string& text, bool replace_invalid) {
  const char* const from = kShort[text.size() % std::size(kShort)];
  require(convert(text, from, "UTF-8", replace_invalid) ==
              convert_by_iconv(text, from, "UTF-8", replace_invalid),
          "a shorter way leads to where iconv leads");
}

std::string latin1_in_utf8(const std::string& text) {
  std::string longer;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code >= 0x80) longer += static_cast<char>(0xC0 | code >> 6);
    longer += static_cast<char>(code < 0x80 ? code : 0x80 | (code & 0x3F));
  }
  return longer;
}

std::string ascii_with_question_marks(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  return text;
}

void check_known_charsets(const std::string& text) {
  require(convert(text, "ISO-8859-1", "UTF-8", false) == latin1_in_utf8(text),
          "every byte is a character of ISO-8859-1");
  require(convert(text, "US-ASCII", "UTF-8", true) == ascii_with_question_marks(text),
          "every byte that is no character becomes a question mark");
  const auto replaced = convert(text, "UTF-8", "UTF-8", true);
  require(!replaced || is_utf8(*replaced, kLargestOfIconv), "what is replaced leaves UTF-8");
  if (!is_utf8(text, kLargestToday)) return;
  require(replaced == text, "valid UTF-8 stays as it is");
  const auto wide = convert(text, "UTF-8", "UTF-16LE", false);
  require(wide && convert(*wide, "UTF-16LE", "UTF-8", false) == text, "UTF-16 leads back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const std::string from = charset_name(input);
  const std::string to = charset_name(input);
  const unsigned repeats = input.Byte() + 1;
  const std::string once = input.Rest();
  std::string text;
  for (unsigned i = 0; i < repeats && text.size() <= kMaxLength; ++i) text += once;

  const auto strict = convert(text, from, to, false);
  const auto lenient = convert(text, from, to, true);
  if (strict) require(lenient == strict, "a text that is valid needs no replacement");
  if (text.empty() && strict) require(strict->empty(), "no text gives no text");
  require(strict == convert_by_iconv(text, from, to, false), "it is what iconv alone gives");
  require(lenient == convert_by_iconv(text, from, to, true), "so it is with question marks");
  check_short_way(text, false);
  check_short_way(text, true);
  check_known_charsets(text);
  return 0;
}
