// Measures the charset converter, iconv with an output buffer for the whole text, and a copy.

#include <memory>

#include <iconv.h>

#include "mime/charset.h"
#include "samples.h"

namespace {

struct Conversion {
  const char* from;
  const char* to;
  std::string text;
};

Conversion ascii() {
  return {"US-ASCII", "UTF-8", sample_in_ascii()};
}

Conversion utf8() {
  return {"UTF-8", "UTF-8", sample_in_utf8()};
}

Conversion utf8_of_three_bytes() {
  std::string text;
  while (text.size() < kSampleSize) text += "\xE4\xBD\xA0\xE5\xA5\xBD";
  return {"UTF-8", "UTF-8", text};
}

Conversion latin1() {
  return {"ISO-8859-1", "UTF-8", sample_in_latin1()};
}

Conversion windows() {
  return {"windows-1252", "UTF-8", sample_in_latin1()};
}

Conversion to_latin1() {
  return {"UTF-8", "ISO-8859-1", sample_in_utf8()};
}

void by_us(benchmark::State& state, Conversion (*make)()) {
  const Conversion row = make();
  measure(state, row.text.size(),
          [&] { benchmark::DoNotOptimize(convert_charset(row.text, row.from, row.to, true)); });
}

void by_iconv(benchmark::State& state, Conversion (*make)()) {
  Conversion row = make();
  const size_t size = 2 * row.text.size();
  const std::unique_ptr<char[]> output(new char[size]);
  measure(state, row.text.size(), [&] {
    const iconv_t handle = iconv_open(row.to, row.from);
    char* in = row.text.data();
    size_t in_left = row.text.size();
    char* out = output.get();
    size_t out_left = size;
    iconv(handle, &in, &in_left, &out, &out_left);
    benchmark::DoNotOptimize(output.get());
    iconv_close(handle);
  });
}

void charset_copied(benchmark::State& state) {
  measure_copy(state, sample_in_utf8());
}

}  // namespace

BENCHMARK_CAPTURE(by_us, ascii, ascii);
BENCHMARK_CAPTURE(by_iconv, ascii, ascii);
BENCHMARK_CAPTURE(by_us, utf8, utf8);
BENCHMARK_CAPTURE(by_iconv, utf8, utf8);
BENCHMARK_CAPTURE(by_us, utf8_of_three_bytes, utf8_of_three_bytes);
BENCHMARK_CAPTURE(by_iconv, utf8_of_three_bytes, utf8_of_three_bytes);
BENCHMARK_CAPTURE(by_us, latin1, latin1);
BENCHMARK_CAPTURE(by_iconv, latin1, latin1);
BENCHMARK_CAPTURE(by_us, windows, windows);
BENCHMARK_CAPTURE(by_iconv, windows, windows);
BENCHMARK_CAPTURE(by_us, to_latin1, to_latin1);
BENCHMARK_CAPTURE(by_iconv, to_latin1, to_latin1);
BENCHMARK(charset_copied);
