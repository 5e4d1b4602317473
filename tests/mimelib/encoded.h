#pragma once

#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "dw_strings.h"
#include "mimelib/decode.h"

/// A test case of a decoder of bodies: a text, the expected bytes, and the expected result code.
struct Encoded : NamedRow {
  std::string_view text;
  std::string_view want;
  int status;
};

inline void expect_decoded(const Encoded& row, int (*decode)(const DwString&, DwString&)) {
  DwString out("replaced");
  EXPECT_EQ(decode(string_of(row.text), out), row.status);
  EXPECT_EQ(bytes_of(out), row.want);
}
