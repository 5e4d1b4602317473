#include <string>
#include <string_view>

#include "difference_rules.h"

namespace {

constexpr auto npos = std::string::npos;

void take_body_as_written(SecondOpinion& opinion) {
  opinion.encoding = GMIME_CONTENT_ENCODING_DEFAULT;
  opinion.reading.body = opinion.encoded_body;
}

bool is_quoted_printable(const SecondOpinion& opinion) {
  return opinion.encoding == GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE;
}

void drop_comment_after_charset(SecondOpinion& opinion) {
  std::string& charset = opinion.reading.charset;
  const size_t comment = charset.find('(');
  if (comment == npos) return;
  charset.resize(charset.find_last_not_of(" \t\r\n", comment - 1) + 1);
}

void keep_backslash_in_charset(SecondOpinion& opinion) {
  std::string& charset = opinion.reading.charset;
  const std::string written = "\\" + charset;
  if (opinion.type_field.find("\"" + written + "\"") != npos) charset = written;
}

void ignore_extended_charset(SecondOpinion& opinion) {
  if (opinion.type_field.find("charset*") != npos) opinion.reading.charset = "US-ASCII";
}

void drop_cr_in_front_of_unended_delimiter(SecondOpinion& opinion) {
  std::string& body = opinion.encoded_body;
  if (opinion.is_whole_message || opinion.ends_in_line_end) return;
  if (body.empty() || body.back() != '\r') return;
  body.pop_back();
  opinion.reading.body = gmime_decode_body(body, opinion.encoding);
}

void ignore_encoding_with_comment(SecondOpinion& opinion) {
  if (opinion.encoding_field.find('(') != npos) take_body_as_written(opinion);
}

void ignore_folded_encoding(SecondOpinion& opinion) {
  if (opinion.encoding_field.find('\n') != npos) take_body_as_written(opinion);
}

void ignore_uuencode(SecondOpinion& opinion) {
  if (opinion.encoding == GMIME_CONTENT_ENCODING_UUENCODE) take_body_as_written(opinion);
}

void drop_blanks_at_quoted_line_ends(SecondOpinion& opinion) {
  if (!is_quoted_printable(opinion)) return;
  std::string text;
  std::string blanks;
  for (const char c : opinion.encoded_body + "\n") {
    if (c == ' ' || c == '\t') {
      blanks += c;
      continue;
    }
    if (c != '\r' && c != '\n') text += blanks;
    blanks.clear();
    text += c;
  }
  text.pop_back();
  opinion.encoded_body = text;
  opinion.reading.body = gmime_decode_body(text, opinion.encoding);
}

void end_quoted_lines_in_lf(SecondOpinion& opinion) {
  if (!is_quoted_printable(opinion)) return;
  std::string text;
  for (size_t i = 0; i < opinion.encoded_body.size(); ++i) {
    if (opinion.encoded_body.compare(i, 2, "\r\n") != 0) text += opinion.encoded_body[i];
  }
  opinion.encoded_body = text;
  opinion.reading.body = gmime_decode_body(text, opinion.encoding);
}

void add_newline_of_spooling(SecondOpinion& opinion) {
  if (!opinion.is_whole_message) return;
  opinion.encoded_body += '\n';
  if (opinion.encoding != GMIME_CONTENT_ENCODING_BASE64) opinion.reading.body += '\n';
}

void make_short_base64_nuls(SecondOpinion& opinion) {
  if (opinion.encoding != GMIME_CONTENT_ENCODING_BASE64) return;
  const size_t length = opinion.encoded_body.size();
  if (length == 1 || length == 2 || length == 5) opinion.reading.body.assign(length, '\0');
}

}  // namespace

const std::vector<DifferenceRule>& body_rules() {
  static const std::vector<DifferenceRule> rules = {
      {"comment after a charset dropped",
       "GMime takes a comment after an unquoted value for a part of it (RFC 822, 3.4.3).",
       drop_comment_after_charset},
      {"backslash in a charset kept",
       "GMime takes a quoted value apart. We only take the quotes off, as for any parameter.",
       keep_backslash_in_charset},
      {"extended charset ignored",
       "GMime knows parameters with a language or in pieces (RFC 2231). To us \"charset*\" is the "
       "name of another parameter.",
       ignore_extended_charset},
      {"CR in front of a delimiter that ends the message dropped",
       "It belongs to the delimiter (RFC 2046, 5.1.1), also where the last line has no line end, "
       "from which GMime infers how long the one in front of it is.",
       drop_cr_in_front_of_unended_delimiter},
      {"encoding with a comment ignored",
       "The name of a transfer encoding counts only where nothing stands beside it.",
       ignore_encoding_with_comment},
      {"encoding on a line of its own ignored",
       "A line end in front of the name of a transfer encoding counts as something beside it.",
       ignore_folded_encoding},
      {"x-uuencode ignored",
       "GMime decodes it. We know the encodings of RFC 2045 and take any other text as written.",
       ignore_uuencode},
      {"blanks at ends of quoted-printable lines dropped",
       "They were added on the way (RFC 2045, 6.7, rule 3). GMime keeps them.",
       drop_blanks_at_quoted_line_ends},
      {"lines of quoted-printable end in LF",
       "Our decoder ends lines as the system does, GMime as the message does.",
       end_quoted_lines_in_lf},
      {"newline of spooling",
       "The spooled message ends in one newline more than what arrived, and so does its body.",
       add_newline_of_spooling},
      {"base64 of 1, 2 or 5 bytes gives NULs",
       "Kept: our decoder refuses texts for whose groups there is no room, with as many NULs.",
       make_short_base64_nuls},
  };
  return rules;
}
