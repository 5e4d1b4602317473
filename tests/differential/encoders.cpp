#include "encoders.h"

#include <algorithm>

namespace {

constexpr Charset kCharsets[] = {
    {"utf-8",
     {"Gr\xC3\xBC\xC3\x9F", "\xD0\x9F\xD1\x80", "\xE6\x97\xA5\xE6\x9C\xAC", "a=b", "?", "plain"}},
    {"iso-8859-1", {"Gr\xFC\xDF", "caf\xE9", "\xA9 1999", "a=b", "_", "plain"}},
    {"koi8-r", {"\xF0\xD2\xC9\xD7\xC5\xD4", "\xCD\xC9\xD2", "a=b", "?=", "\"", "plain"}},
    {"us-ascii", {"plain", "From", "a=b", "=41", "--", "_?"}},
};

void append_escape(std::string& out, char byte) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(byte);
  out += '=';
  out += kDigits[code / 16];
  out += kDigits[code % 16];
}

bool is_letter_or_digit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

std::string encode_q(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == ' ') {
      out += '_';
    } else if (is_letter_or_digit(c)) {
      out += c;
    } else {
      append_escape(out, c);
    }
  }
  return out;
}

bool stands_plainly(char c) {
  return c == ' ' || c == '\t' || (c > ' ' && c < 0x7F && c != '=');
}

void append_quoted_line(Random& random, std::string_view line, std::string& out) {
  for (size_t i = 0; i < line.size(); ++i) {
    const bool blank = line[i] == ' ' || line[i] == '\t';
    if (!stands_plainly(line[i]) || (blank && i + 1 == line.size()) || random.Chance(2)) {
      append_escape(out, line[i]);
    } else {
      out += line[i];
    }
    if (random.Chance(3) && i + 1 < line.size()) out += random.Chance(10) ? "= \n" : "=\n";
  }
}

}  // namespace

const Charset& pick_charset(Random& random) {
  return random.Pick(kCharsets);
}

std::string encode_base64(std::string_view text) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0; i < text.size(); i += 3) {
    const size_t count = std::min<size_t>(3, text.size() - i);
    unsigned bits = 0;
    for (size_t k = 0; k < 3; ++k) {
      bits = bits << 8 | (k < count ? static_cast<unsigned char>(text[i + k]) : 0U);
    }
    for (unsigned k = 0; k < 4; ++k) {
      out += k <= count ? kAlphabet[bits >> (18 - 6 * k) & 63U] : '=';
    }
  }
  return out;
}

std::string encode_base64_lines(Random& random, std::string_view text) {
  const std::string encoded = encode_base64(text);
  const size_t width = random.Chance(70) ? 76 : 1 + random.Below(76);
  std::string lines;
  for (size_t i = 0; i < encoded.size(); i += width) {
    if (i > 0) lines += '\n';
    lines += encoded.substr(i, width);
  }
  constexpr std::string_view kEnds[] = {"", "\n", "\n", "\n\n"};
  return lines.append(random.Pick(kEnds));
}

std::string encode_quoted_printable(Random& random, std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    append_quoted_line(random, text.substr(0, end), out);
    if (random.Chance(4)) out += random.Chance(50) ? " " : "\t \t";
    if (end == std::string_view::npos) break;
    out += random.Chance(3) ? "=0D=0A=\n" : "\n";
    text.remove_prefix(end + 1);
  }
  // A text may not end in a soft line break.
  if (out.size() >= 2 && out.compare(out.size() - 2, 2, "=\n") == 0) out += "end";
  return out;
}

std::string encode_uu(std::string_view text) {
  const auto symbol = [](unsigned bits) {
    return (bits & 63U) == 0 ? '`' : static_cast<char>(' ' + (bits & 63U));
  };
  std::string line(1, symbol(static_cast<unsigned>(text.size())));
  for (size_t i = 0; i < text.size(); i += 3) {
    unsigned bits = 0;
    for (size_t k = i; k < i + 3; ++k) {
      bits = bits << 8 | (k < text.size() ? static_cast<unsigned char>(text[k]) : 0U);
    }
    for (unsigned shift = 24; shift > 0; shift -= 6) line += symbol(bits >> (shift - 6));
  }
  return "begin 644 file\n" + line + "\n`\nend\n";
}

std::string encode_word(Random& random, std::string_view charset, std::string_view text) {
  const std::string start = "=?" + random.AnyCase(charset);
  if (random.Chance(50)) return start + (random.Chance(50) ? "?Q?" : "?q?") + encode_q(text) + "?=";
  return start + (random.Chance(50) ? "?B?" : "?b?") + encode_base64(text) + "?=";
}
