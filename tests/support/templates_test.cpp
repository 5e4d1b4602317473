#include "support/templates.h"

#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "../named_row.h"

namespace {

#define X8 "xxxxxxxx"
#define X32 X8 X8 X8 X8
#define N8 "nnnnnnnn"
#define N32 N8 N8 N8 N8

constexpr NamedValue kTable[] = {
    {"<name", "inner"}, {"a", "1"},           {"empty", ""},
    {"name", "value"},  {"nested", "<name>"}, {N32, "32"},
    {N32 "n", "33"},    {"none", nullptr},    {"\xC3\xBC", "ue"},
};
constexpr int kCount = static_cast<int>(std::size(kTable));

struct Outcome {
  SubstResult result;
  // The whole output buffer and the byte after it, NULs as "$", without the untouched bytes at
  // its end.
  std::string bytes;
};

// Fills the template into a buffer of `capacity` bytes and one for the NUL, with a guard byte after
// it.
Outcome substitute(char open, char close, const char* text, int capacity, int options) {
  constexpr char kUntouched = '#';
  std::string buffer(static_cast<size_t>(capacity) + 2, kUntouched);
  Outcome outcome{{77, 77, options, 77}, {}};
  char* const output =
      template_subst(open, close, kTable, kCount, text, buffer.data(), capacity, &outcome.result);
  EXPECT_EQ(output, buffer.data());
  EXPECT_EQ(outcome.result.options, options);
  EXPECT_EQ(buffer.back(), kUntouched) << "the byte after the buffer";
  for (char& c : buffer) {
    if (c == '\0') c = '$';
  }
  outcome.bytes = buffer.substr(0, buffer.find_last_not_of(kUntouched) + 1);
  return outcome;
}

struct Template : NamedRow {
  const char* text;
  int capacity;
  int options;
  int consumed;
  int written;
  int status;
  const char* bytes;
};

class TemplateSubst : public testing::TestWithParam<Template> {};

TEST_P(TemplateSubst, Fills) {
  const Template& row = GetParam();
  const Outcome got = substitute('<', '>', row.text, row.capacity, row.options);
  EXPECT_EQ(got.bytes, row.bytes);
  EXPECT_EQ(got.result.consumed, row.consumed);
  EXPECT_EQ(got.result.written, row.written);
  EXPECT_EQ(got.result.status, row.status);
}

constexpr int kStop = kStopBeforeValue;
constexpr int kKeep = kKeepUnknown;

constexpr Template kDelimiters[] = {
    {"PlainText", "Hello", 99, 0, 5, 5, 0, "Hello$"},
    {"EmptyTemplate", "", 99, 0, 0, 0, 0, "$"},
    {"PlaceholderAlone", "<name>", 99, 0, 6, 5, 0, "value$"},
    {"PlaceholderInText", "a <name> b", 99, 0, 10, 9, 0, "a value b$"},
    {"TwoPlaceholders", "<a><name>", 99, 0, 9, 6, 0, "1value$"},
    {"SamePlaceholderTwice", "<a>,<a>", 99, 0, 7, 3, 0, "1,1$"},
    {"EmptyValue", "x<empty>y", 99, 0, 9, 2, 0, "xy$"},
    {"NullValue", "x<none>y", 99, 0, 8, 2, 0, "xy$"},
    {"NullValueIsNotUnknown", "x<none>y", 99, kKeep, 8, 2, 0, "xy$"},
    {"ValueNotFilledAgain", "<nested>", 99, 0, 8, 6, 0, "<name>$"},
    {"EightBitName", "<\xC3\xBC>", 99, 0, 4, 2, 0, "ue$"},
    {"UnknownDropped", "x<nosuch>y", 99, 0, 10, 2, 0, "xy$"},
    {"UnknownAloneDropped", "<nosuch>", 99, 0, 8, 0, 0, "$"},
    {"UnknownKept", "x<nosuch>y", 99, kKeep, 10, 10, 2, "x<nosuch>y$"},
    {"UnknownKeptBeforeKnown", "<nosuch><name>", 99, kKeep, 14, 13, 2, "<nosuch>value$"},
    {"UnknownKeptAfterKnown", "<name><nosuch>", 99, kKeep, 14, 13, 2, "value<nosuch>$"},
    {"OtherCaseIsUnknown", "<NAME>", 99, kKeep, 6, 6, 2, "<NAME>$"},
    {"BlankInNameIsUnknown", "< name>", 99, kKeep, 7, 7, 2, "< name>$"},
    {"LineEndInNameIsUnknown", "<a\n>", 99, 0, 4, 0, 0, "$"},
    {"PartOfANameIsUnknown", "<nam>", 99, 0, 5, 0, 0, "$"},
    {"NoName", "<>", 99, 0, 2, 2, 0, "<>$"},
    {"NoNameIsNotUnknown", "<>", 99, kKeep, 2, 2, 0, "<>$"},
    {"PlaceholderAfterNoName", "<><name>", 99, 0, 8, 7, 0, "<>value$"},
    {"NameOfOneByte", "<a>", 99, 0, 3, 1, 0, "1$"},
    {"NameOf32Bytes", "<" N32 ">", 99, 0, 34, 2, 0, "32$"},
    {"NameOf33Bytes", "<" N32 "n>", 99, 0, 35, 35, 0, "<" N32 "n>$"},
    {"NameOf33BytesIsNotUnknown", "<" N32 "n>", 99, kKeep, 35, 35, 0, "<" N32 "n>$"},
    {"UnknownNameOf32Bytes", "<" X32 ">", 99, kKeep, 34, 34, 2, "<" X32 ">$"},
    {"PlaceholderAfterNameOf33Bytes", "<" N32 "n><a>", 99, 0, 38, 36, 0, "<" N32 "n>1$"},
    {"OpenAlone", "<", 99, 0, 1, 1, 0, "<$"},
    {"CloseAlone", ">", 99, 0, 1, 1, 0, ">$"},
    {"NeverClosed", "<name", 99, kKeep, 5, 5, 0, "<name$"},
    {"NeverOpened", "name>", 99, kKeep, 5, 5, 0, "name>$"},
    {"CloseBeforeOpen", "><name>", 99, 0, 7, 6, 0, ">value$"},
    {"ClosedTwice", "<name>>", 99, 0, 7, 6, 0, "value>$"},
    {"OpenIsPartOfTheName", "<<name>", 99, 0, 7, 5, 0, "inner$"},
    {"OpenIsPartOfAnUnknownName", "<<a>", 99, 0, 4, 0, 0, "$"},
    {"OpenIsPartOfAKeptName", "<<a>", 99, kKeep, 4, 4, 2, "<<a>$"},
    {"OpenIsTheName", "<<>", 99, kKeep, 3, 3, 2, "<<>$"},
    {"TextBetweenTwoOpens", "<text <name>", 99, 0, 12, 0, 0, "$"},
    {"SecondOpenWithin33Bytes", "<" X32 "<name>", 99, 0, 39, 39, 0, "<" X32 "<name>$"},
    {"SecondOpenAfter33Bytes", "<" X32 "x<name>", 99, 0, 40, 39, 0, "<" X32 "xvalue$"},
};

INSTANTIATE_TEST_SUITE_P(Delimiters, TemplateSubst, testing::ValuesIn(kDelimiters));

constexpr Template kCapacities[] = {
    {"NoRoomForText", "Hello", 0, 0, 0, 0, 0, "$"},
    {"NoRoomForPlaceholder", "<name>", 0, kStop, 0, 0, 0, "$"},
    {"OneByteForNothing", "", 1, 0, 0, 0, 0, "$"},
    {"OneByteForOne", "H", 1, 0, 1, 1, 0, "H"},
    {"OneByteForMany", "Hello", 1, 0, 1, 1, 0, "H"},
    {"TwoBytesForOneAndItsNul", "H", 2, 0, 1, 1, 0, "H$"},
    {"TextOneByteTooLong", "Hello", 4, 0, 4, 4, 0, "Hell"},
    {"TextWithoutRoomForItsNul", "Hello", 5, 0, 5, 5, 0, "Hello"},
    {"TextWithItsNul", "Hello", 6, 0, 5, 5, 0, "Hello$"},
    {"TextBeforePlaceholderOneByteTooLong", "ab<name>", 1, 0, 1, 1, 0, "a"},
    {"TextBeforePlaceholderFills", "ab<name>", 2, 0, 8, 2, 0, "ab"},
    {"TextBeforePlaceholderFillsAndStops", "ab<name>", 2, kStop, 2, 2, 1, "ab"},
    {"TextBeforeDroppedFills", "ab<nosuch>", 2, 0, 10, 2, 0, "ab"},
    {"TextBeforeNullFills", "ab<none>", 2, kStop, 8, 2, 0, "ab"},
    {"TextBeforeEmptyFills", "ab<empty>", 2, kStop, 9, 2, 0, "ab"},
    {"StopDoesNotKeepTextWhole", "abc", 1, kStop, 1, 1, 0, "a"},
    {"OneByteOfAValue", "<name>", 1, 0, 6, 1, 0, "v"},
    {"ValueOneByteTooLong", "<name>", 4, 0, 6, 4, 0, "valu"},
    {"StopBeforeValueOneByteTooLong", "<name>", 4, kStop, 0, 0, 1, "$"},
    {"ValueFills", "<name>", 5, 0, 6, 5, 0, "value"},
    {"ValueFillsWithoutStop", "<name>", 5, kStop, 6, 5, 0, "value"},
    {"ValueAndNul", "<name>", 6, 0, 6, 5, 0, "value$"},
    {"StopAfterText", "ab<name>c", 6, kStop, 2, 2, 1, "ab"},
    {"CutValueAfterText", "ab<name>c", 6, 0, 8, 6, 0, "abvalu"},
    {"NothingAfterACutValue", "<name><a>", 3, 0, 6, 3, 0, "val"},
    {"StopAfterAValue", "<a><name><a>", 5, kStop, 3, 1, 1, "1"},
    {"LastTextAfterAFullBuffer", "ab<name>c", 7, kStop, 8, 7, 0, "abvalue"},
    {"LastTextWithoutRoomForItsNul", "<name>x", 6, 0, 7, 6, 0, "valuex"},
    {"LastTextWithItsNul", "<name>x", 7, 0, 7, 6, 0, "valuex$"},
    {"LastTextCut", "<name>xyz", 6, 0, 7, 6, 0, "valuex"},
    {"KeptPlaceholderCut", "x<nosuch>y", 4, kKeep, 4, 4, 2, "x<no"},
    {"KeptPlaceholderFills", "<nosuch><a>", 8, kKeep, 11, 8, 2, "<nosuch>"},
    {"KeptPlaceholderAndStop", "<nosuch><name>", 10, kKeep | kStop, 8, 8, 3, "<nosuch>"},
    {"NoStatusOfPlaceholdersAfterTheEnd", "<name><nosuch>", 3, kKeep, 6, 3, 0, "val"},
};

INSTANTIATE_TEST_SUITE_P(Capacities, TemplateSubst, testing::ValuesIn(kCapacities));

TEST(TemplateDelimiters, AreArguments) {
  EXPECT_EQ(substitute('{', '}', "<name> {name}", 99, 0).bytes, "<name> value$");
}

TEST(TemplateDelimiters, CanBeTheSame) {
  EXPECT_EQ(substitute('%', '%', "%name%!", 99, 0).bytes, "value!$");
  EXPECT_EQ(substitute('%', '%', "%%", 99, 0).bytes, "%%$");
  EXPECT_EQ(substitute('%', '%', "100% of %a%", 99, 0).bytes, "100a%$");
}

SubstResult substitute_nothing(const NamedValue* table, int count, const char* text, char* output,
                               int capacity) {
  SubstResult result{77, 77, kStopBeforeValue, 77};
  EXPECT_EQ(template_subst('<', '>', table, count, text, output, capacity, &result), output);
  EXPECT_EQ(result.options, kStopBeforeValue);
  return result;
}

void expect_nothing(const SubstResult& result) {
  EXPECT_EQ(result.consumed, 0);
  EXPECT_EQ(result.written, 0);
  EXPECT_EQ(result.status, 0);
}

TEST(TemplateNothing, IsWrittenForANullTemplate) {
  char output[] = "##";
  expect_nothing(substitute_nothing(kTable, kCount, nullptr, output, 1));
  EXPECT_EQ(std::string_view(output, 2), std::string_view("\0#", 2));
}

TEST(TemplateNothing, IsWrittenWithAnEmptyTable) {
  char output[] = "##";
  expect_nothing(substitute_nothing(kTable, 0, "text", output, 1));
  EXPECT_EQ(std::string_view(output, 2), std::string_view("\0#", 2));
}

TEST(TemplateTable, KnowsNoNameIfItIsNullOrItsCountIsNegative) {
  for (const auto& [table, count] : {std::pair(static_cast<const NamedValue*>(nullptr), 3),
                                     std::pair(static_cast<const NamedValue*>(kTable), -1)}) {
    for (const auto& [options, want, status] :
         {std::tuple(0, "text ", 0), std::tuple(int{kKeepUnknown}, "text <name>", 2)}) {
      char output[100] = "";
      SubstResult result{0, 0, options, 0};
      template_subst('<', '>', table, count, "text <name>", output, 99, &result);
      EXPECT_STREQ(output, want);
      EXPECT_EQ(result.consumed, 11);
      EXPECT_EQ(result.status, status);
    }
  }
}

TEST(TemplateNothing, IsWrittenWithANegativeCapacity) {
  char output[] = "##";
  expect_nothing(substitute_nothing(kTable, kCount, "text", output, -1));
  EXPECT_EQ(std::string_view(output, 2), std::string_view("\0#", 2));
}

TEST(TemplateNothing, IsWrittenToANullOutput) {
  expect_nothing(substitute_nothing(kTable, kCount, "text", nullptr, 99));
}

TEST(TemplateLong, CutsALongTextAtTheCapacity) {
  const std::string text = std::string(998, 'x') + "<name>" + std::string(100000, 'y');
  const Outcome got = substitute('<', '>', text.c_str(), 999, kKeepUnknown);
  EXPECT_EQ(got.bytes, std::string(998, 'x') + "v");
  EXPECT_EQ(got.result.consumed, 1004);
  EXPECT_EQ(got.result.written, 999);
}

TEST(TemplateLong, ReadsAMillionOpeningDelimiters) {
  const std::string text(1000000, '<');
  const Outcome got = substitute('<', '>', text.c_str(), 999, kKeepUnknown);
  EXPECT_EQ(got.bytes, std::string(999, '<'));
  EXPECT_EQ(got.result.status, 0);
}

}  // namespace
