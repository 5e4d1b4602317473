#pragma once

/// Controls the iconv functions that replace the C library's in this program: they count open
/// conversions and fail on demand.
struct IconvSpy {
  int open = 0;                ///< conversions that are open
  int steps = 0;               ///< calls that converted something
  bool closing_fails = false;  ///< `iconv_close` reports a failure
  bool moves = true;           ///< false: a step reads and writes nothing
  bool reads = true;           ///< false: a step fills the output and reads nothing
};
extern IconvSpy iconv_spy;
