#include "samples.h"

#include <cstring>
#include <memory>

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr size_t kLine = 76;

std::string lines_of(std::string_view line) {
  std::string text;
  text.reserve(kSampleSize);
  while (text.size() + line.size() <= kSampleSize) text += line;
  return text;
}

void append_escaped(std::string& out, char c) {
  const auto code = static_cast<unsigned char>(c);
  out += '=';
  out += kDigits[code >> 4];
  out += kDigits[code & 0xF];
}

}  // namespace

std::string sample_in_utf8() {
  return lines_of(
      "Gr\xC3\xBC\xC3\x9F"
      "e aus dem Laden, und sch\xC3\xB6nen Dank f\xC3\xBCr Ihre Anfrage vom M\xC3\xA4rz.\n");
}

std::string sample_in_latin1() {
  return lines_of(
      "Gr\xFC\xDF"
      "e aus dem Laden, und sch\xF6nen Dank f\xFCr Ihre Anfrage vom M\xE4rz.\n");
}

std::string sample_in_ascii() {
  return lines_of("Greetings from the shop, and thank you for your question of last March.\n");
}

std::string sample_bytes() {
  std::string bytes(kSampleSize, '\0');
  unsigned state = 1;
  for (char& c : bytes) {
    state = state * 1103515245 + 12345;
    c = static_cast<char>(state >> 16);
  }
  return bytes;
}

std::string in_base64(std::string_view bytes) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (size_t i = 0, column = 0; i + 3 <= bytes.size(); i += 3) {
    unsigned bits = 0;
    for (size_t k = 0; k < 3; ++k) bits = bits << 8 | static_cast<unsigned char>(bytes[i + k]);
    for (int shift = 18; shift >= 0; shift -= 6) out += kAlphabet[bits >> shift & 63];
    column += 4;
    if (column == kLine) {
      out += "\r\n";
      column = 0;
    }
  }
  return out;
}

std::string in_quoted_printable(std::string_view text) {
  std::string out;
  size_t column = 0;
  for (const char c : text) {
    if (c != '\n' && column + 3 >= kLine) {
      out += "=\r\n";
      column = 0;
    }
    const size_t before = out.size();
    if (c == '\n') {
      out += "\r\n";
    } else if (c == '=' || static_cast<unsigned char>(c) >= 0x80) {
      append_escaped(out, c);
    } else {
      out += c;
    }
    column = c == '\n' ? 0 : column + out.size() - before;
  }
  return out;
}

void measure_copy(benchmark::State& state, std::string_view text) {
  const std::unique_ptr<char[]> copy(new char[text.size()]);
  measure(state, text.size(), [&] {
    memcpy(copy.get(), text.data(), text.size());
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  });
}
