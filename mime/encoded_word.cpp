#include "mime/encoded_word.h"

#include "mime/base64.h"
#include "mime/charset.h"
#include "mime/converter.h"
#include "mime/loaded_charsets.h"
#include "mime/quoted_printable.h"
#include "mime/text_pieces.h"
#include "support/base/diagnose.h"

namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view kBlanks = " \t";

void warn(const char* what, std::string_view token) {
  diagnose({"wrong rfc1522 sequence (", what, "): ", token});
}

// Whether the blanks from `blank` up to `next` separate two encoded words.
//
// Kept: `next` is npos if the blanks end the value. `next + 2` then wraps to 1, so that after a
// "?=" the last comparison starts beyond the end and throws.
bool stand_between_words(std::string_view value, size_t blank, size_t next) {
  return blank >= 2 && next + 2 <= value.size() && value.compare(blank - 2, 2, "?=") == 0 &&
         value.compare(next, 2, "=?") == 0;
}

// Keeps the charset loaded once a second charset was seen: a hostile header may alternate between
// charsets, each of which would be loaded again for every word.
void note_charset(const std::string& charset) {
  static std::string last;
  if (charset == last || charset.size() > kMaxCharsetName) return;
  if (!last.empty()) keep_charset_loaded(charset, "utf-8");
  last = charset;
}

std::string decode_data(std::string_view encoding, std::string_view data) {
  if (encoding == "q" || encoding == "Q") return qp_decode(data);
  if (encoding == "b" || encoding == "B") return base64_decode(data);
  return {};
}

}  // namespace

std::string rfc1522_decode(std::string_view value) {
  return decode_tokens(value, rfc1522_decode_word);
}

std::string decode_tokens(std::string_view value, TokenDecoder decode_one) {
  TextPieces result;
  for (size_t position = 0; position != npos;) {
    const size_t blank = value.find_first_of(kBlanks, position);
    result.Adopt(decode_one(value.substr(position, blank - position)));
    if (blank == npos) break;
    const size_t next = value.find_first_not_of(kBlanks, blank);
    if (!stand_between_words(value, blank, next)) {
      result.Append(value.substr(blank, next - blank));
    }
    position = next;
  }
  return result.Take();
}

std::string rfc1522_decode_word(std::string_view token) {
  if (token.substr(0, 2) != "=?") return std::string(token);
  const size_t charset_end = token.find('?', 2);
  if (charset_end == npos) {
    warn("no charset", token);
    return std::string(token);
  }
  const size_t encoding_end = token.find('?', charset_end + 1);
  if (encoding_end == npos) {
    warn("no encoding", token);
    return std::string(token);
  }
  const size_t data_end = token.find("?=", encoding_end + 1);
  if (data_end == npos) {
    warn("no data", token);
    return std::string(token);
  }
  const std::string_view trailing = token.substr(data_end + 2);
  if (!trailing.empty()) warn("trailing stuff", token);
  const std::string charset(token.substr(2, charset_end - 2));
  const auto encoding = token.substr(charset_end + 1, encoding_end - charset_end - 1);
  const auto data = token.substr(encoding_end + 1, data_end - encoding_end - 1);
  note_charset(charset);
  std::string word = convert_charset(decode_data(encoding, data), charset, "utf-8", true);
  word += trailing;
  return word;
}
