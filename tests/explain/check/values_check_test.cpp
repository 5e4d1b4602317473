#include "../../named_row.h"
#include "checked_database.h"
#include "support/conf.h"

namespace {

struct Value : NamedRow {
  const char* query;
  const char* value;
  const char* text;  // what is wrong; null for nothing
};

class Values : public CheckedDatabase, public testing::WithParamInterface<Value> {};

TEST_P(Values, AreChecked) {
  server_.Answer(GetParam().query, {{"7", GetParam().value}});
  const std::string codes = CodesOf(check_values);
  if (GetParam().text == nullptr) {
    EXPECT_EQ(codes, "");
    return;
  }
  ASSERT_EQ(inspection_.findings.size(), 2U);
  EXPECT_EQ(inspection_.findings[0].text, GetParam().text);
  EXPECT_STREQ(inspection_.findings[1].code, "repairs_off");
}

constexpr char kForward[] = "select rn_id, address from resp_forward";
constexpr char kAttach[] = "select rn_id, filename from resp_attach";
constexpr Value kValues[] = {
    {"Address", kForward, "anna@x.example  ben@x.example", nullptr},
    {"AddressWithASemicolon", kForward, "a@x.example;id",
     "The forwarding address \"a@x.example;id\" of rule 7 is read by root's shell. Correct it in "
     "the panel."},
    {"SecondAddressThatIsAnOption", kForward, "a@x.example -t",
     "The forwarding address \"a@x.example -t\" of rule 7 reaches sendmail as an option. Correct "
     "it in the panel."},
    {"AddressesOnTwoLines", kForward, "a@x\nb@x",
     "The forwarding address \"a@x\nb@x\" of rule 7 is read by root's shell. Correct it in the "
     "panel."},
    {"Name", kAttach, " price list.txt ", nullptr},
    {"NameWithTwoDots", kAttach, "list..txt", nullptr},
    {"NameOfADirectory", kAttach, "a/list.txt", nullptr},
    {"NameOfTheParent", kAttach, "a/../../list.txt",
     "The attachment \"a/../../list.txt\" of rule 7 leads out of the attachment store, to any file "
     "of the "
     "system. Correct it in the panel."},
    {"NameWithAQuote", kAttach, "it's.txt",
     "The attachment \"it's.txt\" of rule 7 holds a quote: all attachments are refused. Correct it "
     "in the panel."},
    {"NameWithABackslash", kAttach, "a\\c.txt",
     "The attachment \"a\\c.txt\" of rule 7 holds a character that the shell's echo changes in the "
     "reply's "
     "header. Correct it in the panel."},
    {"NameWithAControlCharacter", kAttach, "a\x01.txt",
     "The attachment \"a\x01.txt\" of rule 7 holds a character that the shell's echo changes in "
     "the reply's "
     "header. Correct it in the panel."},
};

INSTANTIATE_TEST_SUITE_P(Rows, Values, testing::ValuesIn(kValues),
                         [](const auto& tested) { return tested.param.name; });

class ValuesOfRules : public CheckedDatabase {
 protected:
  ValuesOfRules() { QMAIL_MAILNAMES_D = "/mail"; }
  ~ValuesOfRules() override { QMAIL_MAILNAMES_D = nullptr; }

  // `count` attachments of rule 7, and one of rule 8.
  void Attach(size_t count) {
    std::vector<FakeRow> rows(count, {"7", std::string(60, 'x'), "info", "shop.example"});
    rows.push_back({"8", "y", "info", "shop.example"});
    server_.Answer("having count(*) > 40", rows);
    inspection_.mail_names = "/mail";
  }
};

TEST_F(ValuesOfRules, AreNotDangerousWithRepairs) {
  server_.Answer(kForward, {{"7", "a@x; id"}});
  inspection_.switches.repairs.forwarding = true;
  EXPECT_EQ(CodesOf(check_values), "");
}

TEST_F(ValuesOfRules, AreNotDangerousWhereTheTableCannotBeRead) {
  server_.Fail(kForward, 1146, "no such table");
  EXPECT_EQ(CodesOf(check_values), "");
}

TEST_F(ValuesOfRules, NeedACommandThatIsNotTooLong) {
  Attach(200);
  EXPECT_EQ(CodesOf(check_values), "");
  Attach(400);
  EXPECT_EQ(CodesOf(check_values), "too_many_attachments");
  EXPECT_EQ(Text(),
            "Rule 7 has so many attachments (400) that the command for them is too long to be "
            "started: its "
            "replies leave without any. Pack them into an archive.");
  inspection_.switches.repairs.whole_attachments = true;
  CodesOf(check_values);
  EXPECT_NE(Text().find("without any or, with repairs, not at all. "), std::string::npos);
}

TEST_F(ValuesOfRules, AreLookedForWhereTheStoreIsKnown) {
  Attach(400);
  inspection_.mail_names = "";
  EXPECT_EQ(CodesOf(check_values), "");
}

TEST_F(ValuesOfRules, NeedAReplyToThatCanBeParsed) {
  server_.Answer("select id, reply_to from mail_resp where reply_to<>'' order by id",
                 {{"7", "a@x.example"}, {"8", "\"Shop <a@b>"}});
  EXPECT_EQ(CodesOf(check_values), "reply_to_unreadable");
  EXPECT_EQ(Text(),
            "The mail server cannot parse the reply_to \"\"Shop <a@b>\" of rule 8: none of its "
            "replies leaves. Correct it in the panel.");
  inspection_.switches.repairs.reply_to = true;
  CodesOf(check_values);
  EXPECT_NE(Text().find("rule 8: its replies leave without it."), std::string::npos);
}

}  // namespace
