#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <iconv.h>

/// The maximum length of a charset name, in bytes. A longer one counts as unknown.
constexpr size_t kMaxCharsetName = 256;

/// An open conversion of iconv.
class Converter {
 public:
  /// Opens a conversion between two charsets, named by any bytes up to the first NUL. A name longer
  /// than `kMaxCharsetName` is not looked up: the C library takes quadratic time for it.
  Converter(const std::string& to, const std::string& from);
  ~Converter() { Close(); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  Converter(Converter&& other) noexcept;

  /// False if one of the charset names is unknown.
  bool IsOpen() const;

  /// The result of converting a piece of text.
  struct Step {
    int error;                ///< the `errno` that iconv set; 0 for none
    size_t consumed;          ///< how many bytes of the piece were read
    std::string_view output;  ///< the converted text, a view into the buffer
  };

  /// The maximum input of one step, in bytes. Its output fits into the buffer even at twelve bytes
  /// for each, because some converters of this C library hang on a full buffer.
  ///
  /// Kept: unlimited for a name with a suffix such as "//IGNORE", because what iconv then does with
  /// invalid bytes depends on where a step ends.
  size_t MaxInput() const { return max_input_; }

  /// Holds the output of one step.
  using Buffer = char[4096];

  /// Converts `piece`, which has to begin at the first byte that earlier steps did not consume.
  Step Convert(std::string_view piece, Buffer& buffer);

  /// Closes the conversion; false if that failed. The destructor closes it too, but ignores
  /// failures.
  bool Close();

 private:
  iconv_t handle_;
  size_t max_input_;
};

/// Keeps `charset` loaded for conversions to `to_charset`. iconv unloads unused charsets; reloading
/// them for each word of a mixed header is slow. Does nothing for an unknown charset. If too many
/// are loaded, the least recently used one is unloaded.
void keep_charset_loaded(const std::string& charset, const std::string& to_charset);
