#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"

/// A test case of a decoder of encoded words: a payload, the expected bytes, and the expected
/// diagnostics on standard error.
struct Payload : NamedRow {
  std::string_view payload;
  std::string_view want;
  std::string_view message;
};

inline void expect_decoded(const Payload& row, std::string (*decode)(std::string_view)) {
  testing::internal::CaptureStderr();
  const std::string got = decode(row.payload);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
  EXPECT_EQ(got, row.want);
}
