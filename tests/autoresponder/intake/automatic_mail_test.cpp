#include "autoresponder/intake/automatic_mail.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../named_row.h"

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// What the facts say, in words.
std::string words_for(const CourtesyFacts& facts) {
  std::string words;
  if (facts.has_null_return_path) words += "null ";
  if (facts.is_auto_submitted) words += "automatic ";
  if (!facts.list_field.empty()) words += facts.list_field + " ";
  if (facts.is_bulk) words += "bulk ";
  if (facts.suppresses_replies) words += "suppresses ";
  if (facts.is_spam) words += "spam ";
  return words;
}

struct Row : NamedRow {
  std::string_view header;
  std::string_view want;
};

class CourtesyFactsOf : public testing::TestWithParam<Row> {};

TEST_P(CourtesyFactsOf, Are) {
  EXPECT_EQ(words_for(gather_courtesy_facts(GetParam().header)), GetParam().want);
}

constexpr Row kReturnPaths[] = {
    {"Null", "Return-Path: <>\n", "null "},
    {"NullWithABlank", "Return-Path: < >\n", "null "},
    {"NullWithComments", "return-path: (none) <(nobody)> (at all)\n", "null "},
    {"NullAndFolded", "RETURN-PATH:\r\n <>\r\n", "null "},
    {"NullOnTheSecondOne", "Return-Path: <a@b>\nReturn-Path: <>\n", "null "},
    {"NotNullIfEmpty", "Return-Path:\n", ""},
    {"NotNullWithAnAddress", "Return-Path: <a@b>\n", ""},
    {"NotNullInAComment", "Return-Path: (<>) a@b\n", ""},
    {"NotOfAnotherField", "X-Return-Path: <>\n", ""},
    {"NotOfTheBody", "Subject: a\n Return-Path: <>\n", ""},
};

INSTANTIATE_TEST_SUITE_P(ReturnPath, CourtesyFactsOf, testing::ValuesIn(kReturnPaths));

constexpr Row kAutoSubmitted[] = {
    {"Replied", "Auto-Submitted: auto-replied\n", "automatic "},
    {"Generated", "Auto-Submitted: auto-generated\n", "automatic "},
    {"Notified", "Auto-Submitted: auto-notified; owner-email=\"a@b\"\n", "automatic "},
    {"UnknownKeyword", "auto-submitted: x-mine\n", "automatic "},
    {"Empty", "Auto-Submitted:\n", "automatic "},
    {"NoneOfTwo", "Auto-Submitted: no\nAuto-Submitted: auto-replied\n", "automatic "},
    {"BeginsWithNo", "Auto-Submitted: nothing\n", "automatic "},
    {"NoAndMore", "Auto-Submitted: no auto-replied\n", "automatic "},
    {"NoInAComment", "Auto-Submitted: (no) auto-replied\n", "automatic "},
    {"NoInAParameter", "Auto-Submitted: auto-replied; x=no\n", "automatic "},
    {"No", "Auto-Submitted: no\n", ""},
    {"NoInCapitals", "AUTO-SUBMITTED: No\n", ""},
    {"NoWithAComment", "Auto-Submitted: (a person (really)) no (yes)\n", ""},
    {"NoWithParameters", "Auto-Submitted: no; x=auto-replied\n", ""},
    {"NoAndFolded", "Auto-Submitted:\r\n\tno\r\n", ""},
    {"AnotherField", "X-Auto-Submitted: auto-replied\n", ""},
};

INSTANTIATE_TEST_SUITE_P(AutoSubmitted, CourtesyFactsOf, testing::ValuesIn(kAutoSubmitted));

constexpr Row kLists[] = {
    {"Id", "List-Id: Shop news <news.shop.example>\n", "List-Id "},
    {"Help", "List-Help: <mailto:help@x>\n", "List-Help "},
    {"Subscribe", "list-subscribe: <mailto:on@x>\n", "List-Subscribe "},
    {"Unsubscribe", "LIST-UNSUBSCRIBE: <https://x.example/off>\n", "List-Unsubscribe "},
    {"Post", "List-Post: NO\n", "List-Post "},
    {"Owner", "List-Owner: <mailto:owner@x>\n", "List-Owner "},
    {"Archive", "List-Archive: <https://x.example/>\n", "List-Archive "},
    {"IdWhereverItIs", "List-Unsubscribe: <mailto:a@b>\nList-ID: <x>\n", "List-Id "},
    {"EmptyOne", "List-Id:\n", "List-Id "},
    {"NoneOfAnotherName", "List-Price: 5\nListing: 1\nX-List-Id: x\nList: x\nList-: x\n", ""},
    {"NoneInASubject", "Subject: List-Id: x\n", ""},
};

INSTANTIATE_TEST_SUITE_P(List, CourtesyFactsOf, testing::ValuesIn(kLists));

constexpr Row kPrecedences[] = {
    {"Bulk", "Precedence: bulk\n", "bulk "},
    {"List", "precedence: LIST\n", "bulk "},
    {"Junk", "Precedence: (really) Junk (sorry)\n", "bulk "},
    {"OnTheSecondOne", "Precedence: normal\nPrecedence: bulk\n", "bulk "},
    {"NotFirstClass", "Precedence: first-class\n", ""},
    {"NotALongerWord", "Precedence: bulky\n", ""},
    {"NotInAComment", "Precedence: (bulk) normal\n", ""},
    {"NotEmpty", "Precedence:\n", ""},
};

INSTANTIATE_TEST_SUITE_P(Precedence, CourtesyFactsOf, testing::ValuesIn(kPrecedences));

constexpr Row kSuppress[] = {
    {"All", "X-Auto-Response-Suppress: All\n", "suppresses "},
    {"AutoReply", "x-auto-response-suppress: autoreply\n", "suppresses "},
    {"Oof", "X-Auto-Response-Suppress: OOF\n", "suppresses "},
    {"OneOfSeveral", "X-Auto-Response-Suppress: DR, RN, NRN, OOF, AutoReply\n", "suppresses "},
    {"OneOfSeveralFolded", "X-Auto-Response-Suppress: DR,\r\n OOF\r\n", "suppresses "},
    {"OneAfterASemicolon", "X-Auto-Response-Suppress: DR;OOF\n", "suppresses "},
    {"NotOnlyReceipts", "X-Auto-Response-Suppress: DR, RN, NRN\n", ""},
    {"NotNone", "X-Auto-Response-Suppress: None\n", ""},
    {"NotALongerWord", "X-Auto-Response-Suppress: Allow\n", ""},
};

INSTANTIATE_TEST_SUITE_P(Suppress, CourtesyFactsOf, testing::ValuesIn(kSuppress));

constexpr Row kSpam[] = {
    {"Flag", "X-Spam-Flag: YES\n", "spam "},
    {"FlagInSmallLetters", "x-spam-flag: yes\n", "spam "},
    {"Status", "X-Spam-Status: Yes, score=12.1 required=5.0\n\ttests=BAYES_99\n", "spam "},
    {"StatusFolded", "X-Spam-Status:\n yes,score=9\n", "spam "},
    {"NotFlagNo", "X-Spam-Flag: NO\n", ""},
    {"NotStatusNo", "X-Spam-Status: No, score=1.0 tests=YES_IT_IS,yes\n", ""},
    {"NotTheLevel", "X-Spam-Level: *****\nX-Spam-Score: 12\n", ""},
};

INSTANTIATE_TEST_SUITE_P(Spam, CourtesyFactsOf, testing::ValuesIn(kSpam));

TEST(GatherCourtesyFacts, FindsNothingInAnOrdinaryMessage) {
  const CourtesyFacts facts = gather_courtesy_facts("From: a@b\nSubject: x\nDate: y\n");
  EXPECT_EQ(words_for(facts), "");
  EXPECT_EQ(facts.return_path, "");
  EXPECT_EQ(facts.message_id, "");
  EXPECT_THAT(facts.addressees, IsEmpty());
  EXPECT_THAT(facts.references, IsEmpty());
}

TEST(GatherCourtesyFacts, FindsTheAddressOfTheFirstReturnPathThatHasOne) {
  EXPECT_EQ(gather_courtesy_facts("Return-Path: <>\nReturn-Path: <a@b>\nReturn-Path: <c@d>\n")
                .return_path,
            "a@b");
}

TEST(GatherCourtesyFacts, FindsTheAddresseesOfEveryField) {
  EXPECT_THAT(gather_courtesy_facts("To: a@b\ncc: team: c@d, e@f;\nBCC: g@h\nResent-To: i@j\n"
                                    "Resent-Cc: k@l\nResent-Bcc: m@n\nTo: o@p\n"
                                    "Reply-To: q@r\nX-To: s@t\nDelivered-To: u@v\n")
                  .addressees,
              ElementsAre("a@b", "c@d", "e@f", "g@h", "i@j", "k@l", "m@n", "o@p"));
}

TEST(GatherCourtesyFacts, KeepsABoundedNumberOfAddressees) {
  std::string header = "To: a@b";
  for (int i = 0; i < 20000; ++i) header += ", a@b";
  EXPECT_EQ(gather_courtesy_facts(header + "\nCc: c@d\n").addressees.size(), 10000U);
}

struct Thread : NamedRow {
  const char* header;
  const char* message_id;
  std::vector<std::string> references;
};

class ThreadOf : public testing::TestWithParam<Thread> {};

TEST_P(ThreadOf, Is) {
  const CourtesyFacts facts = gather_courtesy_facts(GetParam().header);
  EXPECT_EQ(facts.message_id, GetParam().message_id);
  EXPECT_EQ(facts.references, GetParam().references);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ThreadOf,
    testing::Values(
        Thread{"Nothing", "To: a@b\n", "", {}}, Thread{"Id", "Message-ID: <a@x>\n", "<a@x>", {}},
        Thread{"FoldedId", "message-id:\r\n <a@x>\r\n", "<a@x>", {}},
        Thread{"TheFirstId", "Message-Id: <a@x>\nMessage-Id: <b@x>\n", "<a@x>", {}},
        Thread{"TheFirstOfTwoInOneField", "Message-Id: <a@x> <b@x>\n", "<a@x>", {}},
        Thread{"NoMalformedId", "Message-ID: <a@x\n", "", {}},
        Thread{"References", "References: <a@x>\n\t<b@x>\n", "", {"<a@x>", "<b@x>"}},
        Thread{"TheFirstReferences", "References: <a@x>\nReferences: <b@x>\n", "", {"<a@x>"}},
        Thread{
            "ReferencesBeforeInReplyTo", "In-Reply-To: <a@x>\nReferences: <b@x>\n", "", {"<b@x>"}},
        Thread{"InReplyTo", "In-Reply-To: <a@x>\nMessage-ID: <b@x>\n", "<b@x>", {"<a@x>"}},
        Thread{"NotAnInReplyToToTwo", "In-Reply-To: <a@x> <b@x>\n", "", {}}));

TEST(GatherCourtesyFacts, KeepsTheFirstReferenceAndTheLastOnes) {
  std::string header = "References:";
  for (int i = 0; i < 1000; ++i) header += " <" + std::to_string(i) + "@x>";
  const auto references = gather_courtesy_facts(header + "\n").references;
  ASSERT_EQ(references.size(), 20U);
  EXPECT_EQ(references[0], "<0@x>");
  EXPECT_EQ(references[1], "<981@x>");
  EXPECT_EQ(references[19], "<999@x>");
}

TEST(GatherCourtesyFacts, IsNotMisledByNuls) {
  EXPECT_EQ(words_for(gather_courtesy_facts("Prece\0dence: bulk\nPrecedence: bulk\0\n"sv)),
            "bulk ");
}

}  // namespace
