#include "mime/header_encode.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "mime/charset.h"
#include "support/base/text.h"

namespace {

constexpr size_t kPiece = 4096;

// Marks the bytes that have to be encoded: control characters, specials and all bytes beyond ASCII.
constexpr std::array<bool, 256> make_encoded_bytes() {
  std::array<bool, 256> encoded{};
  for (size_t code = 0; code < encoded.size(); ++code) encoded[code] = code < 0x20 || code >= 0x80;
  for (const char c : std::string_view("!\"()*+-/=?_"))
    encoded[static_cast<unsigned char>(c)] = true;
  return encoded;
}
constexpr std::array<bool, 256> kEncodedBytes = make_encoded_bytes();

using Pieces = std::initializer_list<std::string_view>;

bool needs_encoding(Pieces pieces) {
  return std::any_of(pieces.begin(), pieces.end(), [](std::string_view piece) {
    return std::any_of(piece.begin(), piece.end(), needs_q_encoding);
  });
}

template <class Write>
void write_q_encoded(std::string_view text, const Write& write) {
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPiece))) {
    write(q_encode(text.substr(0, kPiece)));
  }
}

// Encodes the concatenated pieces for a header and hands the result to `write` in parts.
template <class Write>
void encode_in_parts(Pieces pieces, const Write& write) {
  if (!needs_encoding(pieces)) {
    for (const std::string_view piece : pieces) write(piece);
    return;
  }
  bool is_start = true;
  for (std::string_view piece : pieces) {
    if (piece.empty()) continue;
    if (is_start) {
      // Kept: only a blank at the very start stays outside the encoded word, never a plain word.
      const bool has_blank = piece[0] == ' ';
      write(has_blank ? " =?utf-8?Q?" : "=?utf-8?Q?");
      piece.remove_prefix(has_blank ? 1 : 0);
      is_start = false;
    }
    write_q_encoded(piece, write);
  }
  write("?=");
}

bool is_plain(char c) {
  return c >= ' ' && c < 0x7F;
}

std::string in_quotes(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::string percent_encoded(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_plain(c) && (isalnum(byte) != 0 || c == '.' || c == '-' || c == '_')) {
      result += c;
    } else {
      result.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return result;
}

}  // namespace

bool needs_q_encoding(char byte) {
  return kEncodedBytes[static_cast<unsigned char>(byte)];
}

std::string q_encode(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded(3 * text.size(), '\0');
  char* out = encoded.data();
  for (const char c : text) {
    if (!needs_q_encoding(c)) {
      *out++ = c == ' ' ? '_' : c;
      continue;
    }
    const auto code = static_cast<unsigned char>(c);
    *out++ = '=';
    *out++ = kDigits[code >> 4];
    *out++ = kDigits[code & 0xF];
  }
  encoded.resize(static_cast<size_t>(out - encoded.data()));
  return encoded;
}

std::string header_encode(std::string_view text) {
  std::string encoded;
  encode_in_parts({text}, [&encoded](std::string_view part) { encoded += part; });
  return encoded;
}

void write_header_encoded(FILE* out, std::initializer_list<std::string_view> pieces) {
  encode_in_parts(pieces, [out](std::string_view part) { write_pieces(out, {part}); });
}

std::string file_name_parameter(std::string_view name) {
  const bool is_like_word = name.find("=?") != std::string_view::npos;
  if (!is_like_word && std::all_of(name.begin(), name.end(), is_plain)) return in_quotes(name);
  std::string value = in_quotes(header_encode(name));
  if (!is_unchanged(name, "UTF-8", "UTF-8")) return value;
  return value + ";\n\tfilename*=UTF-8''" + percent_encoded(name);
}
