#pragma once

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include <iconv.h>

/// Converts `text` by iconv alone, with a "?" for each byte that it rejects. Returns nothing if
/// iconv does not know a name or the conversion fails.
///
/// The output buffer is so large that it never fills up, because some converters of this C library
/// hang on a full one. Only a name with a suffix gets the program's buffer size: what "//IGNORE"
/// drops depends on it.
inline std::optional<std::string> convert_by_iconv(std::string text, const std::string& from,
                                                   const std::string& to, bool replace_invalid) {
  const iconv_t handle = iconv_open(to.c_str(), from.c_str());
  if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  const bool has_suffix = (from + to).find('/') != std::string::npos;
  std::vector<char> room(has_suffix ? 4096 : 16 * text.size() + 4096);
  std::string output;
  char* in = text.data();
  size_t left = text.size();
  int error = 0;
  for (int idle = 0; left > 0 && error == 0;) {
    char* out = room.data();
    size_t out_left = room.size();
    const size_t before = left;
    errno = 0;
    iconv(handle, &in, &left, &out, &out_left);
    error = errno;
    output.append(room.data(), room.size() - out_left);
    if (error == EILSEQ && replace_invalid) {
      error = 0;
      idle = 0;
      if (left == 0) break;
      ++in;
      --left;
      output += '?';
      continue;
    }
    if (error == E2BIG) error = 0;
    idle = left == before ? idle + 1 : 0;
    if (idle > 1 || (idle == 1 && out == room.data())) error = EINVAL;
  }
  iconv_close(handle);
  if (error != 0) return std::nullopt;
  return output;
}
