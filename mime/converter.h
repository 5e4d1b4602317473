#ifndef MIME_CONVERTER_H
#define MIME_CONVERTER_H

#include <cstddef>
#include <string>
#include <string_view>

#include <iconv.h>

/// Names that are longer, in bytes, are no charset's.
constexpr size_t kLongestCharsetName = 256;

/// One open conversion of the iconv interface.
class Converter {
 public:
  /// The names of two charsets, any bytes up to the first NUL. A name that is longer than any
  /// charset's is not looked up, because the C library's time for it grows with its square.
  Converter(const std::string& to, const std::string& from);
  ~Converter() { Close(); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  Converter(Converter&& other) noexcept;

  /// False where one of the names is unknown.
  bool IsOpen() const;

  /// What became of a piece of text.
  struct Step {
    int error;                ///< the error number that iconv left; 0 for none
    size_t consumed;          ///< bytes of the piece
    std::string_view output;  ///< in the buffer
  };

  /// How much text a step should get at most, in bytes. What it becomes fits into the output buffer
  /// even where each byte becomes twelve, because in this C library some converters never come out
  /// of a full one. With a suffix such as "//IGNORE" it is all of the text: what iconv then does
  /// with invalid bytes depends on where a step ends, and is to stay as it always was.
  size_t MostInput() const { return most_input_; }

  /// The output of one step.
  using Buffer = char[4096];

  /// Converts `piece`, which continues what the steps before have consumed.
  Step Convert(std::string_view piece, Buffer& buffer);

  /// Closes the conversion; false where that failed. The destructor does not report it.
  bool Close();

 private:
  iconv_t handle_;
  size_t most_input_;
};

#endif
