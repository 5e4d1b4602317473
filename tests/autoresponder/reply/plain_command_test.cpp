#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "../../named_row.h"
#include "autoresponder/reply/direct_run.h"

namespace {

using testing::ElementsAreArray;
using namespace std::string_literals;

struct Plain : NamedRow {
  const char* line;
  std::vector<std::string> words;
  std::string input;
};

class PlainLine : public testing::TestWithParam<Plain> {};

TEST_P(PlainLine, NeedsNoShell) {
  const auto command = plain_command(GetParam().line);
  ASSERT_TRUE(command.has_value());
  EXPECT_THAT(command->words, ElementsAreArray(GetParam().words));
  EXPECT_EQ(command->input, GetParam().input);
}

const Plain kPlain[] = {
    {{"Reply"},
     "/q/bin/sendmail -f 'a@b' 'c d@e' </tmp/kem-response-uu-x",
     {"/q/bin/sendmail", "-f", "a@b", "c d@e"},
     "/tmp/kem-response-uu-x"},
    {{"Forwarding"},
     "/q/bin/sendmail -f 'a@b'  c@d e+f@g  <'/tmp/x y'",
     {"/q/bin/sendmail", "-f", "a@b", "c@d", "e+f@g"},
     "/tmp/x y"},
    {{"NoInput"}, "/bin/true", {"/bin/true"}, ""},
    {{"EmptyWord"}, "/bin/x '' -f", {"/bin/x", "", "-f"}, ""},
    {{"PartsOfAWord"}, "/bin/x a'b c'd''", {"/bin/x", "ab cd"}, ""},
    {{"QuotedProgram"}, "'/bin/a b' c", {"/bin/a b", "c"}, ""},
    {{"Tabs"}, "\t/bin/x\t \ta\t", {"/bin/x", "a"}, ""},
    {{"EverythingInQuotes"}, "/bin/x '$a`b`\"\\\n*'", {"/bin/x", "$a`b`\"\\\n*"}, ""},
    {{"BytesInQuotes"}, "/bin/x '\xC3\xBC\x81'", {"/bin/x", "\xC3\xBC\x81"}, ""},
    {{"BlankAfterTheSign"}, "/bin/x < a", {"/bin/x"}, "a"},
    {{"DigitsBeforeTheInput"}, "/bin/x 2 <a", {"/bin/x", "2"}, "a"},
    {{"EqualSignInAnArgument"}, "/bin/x a=b", {"/bin/x", "a=b"}, ""},
    {{"RelativePath"}, "./x", {"./x"}, ""},
};

INSTANTIATE_TEST_SUITE_P(Lines, PlainLine, testing::ValuesIn(kPlain),
                         [](const auto& row) { return row.param.name; });

struct ForShell : NamedRow {
  std::string line;
};

class ShellLine : public testing::TestWithParam<ForShell> {};

TEST_P(ShellLine, NeedsAShell) {
  EXPECT_FALSE(plain_command(GetParam().line).has_value());
}

const ForShell kForShell[] = {
    {{"Empty"}, ""},
    {{"Blanks"}, "  "},
    {{"OnlyInput"}, "<a"},
    {{"NoPath"}, "echo a"},
    {{"EmptyProgram"}, "'' a"},
    {{"Assignment"}, "A=/bin/x b"},
    {{"OpenQuote"}, "/bin/x 'a"},
    {{"DoubleQuote"}, "/bin/x \"a\""},
    {{"Backslash"}, "/bin/x a\\b"},
    {{"EscapedQuote"}, "/bin/x 'a'\\''b'"},
    {{"Dollar"}, "/bin/x $a"},
    {{"Backquote"}, "/bin/x `a`"},
    {{"Pipe"}, "/bin/x | /bin/y"},
    {{"Sequence"}, "/bin/x ; /bin/y"},
    {{"Background"}, "/bin/x &"},
    {{"Newline"}, "/bin/x\n/bin/y"},
    {{"Pattern"}, "/bin/x *"},
    {{"Question"}, "/bin/x ?"},
    {{"Bracket"}, "/bin/x [a]"},
    {{"Home"}, "/bin/x ~"},
    {{"Comment"}, "/bin/x #a"},
    {{"Not"}, "! /bin/x"},
    {{"Group"}, "(/bin/x)"},
    {{"Brace"}, "/bin/x {a}"},
    {{"Output"}, "/bin/x >a"},
    {{"HereDocument"}, "/bin/x <<a"},
    {{"InputAndOutput"}, "/bin/x <>a"},
    {{"TwoInputs"}, "/bin/x <a <b"},
    {{"InputInTheMiddle"}, "/bin/x <a b"},
    {{"NoInputAfterTheSign"}, "/bin/x <"},
    {{"EmptyInput"}, "/bin/x <''"},
    {{"OtherDescriptor"}, "/bin/x 2<a"},
    {{"InputWithoutABlank"}, "/bin/x a<b"},
    {{"InputOfADescriptor"}, "/bin/x <&2"},
    {{"BytesOutsideOfQuotes"}, "/bin/x \xC3\xBC"},
    {{"CarriageReturn"}, "/bin/x \r"},
    {{"Nul"}, "/bin/x a\0b"s},
};

INSTANTIATE_TEST_SUITE_P(Lines, ShellLine, testing::ValuesIn(kForShell),
                         [](const auto& row) { return row.param.name; });

}  // namespace
