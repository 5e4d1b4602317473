#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../named_row.h"
#include "support/get.h"
#include "support/lookup.h"

namespace {

constexpr const char* kAssertion =
    R"(Assertion `param_val == NULL || strpbrk(param_val, "\\\"'") == NULL' failed.)";

struct Key : NamedRow {
  const char* key;
};

class ParamCheckDeathTest : public testing::TestWithParam<Key> {};

TEST_P(ParamCheckDeathTest, AbortsBeforeThereIsAStatement) {
  EXPECT_EXIT(get_misc_param(GetParam().key, nullptr), testing::KilledBySignal(SIGABRT),
              testing::AllOf(testing::HasSubstr(" get:"), testing::HasSubstr(kAssertion)));
}

TEST_P(ParamCheckDeathTest, SaysWhere) {
  EXPECT_EXIT(kem::assert_plain_params({GetParam().key}, "put", 42, "put_misc_param"),
              testing::KilledBySignal(SIGABRT),
              testing::AllOf(testing::HasSubstr(" put:42: put_misc_param: "),
                             testing::HasSubstr(kAssertion)));
}

constexpr Key kKeys[] = {
    {"SingleQuote", "admin'email"},    {"DoubleQuote", "admin\"email"},
    {"Backslash", "admin\\email"},     {"QuoteAtTheStart", "'admin_email"},
    {"QuoteAtTheEnd", "admin_email'"}, {"QuoteAlone", "'"},
    {"QuoteAfterUtf8", "\xC3\xBC'"},
};

INSTANTIATE_TEST_SUITE_P(Rows, ParamCheckDeathTest, testing::ValuesIn(kKeys));

// A refused key would end the process.
TEST(ParamCheck, AcceptsEveryOtherByte) {
  std::string key;
  for (int code = 1; code < 256; ++code) {
    if (code != '\\' && code != '"' && code != '\'') key += static_cast<char>(code);
  }
  ASSERT_EQ(key.size(), 252U);
  kem::assert_plain_params({key.c_str()}, "get", 1, "get_misc_param");
}

TEST(ParamCheck, AcceptsAnEmptyKeyAndNull) {
  kem::assert_plain_params({""}, "get", 1, "get_misc_param");
  kem::assert_plain_params({nullptr}, "get", 1, "get_misc_param");
}

TEST(ParamCheck, LooksAtNothingAfterTheNul) {
  kem::assert_plain_params({"admin_email\0'"}, "get", 1, "get_misc_param");
}

}  // namespace
