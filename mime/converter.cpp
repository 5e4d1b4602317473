#include "mime/converter.h"

#include <cerrno>
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
