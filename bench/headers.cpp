// Measures decoding encoded words, encoding a subject, and a copy.

#include <glib.h>
#include <initializer_list>

#include "mime/encoded_word.h"
#include "mime/header_encode.h"
#include "samples.h"

namespace {

// Encoded words of one line each, which take their charsets by turns.
std::string words(std::initializer_list<std::string_view> charsets) {
  std::string value;
  while (value.size() < kSampleSize / 16) {
    for (const std::string_view charset : charsets) {
      value.append("=?").append(charset);
      value.append("?Q?Gr=FC=DFe_aus_dem_Laden_und_vielen_Dank_f=FCr_die_Anfrage?= ");
    }
  }
  value.pop_back();
  return value;
}

void measure_words(benchmark::State& state, const std::string& value) {
  measure(state, value.size(), [&] { benchmark::DoNotOptimize(rfc1522_decode(value)); });
}

}  // namespace

static void encoded_words(benchmark::State& state) {
  measure_words(state, words({"iso-8859-1"}));
}
BENCHMARK(encoded_words);

static void encoded_words_of_five_charsets(benchmark::State& state) {
  measure_words(state,
                words({"iso-8859-1", "koi8-r", "windows-1252", "iso-8859-15", "iso-8859-2"}));
}
BENCHMARK(encoded_words_of_five_charsets);

static void plain_header_value(benchmark::State& state) {
  measure_words(state, sample_in_ascii());
}
BENCHMARK(plain_header_value);

static void header_encoded(benchmark::State& state) {
  const std::string text = sample_in_utf8();
  measure(state, text.size(), [&] { benchmark::DoNotOptimize(header_encode(text)); });
}
BENCHMARK(header_encoded);

static void header_encoded_by_glib_as_uri(benchmark::State& state) {
  const std::string text = sample_in_utf8();
  measure(state, text.size(), [&] {
    char* out = g_uri_escape_string(text.c_str(), nullptr, FALSE);
    benchmark::DoNotOptimize(out);
    g_free(out);
  });
}
BENCHMARK(header_encoded_by_glib_as_uri);

static void header_needs_no_encoding(benchmark::State& state) {
  const std::string text(kSampleSize, 'a');
  measure(state, text.size(), [&] { benchmark::DoNotOptimize(header_encode(text)); });
}
BENCHMARK(header_needs_no_encoding);

static void header_copied(benchmark::State& state) {
  measure_copy(state, sample_in_utf8());
}
BENCHMARK(header_copied);
