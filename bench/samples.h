#pragma once

#include <benchmark/benchmark.h>
#include <cstddef>
#include <string>
#include <string_view>

/// How long each sample is, in bytes: more than the processor's inner caches hold.
constexpr size_t kSampleSize = size_t{4} << 20;

/// Lines of letters and blanks, of which one in ten is not ASCII.
std::string sample_in_utf8();
std::string sample_in_latin1();
/// Such lines in ASCII only.
std::string sample_in_ascii();
/// Any bytes, the same in each run.
std::string sample_bytes();

/// `bytes` in base64 in lines of 76 characters (RFC 2045, 6.8).
std::string in_base64(std::string_view bytes);
/// `text` in quoted-printable in lines of at most 76 characters (RFC 2045, 6.7).
std::string in_quoted_printable(std::string_view text);

/// Runs `work` for as long as the benchmark wants it; the rate counts `size` bytes for each run.
template <class Work>
void measure(benchmark::State& state, size_t size, Work work) {
  for (auto _ : state) work();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

/// Measures a copy of `text`: nothing can be faster.
void measure_copy(benchmark::State& state, std::string_view text);
