// Measures the decoders of bodies and of encoded words, glib's, and a copy.

#include <glib.h>

#include <mimelib/mimepp.h>

#include "mime/encoded_text.h"
#include "samples.h"

namespace {

void measure_body(benchmark::State& state, const std::string& text,
                  int (*decode)(const DwString&, DwString&)) {
  const DwString in(text.data(), text.size());
  measure(state, text.size(), [&] {
    DwString out;
    decode(in, out);
    benchmark::DoNotOptimize(out.data());
  });
}

void measure_glib_base64(benchmark::State& state, const std::string& text) {
  measure(state, text.size(), [&] {
    gsize length = 0;
    guchar* out = g_base64_decode(text.c_str(), &length);
    benchmark::DoNotOptimize(out);
    g_free(out);
  });
}

void measure_word(benchmark::State& state, const std::string& data,
                  std::string (*decode)(std::string_view)) {
  measure(state, data.size(), [&] { benchmark::DoNotOptimize(decode(data)); });
}

// The form of an encoded word's data: no line ends, no "=".
std::string one_line_of_base64() {
  std::string data = in_base64(sample_bytes());
  std::string line;
  for (const char c : data) {
    if (c != '\r' && c != '\n') line += c;
  }
  return line;
}

std::string one_line_of_q() {
  std::string text = sample_in_utf8();
  for (char& c : text) {
    if (c == '\n') c = ' ';
  }
  std::string data;
  for (const char c : in_quoted_printable(text)) {
    if (c == '\r' || c == '\n') {
      if (!data.empty() && data.back() == '=') data.pop_back();
    } else {
      data += c == ' ' ? '_' : c;
    }
  }
  return data;
}

}  // namespace

static void base64_body(benchmark::State& state) {
  measure_body(state, in_base64(sample_bytes()), DwDecodeBase64);
}
BENCHMARK(base64_body);

static void base64_body_by_glib(benchmark::State& state) {
  measure_glib_base64(state, in_base64(sample_bytes()));
}
BENCHMARK(base64_body_by_glib);

static void quoted_printable_body(benchmark::State& state) {
  measure_body(state, in_quoted_printable(sample_in_utf8()), DwDecodeQuotedPrintable);
}
BENCHMARK(quoted_printable_body);

static void quoted_printable_body_of_escapes(benchmark::State& state) {
  measure_body(state, in_quoted_printable(std::string(kSampleSize, '\xFC')),
               DwDecodeQuotedPrintable);
}
BENCHMARK(quoted_printable_body_of_escapes);

static void base64_word(benchmark::State& state) {
  measure_word(state, one_line_of_base64(), base64_decode);
}
BENCHMARK(base64_word);

static void base64_word_by_glib(benchmark::State& state) {
  measure_glib_base64(state, one_line_of_base64());
}
BENCHMARK(base64_word_by_glib);

static void q_word(benchmark::State& state) {
  measure_word(state, one_line_of_q(), qp_decode);
}
BENCHMARK(q_word);

static void body_copied(benchmark::State& state) {
  measure_copy(state, sample_in_utf8());
}
BENCHMARK(body_copied);
