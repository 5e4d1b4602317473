#include <string_view>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/reply/shell.h"

using namespace std::string_view_literals;

namespace {

struct Row : NamedRow {
  std::string_view text;
  std::string_view want;
};

class WithoutQuotes : public testing::TestWithParam<Row> {};

TEST_P(WithoutQuotes, IsTheAddressInAnArgument) {
  EXPECT_EQ(without_quotes(GetParam().text), GetParam().want);
}

constexpr Row kRows[] = {
    {"Plain", "otto@customer.example", "otto@customer.example"},
    {"Quoted", "\"a b\"@x.example", "a b@x.example"},
    {"QuotedAt", "\"a@b\"@x.example", "a@b@x.example"},
    {"EscapedQuote", R"("a\"b\\c"@x.example)", R"(a"b\c@x.example)"},
    {"QuotedWord", "\"a b\".c@x.example", "a b.c@x.example"},
    {"BackslashOutsideQuotes", R"(a\b@x.example)", R"(a\b@x.example)"},
    {"BackslashAtTheEnd", R"("a\@x.example)", R"(a\@x.example)"},
    {"Option", "\"-bs\"@x.example", "-bs@x.example"},
    {"NoAt", "\"a b\"", "a b"},
    {"QuotesInTheDomain", "a@\"b\"", "a@\"b\""},
    {"Nothing", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Rows, WithoutQuotes, testing::ValuesIn(kRows));

}  // namespace
