// Compares the four decoders with slow ones that follow the rules literally.

#include <string>
#include <string_view>
#include <vector>

#include <mimelib/mimepp.h>

#include "../memory_file.h"
#include "fuzz.h"
#include "mime/encoded_text.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr auto npos = std::string_view::npos;

struct Decoded {
  std::string bytes;
  std::string diagnostics;
  bool valid = true;
};

// -1 for a byte that is no hexadecimal digit.
int hex_value(char c) {
  const size_t upper = std::string_view("0123456789ABCDEF").find(c);
  if (upper != npos) return static_cast<int>(upper);
  const size_t lower = std::string_view("0123456789abcdef").find(c);
  return lower != npos ? static_cast<int>(lower) : -1;
}

// What the C library reads from the two bytes after "=": white space, a sign, digits.
char escaped(const std::string& two, Decoded& out) {
  const std::string text = two.substr(0, two.find('\0'));
  size_t i = 0;
  while (i < text.size() && std::string_view(" \t\n\v\f\r").find(text[i]) != npos) ++i;
  const bool negative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  int value = 0;
  bool converted = false;
  for (; i < text.size() && hex_value(text[i]) >= 0; ++i) {
    value = value * 16 + hex_value(text[i]);
    converted = true;
  }
  if (!converted && !text.empty()) {
    out.diagnostics += "Bad hex in quoted-printable string: " + text + "\n";
  }
  return static_cast<char>(negative ? -value : value);
}

Decoded word_qp(const std::string& payload) {
  Decoded out;
  for (size_t i = 0; i < payload.size(); ++i) {
    if (payload[i] == '=') {
      out.bytes += escaped(payload.substr(i + 1, 2), out);
      i += 2;
    } else {
      out.bytes += payload[i] == '_' ? ' ' : payload[i];
    }
  }
  return out;
}

void append_group(unsigned bits, size_t count, std::string& bytes) {
  const char group[] = {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8),
                        static_cast<char>(bits)};
  bytes.append(group, count);
}

// Byte by byte. A group is complete with its fourth symbol. What is left over at the end counts by
// its bytes, whether they are symbols or not.
Decoded word_base64(const std::string& payload) {
  Decoded out;
  unsigned bits = 0;
  size_t symbols = 0;
  size_t consumed = 0;
  for (const char c : payload.substr(0, payload.find('='))) {
    ++consumed;
    const size_t value = kAlphabet.find(c);
    if (value == npos) {
      const bool white = c == '\t' || c == '\n' || c == '\r' || c == ' ';
      if (!white) out.diagnostics += std::string("Bad base64 symbol: ") + c + "\n";
      continue;
    }
    bits = bits << 6 | static_cast<unsigned>(value);
    if (++symbols < 4) continue;
    append_group(bits, 3, out.bytes);
    bits = 0;
    symbols = 0;
    consumed = 0;
  }
  if (consumed > 0) {
    const size_t counts[] = {0, 1, 1, 2};
    append_group(bits << 6 * (4 - symbols), consumed < 4 ? counts[consumed] : 3, out.bytes);
  }
  return out;
}

std::vector<std::string> lines_with_ends(const std::string& text) {
  std::vector<std::string> lines;
  for (const char c : text) {
    if (lines.empty() || lines.back().back() == '\n') lines.emplace_back();
    lines.back() += c;
  }
  return lines;
}

int body_digit(char c, Decoded& out) {
  const int value = hex_value(c);
  if (value < 0) out.valid = false;
  return value < 0 ? c : value;
}

Decoded body_qp(const std::string& body) {
  Decoded out;
  for (std::string line : lines_with_ends(body.substr(0, body.find('\0')))) {
    bool hard_end = line.back() == '\n';
    for (char& c : line) c = static_cast<char>(c & 0x7F);
    line.resize(line.find_last_not_of("\r\n\t ") + 1);
    if (!line.empty() && line.back() == '=') {
      // A "=" that is the second byte after another "=" is a digit, though a bad one.
      size_t i = 0;
      while (i + 1 < line.size()) i += line[i] == '=' && i + 2 < line.size() ? 3 : 1;
      if (i + 1 == line.size()) {
        hard_end = false;
        line.pop_back();
      }
    }
    for (size_t i = 0; i < line.size(); ++i) {
      if (line[i] != '=') {
        out.bytes += line[i];
      } else if (i + 2 < line.size()) {
        const int high = body_digit(line[i + 1], out);
        const int low = body_digit(line[i + 2], out);
        out.bytes += static_cast<char>(high * 16 + low);
        i += 2;
      } else {
        out.valid = false;
      }
    }
    if (hard_end) out.bytes += '\n';
  }
  return out;
}

Decoded body_base64(const std::string& body) {
  if (body.size() == 1 || body.size() == 2 || body.size() == 5) {
    return {std::string(body.size(), '\0'), {}, false};
  }
  std::string symbols;
  for (const char c : body) {
    if (c == '=' || kAlphabet.find(c) != npos) symbols += c;
  }
  Decoded out;
  for (size_t i = 0; i + 4 <= symbols.size(); i += 4) {
    const std::string group = symbols.substr(i, 4);
    size_t digits = group.find('=');
    if (digits == npos) digits = 4;
    // In a group, only "=" may follow a "=".
    if (digits < 2 || group.find_first_not_of('=', digits) != npos) break;
    unsigned bits = 0;
    for (const char c : group) {
      bits = bits << 6 | (c == '=' ? 0U : static_cast<unsigned>(kAlphabet.find(c)));
    }
    append_group(bits, digits - 1, out.bytes);
    if (digits < 4) break;
  }
  return out;
}

void compare_word_decoder(const Decoded& expected, std::string (*decode)(std::string_view),
                          const std::string& payload) {
  const CapturedDiagnostics diagnostics;
  const std::string bytes = decode(payload);
  require(bytes == expected.bytes, "a word's data decodes by the rules");
  require(diagnostics.Text() == expected.diagnostics, "bad data is reported by the rules");
}

void compare_body_decoder(const Decoded& expected, int (*decode)(const DwString&, DwString&),
                          const std::string& body) {
  DwString out("what was there before");
  const int status = decode(DwString(body.data(), body.size()), out);
  require(std::string_view(out.data(), out.length()) == expected.bytes,
          "a body decodes by the rules");
  require(status == (expected.valid ? 0 : -1), "a bad body is told by the status");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = Input(data, size).Rest();
  compare_word_decoder(word_qp(text), qp_decode, text);
  compare_word_decoder(word_base64(text), base64_decode, text);
  compare_body_decoder(body_qp(text), DwDecodeQuotedPrintable, text);
  compare_body_decoder(body_base64(text), DwDecodeBase64, text);
  return 0;
}
