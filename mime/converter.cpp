#include "mime/converter.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <list>
#include <utility>

namespace {

// What `iconv_open` returns on failure.
iconv_t not_open() {
  return reinterpret_cast<iconv_t>(-1);  // NOLINT
}

constexpr size_t kPiece = 300;

bool has_suffix(const std::string& name) {
  return name.find('/') != std::string::npos;
}

iconv_t open(const std::string& to, const std::string& from) {
  if (to.size() > kMaxCharsetName || from.size() > kMaxCharsetName) return not_open();
  return iconv_open(to.c_str(), from.c_str());
}

// More than the number of charsets that the C library has to load.
constexpr size_t kMaxKept = 400;

// The form of a charset name that identifies it: iconv ignores case, a suffix and some punctuation.
std::string normalised(const std::string& name) {
  std::string result;
  for (const char c : name.substr(0, name.find_first_of("/,"))) {
    const auto code = static_cast<unsigned char>(c);
    const bool counts = isalnum(code) != 0 || c == '_' || c == '-' || c == '.' || c == ':';
    if (counts) result += static_cast<char>(toupper(code));
  }
  return result;
}

struct Kept {
  std::string name;
  Converter converter;
};

}  // namespace

Converter::Converter(const std::string& to, const std::string& from)
    : handle_(open(to, from)),
      max_input_(has_suffix(to) || has_suffix(from) ? std::string::npos : kPiece) {}

Converter::Converter(Converter&& other) noexcept
    : handle_(std::exchange(other.handle_, not_open())), max_input_(other.max_input_) {}

bool Converter::IsOpen() const {
  return handle_ != not_open();
}

Converter::Step Converter::Convert(std::string_view piece, Buffer& buffer) {
  // iconv does not write to its input, though its parameter is not const.
  char* in = const_cast<char*>(piece.data());
  size_t in_left = piece.size();
  char* out = buffer;
  size_t out_left = sizeof buffer;
  errno = 0;
  iconv(handle_, &in, &in_left, &out, &out_left);
  return {errno, piece.size() - in_left, {buffer, sizeof buffer - out_left}};
}

bool Converter::Close() {
  if (!IsOpen()) return true;
  return iconv_close(std::exchange(handle_, not_open())) == 0;
}

void keep_charset_loaded(const std::string& charset, const std::string& to_charset) {
  static std::list<Kept> all;  // the most recently used one first
  std::string name = normalised(charset);
  const auto found =
      std::find_if(all.begin(), all.end(), [&name](const Kept& kept) { return kept.name == name; });
  if (found != all.end()) {
    all.splice(all.begin(), all, found);
    return;
  }
  Converter converter(to_charset, charset);
  if (!converter.IsOpen()) return;
  all.push_front({std::move(name), std::move(converter)});
  if (all.size() > kMaxKept) all.pop_back();
}
