#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "mime/header_encode.h"

using namespace std::string_view_literals;

namespace {

struct Row : NamedRow {
  std::string_view text;
  std::string_view want;
};

class FileName : public testing::TestWithParam<Row> {};

TEST_P(FileName, IsReadAsItIs) {
  EXPECT_EQ(file_name_parameter(GetParam().text), GetParam().want);
}

constexpr Row kRows[] = {
    {"Plain", "price-list (2).pdf", "\"price-list (2).pdf\""},
    {"Quote", "a\"b.pdf", R"("a\"b.pdf")"},
    {"Backslash", "a\\b.pdf", R"("a\\b.pdf")"},
    {"EncodedWord", "=?utf-8?Q?a?=",
     "\"=?utf-8?Q?=3D=3Futf=2D8=3FQ=3Fa=3F=3D?=\";\n\tfilename*=UTF-8''%3D%3Futf-8%3FQ%3Fa%3F%3D"},
    {"Umlaut",
     "Gr\xC3\xBC\xC3\x9F"
     "e.pdf",
     "\"=?utf-8?Q?Gr=C3=BC=C3=9Fe.pdf?=\";\n\tfilename*=UTF-8''Gr%C3%BC%C3%9Fe.pdf"},
    {"UmlautAndOthers", "\xC3\xBC \"\\'%.pdf",
     "\"=?utf-8?Q?=C3=BC_=22\\\\'%.pdf?=\";\n\tfilename*=UTF-8''%C3%BC%20%22%5C%27%25.pdf"},
    {"Emoji", "\xF0\x9F\x98\x80", "\"=?utf-8?Q?=F0=9F=98=80?=\";\n\tfilename*=UTF-8''%F0%9F%98%80"},
    {"Control", "a\tb", "\"=?utf-8?Q?a=09b?=\";\n\tfilename*=UTF-8''a%09b"},
    {"NotUtf8", "\xFC.pdf", "\"=?utf-8?Q?=FC.pdf?=\""},
    {"Nothing", "", "\"\""},
};

INSTANTIATE_TEST_SUITE_P(Rows, FileName, testing::ValuesIn(kRows));

}  // namespace
