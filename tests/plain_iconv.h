#ifndef TESTS_PLAIN_ICONV_H
#define TESTS_PLAIN_ICONV_H

#include <cerrno>
#include <optional>
#include <string>

#include <iconv.h>

/// What iconv alone makes of `text`, 4096 bytes of output at a time, with a "?" for each byte that
/// it rejects; nothing where it does not know a name or the conversion fails.
inline std::optional<std::string> convert_by_iconv(std::string text, const std::string& from,
                                                   const std::string& to, bool replace_invalid) {
  const iconv_t handle = iconv_open(to.c_str(), from.c_str());
  if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string output;
  char* in = text.data();
  size_t left = text.size();
  int error = 0;
  while (left > 0) {
    char chunk[4096];
    char* out = chunk;
    size_t out_left = sizeof chunk;
    const size_t before = left;
    errno = 0;
    iconv(handle, &in, &left, &out, &out_left);
    error = errno;
    output.append(chunk, sizeof chunk - out_left);
    if (error == EILSEQ && replace_invalid) {
      error = 0;
      if (left == 0) break;
      ++in;
      --left;
      output += '?';
    } else if ((error != 0 && error != E2BIG) || (left == before && out == chunk)) {
      error = EINVAL;
      break;
    }
  }
  iconv_close(handle);
  if (error != 0 && error != E2BIG) return std::nullopt;
  return output;
}

#endif
