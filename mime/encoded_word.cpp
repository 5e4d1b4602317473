#include "mime/encoded_word.h"

#include <strings.h>
#include <utility>

#include "mime/charset.h"
#include "mime/converter.h"
#include "mime/encoded_text.h"
#include "mime/text_pieces.h"
#include "support/base/text.h"

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

// The parts of "=?charset?encoding?data?=trailing".
struct EncodedWord {
  std::string charset;
  std::string_view encoding;
  std::string_view data;
  std::string_view trailing;
};

// Splits a token that begins with "=?"; returns what it lacks, or null.
const char* split(std::string_view token, EncodedWord& word) {
  const size_t charset_end = token.find('?', 2);
  if (charset_end == npos) return "no charset";
  const size_t encoding_end = token.find('?', charset_end + 1);
  if (encoding_end == npos) return "no encoding";
  const size_t data_end = token.find("?=", encoding_end + 1);
  if (data_end == npos) return "no data";
  word.charset = token.substr(2, charset_end - 2);
  word.encoding = token.substr(charset_end + 1, encoding_end - charset_end - 1);
  word.data = token.substr(encoding_end + 1, data_end - encoding_end - 1);
  word.trailing = token.substr(data_end + 2);
  return nullptr;
}

bool is_encoded_word(std::string_view token, EncodedWord& word) {
  return token.substr(0, 2) == "=?" && split(token, word) == nullptr && word.trailing.empty();
}

std::string decode_data(const EncodedWord& word) {
  if (word.encoding == "q" || word.encoding == "Q") return qp_decode(word.data);
  if (word.encoding == "b" || word.encoding == "B") return base64_decode(word.data);
  return {};
}

std::string to_utf8(const std::string& bytes, const std::string& charset) {
  note_charset(charset);
  return convert_charset(bytes, charset, "utf-8", true);
}

// Without the line ends of folds (RFC 5322, 2.2.3).
std::string unfolded(std::string_view field) {
  std::string text;
  text.reserve(field.size());
  for (size_t i = 0; i < field.size(); ++i) {
    const size_t end = field.compare(i, 2, "\r\n") == 0 ? i + 1 : i;
    const bool is_fold =
        field[end] == '\n' && end + 1 < field.size() && kBlanks.find(field[end + 1]) != npos;
    if (is_fold) {
      i = end;
    } else {
      text += field[i];
    }
  }
  return text;
}

// Encoded words that follow each other. Those of one charset are converted together, because a
// character may begin in one of them and end in the next.
class JoinedWords {
 public:
  explicit JoinedWords(TextPieces& out) : out_(out) {}

  bool IsEmpty() const { return is_empty_; }

  void Add(const EncodedWord& word) {
    if (strcasecmp(word.charset.c_str(), charset_.c_str()) != 0) Write();
    charset_ = word.charset;
    bytes_ += decode_data(word);
    is_empty_ = false;
  }

  // Writes them in UTF-8, and has none left.
  void Write() {
    if (!is_empty_) out_.Adopt(to_utf8(std::exchange(bytes_, {}), charset_));
    is_empty_ = true;
  }

 private:
  TextPieces& out_;
  bool is_empty_ = true;
  std::string charset_;
  std::string bytes_;
};

// Takes the first `length` bytes.
std::string_view take(std::string_view& text, size_t length) {
  const std::string_view taken = text.substr(0, length);
  text.remove_prefix(taken.size());
  return taken;
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
  EncodedWord word;
  if (const char* const missing = split(token, word)) {
    warn(missing, token);
    return std::string(token);
  }
  if (!word.trailing.empty()) warn("trailing stuff", token);
  std::string text = to_utf8(decode_data(word), word.charset);
  text += word.trailing;
  return text;
}

std::string decode_unfolded(std::string_view field) {
  const std::string value = unfolded(field);
  TextPieces result;
  JoinedWords words(result);
  for (std::string_view rest = value; !rest.empty();) {
    const std::string_view blanks = take(rest, rest.find_first_not_of(kBlanks));
    const std::string_view token = take(rest, rest.find_first_of(kBlanks));
    EncodedWord word;
    if (is_encoded_word(token, word)) {
      if (words.IsEmpty()) result.Append(blanks);
      words.Add(word);
    } else {
      words.Write();
      result.Append(blanks);
      result.Adopt(rfc1522_decode_word(token));
    }
  }
  words.Write();
  return result.Take();
}
