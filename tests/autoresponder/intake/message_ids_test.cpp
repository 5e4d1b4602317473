#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/intake/automatic_mail.h"
#include "autoresponder/message/courtesy_facts.h"

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Row : NamedRow {
  std::string_view body;
  std::string_view want;
};

class MessageIds : public testing::TestWithParam<Row> {};

TEST_P(MessageIds, Are) {
  std::string all;
  for (const std::string& id : message_ids(GetParam().body, 20)) all += id;
  EXPECT_EQ(all, GetParam().want);
}

constexpr Row kRows[] = {
    {"NoneInNothing", "", ""},
    {"One", "<a.b$1@x.example>", "<a.b$1@x.example>"},
    {"WithADomainInBrackets", "<a@[192.0.2.1]>", "<a@[192.0.2.1]>"},
    {"Several", "<a@x> <b@x>\r\n\t<c@x>", "<a@x><b@x><c@x>"},
    {"SeveralWithoutBlanks", "<a@x><b@x>", "<a@x><b@x>"},
    {"BetweenComments", "(<no@x>) <a@x> (a (b) c)", "<a@x>"},
    {"AfterAPhrase", "Your message of Monday \"<no@x>\" <a@x>", "<a@x>"},
    {"NotWithoutBrackets", "a@x", ""},
    {"NotWithoutAnAt", "<a>", ""},
    {"NotWithTwoAts", "<a@b@x>", ""},
    {"NotWithoutALeftSide", "<@x>", ""},
    {"NotWithoutARightSide", "<a@>", ""},
    {"NotWithADotAtTheStart", "<.a@x>", ""},
    {"NotWithADotAtTheEnd", "<a@x.>", ""},
    {"NotWithTwoDots", "<a..b@x>", ""},
    {"NotWithBlanks", "<a b@x>", ""},
    {"NotWithAFold", "<a\r\n @x>", ""},
    {"NotWithALineEnd", "<a@x\r>", ""},
    {"NotWithQuotes", "<\"a\"@x>", ""},
    {"NotWithANul", "<a\0@x>"sv, ""},
    {"NotWithDel", "<a\x7f@x>", ""},
    {"NotInUtf8", "<grüße@x>", ""},
    {"NotWithAColon", "<a:b@x>", ""},
    {"NotWithAnOpenLiteral", "<a@[b>", ""},
    {"NotWithALiteralInALiteral", "<a@[[b]]>", ""},
    {"NotWithABackslash", "<a@[\\b]>", ""},
    {"NotIfNeverClosed", "<a@x", ""},
    {"TheSecondOfTwoOpened", "<a@x<b@x>", "<b@x>"},
    {"AfterABadOne", "<a@x.> <b@x>", "<b@x>"},
    {"NoneAfterACommentThatIsNotClosed", "<a@x> (<b@x>", "<a@x>"},
};

INSTANTIATE_TEST_SUITE_P(Rows, MessageIds, testing::ValuesIn(kRows));

TEST(MessageIds, OfMoreThanAreWantedAreTheFirstAndTheLast) {
  EXPECT_THAT(message_ids("<a@x> <b@x> <c@x> <d@x> <e@x>", 3),
              ElementsAre("<a@x>", "<d@x>", "<e@x>"));
  EXPECT_THAT(message_ids("<a@x> <b@x> <c@x>", 2), ElementsAre("<a@x>", "<c@x>"));
}

TEST(MessageIds, AreNotTooLongForALine) {
  const std::string left(kMaxMessageId - 4, 'x');
  EXPECT_THAT(message_ids("<" + left + "@y>", 20), ElementsAre("<" + left + "@y>"));
  EXPECT_THAT(message_ids("<" + left + "x@y>", 20), IsEmpty());
}

}  // namespace
