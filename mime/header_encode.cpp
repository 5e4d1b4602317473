#include "mime/header_encode.h"

#include <algorithm>
#include <array>

#include "support/base/write_pieces.h"

namespace {

constexpr size_t kPiece = 4096;

// Control characters, bytes beyond ASCII, and the special ones.
constexpr std::array<bool, 256> make_encoded_bytes() {
  std::array<bool, 256> encoded{};
  for (size_t code = 0; code < encoded.size(); ++code) encoded[code] = code < 0x20 || code >= 0x80;
  for (const char c : std::string_view("!\"()*+-/=?_"))
    encoded[static_cast<unsigned char>(c)] = true;
  return encoded;
}
constexpr std::array<bool, 256> kEncodedBytes = make_encoded_bytes();

// Hands the form of `text` in a header to `write`, a piece at a time.
template <class Write>
void encode_in_pieces(std::string_view text, const Write& write) {
  if (std::none_of(text.begin(), text.end(), needs_q_encoding)) {
    write(text);
    return;
  }
  // Kept: only a blank at the very start stays outside the encoded word, never a plain word.
  if (text[0] == ' ') {
    write(" ");
    text.remove_prefix(1);
  }
  write("=?utf-8?Q?");
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPiece))) {
    write(q_encode(text.substr(0, kPiece)));
  }
  write("?=");
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
  encode_in_pieces(text, [&encoded](std::string_view piece) { encoded += piece; });
  return encoded;
}

void write_header_encoded(FILE* out, std::string_view text) {
  encode_in_pieces(text, [out](std::string_view piece) { write_pieces(out, {piece}); });
}
