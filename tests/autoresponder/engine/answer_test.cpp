#include "autoresponder/engine/answer.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../fake_database.h"
#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "support/conf.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Effects that keep the commands, and what the reply held when it was sent.
class KeptEffects : public Effects {
 public:
  explicit KeptEffects(const std::string& path) : path_(path) {}

  LimiterFacts AskLimiter(PanelDatabase& /*database*/, const ResponderRule& /*rule*/) override {
    LimiterFacts facts;
    facts.step = step;
    return facts;
  }
  ResponseFile CreateResponseFile() override {
    std::ofstream(path_).close();
    return {open(path_.c_str(), O_RDWR | O_CLOEXEC), path_};
  }
  std::string AsciiForm(const std::string& address) override { return "ascii:" + address; }
  bool Run(const ShellCommand& command) override {
    commands.push_back(command.line());
    inputs += command.input;
    if (command.purpose() == Purpose::kReply) reply = contents_of(path_);
    if (command.purpose() == Purpose::kAttach) attach(path_);
    return attaching_succeeds;
  }

  std::optional<LimiterStep> step = LimiterStep::kRemember;
  bool attaching_succeeds = true;
  std::function<void(const std::string& path)> attach = [](const std::string&) {};
  std::vector<std::string> commands;
  std::string inputs;
  std::string reply;

 private:
  std::string path_;
};

class Answering : public testing::Test {
 protected:
  Answering() : directories_{directory_.Path("mail"), directory_.Path("qmail")} {
    QMAIL_MAILNAMES_D = directories_[0].c_str();
    QMAIL_ROOT_D = directories_[1].c_str();
    const std::string store = directory_.Path("mail/shop.example/info/@attachments");
    std::filesystem::create_directories(store);
    std::ofstream(store + "/list.txt") << "Apples\n";
    std::filesystem::create_directories(directory_.Path("qmail/control"));
    message_.SetRecipient("info@shop.example");
    message_.sender = "otto@customer.example";
    message_.subject = "Hello";
    rule_.id = "7";
    rule_.text = "Thank you.";
  }
  ~Answering() override { QMAIL_MAILNAMES_D = QMAIL_ROOT_D = nullptr; }

  void LimitSize(const char* bytes) {
    std::ofstream(directory_.Path("qmail/control/databytes")) << bytes;
  }

  void Answer() {
    PanelDatabase database = FakeDatabase::Connect();
    answer(database, rule_, mailbox_, {message_, switches_, "/spool"}, effects_, facts_);
  }

  std::string Sendmail() const { return directories_[1] + "/bin/sendmail"; }
  std::string Forwarding(const std::string& addresses) const {
    return Sendmail() + " -f 'info@shop.example' " + addresses + " </spool";
  }
  std::string Reply(const std::string& from = "ascii:info@shop.example") const {
    return Sendmail() + " -f '" + from + "' 'otto@customer.example' <" + path_;
  }

  ScratchDirectory directory_;
  std::vector<std::string> directories_;
  FakeDatabase database_;
  IncomingMessage message_;
  ResponderRule rule_;
  MailboxRef mailbox_{"1", "info", "shop.example"};
  Switches switches_;
  std::string path_ = directory_.Path("reply");
  KeptEffects effects_{path_};
  AnswerFacts facts_;
};

TEST_F(Answering, SendsTheReply) {
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre(Reply()));
  EXPECT_EQ(effects_.reply.substr(0, effects_.reply.find("\nContent")),
            "From: ascii:info@shop.example\nTo: otto@customer.example\nMIME-Version: 1.0\n"
            "Subject: Re: Hello");
  EXPECT_THAT(effects_.reply, HasSubstr("\n\nThank you."));
  EXPECT_FALSE(facts_.unsent);
  ASSERT_TRUE(facts_.reply);
  EXPECT_EQ(facts_.reply->size, static_cast<int64_t>(effects_.reply.size()));
  EXPECT_FALSE(facts_.reply->is_replaced);
  EXPECT_EQ(facts_.reply_path, path_);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Answering, DoesNothingForASenderWhomTheLimiterRefuses) {
  database_.Answer("resp_forward", {{"anna@colleague.example"}});
  for (const auto step : {std::optional<LimiterStep>(), std::optional(LimiterStep::kRefuse)}) {
    effects_.step = step;
    Answer();
    EXPECT_THAT(effects_.commands, ElementsAre());
    EXPECT_EQ(database_.statements, std::vector<std::string>());
  }
}

TEST_F(Answering, ForwardsBeforeItReplies) {
  database_.Answer("select address from resp_forward where rn_id=7",
                   {{"anna@colleague.example"}, {std::nullopt}, {"ben@x.example; id"}});
  Answer();
  EXPECT_THAT(effects_.commands,
              ElementsAre(Forwarding(" anna@colleague.example ben@x.example; id "), Reply()));
  EXPECT_EQ(facts_.forwarding, " anna@colleague.example ben@x.example; id ");
}

struct Addresses : NamedRow {
  std::optional<std::string> row;
  bool Repairs::*repair;  // null for none
  std::string command;    // the addresses in it; empty for no command
};

class ForwardingAddresses : public Answering, public testing::WithParamInterface<Addresses> {};

TEST_P(ForwardingAddresses, AreMailedTo) {
  const Addresses& row = GetParam();
  database_.Answer("resp_forward", {{row.row}});
  if (row.repair != nullptr) switches_.repairs.*row.repair = true;
  testing::internal::CaptureStderr();
  Answer();
  testing::internal::GetCapturedStderr();
  ASSERT_EQ(effects_.commands.size(), row.command.empty() ? 1U : 2U);
  if (!row.command.empty()) {
    EXPECT_EQ(effects_.commands[0], Forwarding(row.command));
  }
  EXPECT_EQ(facts_.forwarding.has_value(), !row.command.empty());
}

const Addresses kAddresses[] = {
    {"Bare", "a@x", nullptr, " a@x "},
    {"OfARowWithoutAny", std::nullopt, nullptr, " "},
    {"OfABlankRow", "  ", nullptr, "    "},
    {"Quoted", "a@x b@y", &Repairs::forwarding, " 'a@x' 'b@y' "},
    {"NotOfARowWithoutAnyIfQuoted", std::nullopt, &Repairs::forwarding, ""},
    {"WithoutOptions", "-bs a@x", &Repairs::options, " a@x "},
    {"NotOfOptionsAlone", "-bs", &Repairs::options, ""},
    {"OfARowWithoutAnyIfOptionsAreLeftOut", std::nullopt, &Repairs::options, " "},
};

INSTANTIATE_TEST_SUITE_P(Rows, ForwardingAddresses, testing::ValuesIn(kAddresses),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(Answering, IsForbiddenByCourtesyAfterForwarding) {
  switches_.courtesy = true;
  message_.envelope_sender = "";
  database_.Answer("resp_forward", {{"a@x"}});
  database_.Answer("resp_attach", {{"gone.txt"}});
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre(Forwarding(" a@x ")));
  EXPECT_EQ(facts_.objection, "null sender");
  EXPECT_FALSE(facts_.reply);
}

TEST_F(Answering, IsNotForbiddenWithoutCourtesy) {
  message_.envelope_sender = "";
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre(Reply()));
  EXPECT_EQ(facts_.objection, "");
}

TEST_F(Answering, MarksACourteousReply) {
  switches_.courtesy = true;
  message_.courtesy.addressees = {"info@shop.example"};
  Answer();
  EXPECT_EQ(facts_.objection, "");
  EXPECT_THAT(effects_.commands, ElementsAre(Reply("")));
  EXPECT_THAT(effects_.reply, HasSubstr("\nAuto-Submitted: auto-replied\n"));
}

TEST_F(Answering, AttachesBetweenTextAndDelivery) {
  database_.Answer("select filename from resp_attach where rn_id=7", {{" list.txt "}, {""}});
  effects_.attach = [](const std::string& path) { std::ofstream(path, std::ios::app) << "PART"; };
  Answer();
  ASSERT_EQ(effects_.commands.size(), 2U);
  EXPECT_THAT(effects_.commands[0], HasSubstr("uuencode -m -- '" + directories_[0] +
                                              "/shop.example/info/@attachments/list.txt' "
                                              "'list.txt' | sed -e '1d;$d' >>" +
                                              path_));
  EXPECT_THAT(effects_.reply, HasSubstr("\nContent-Type: multipart/mixed;\n\tboundary=\"-"));
  EXPECT_EQ(effects_.reply.substr(effects_.reply.size() - 4), "PART");
  ASSERT_EQ(facts_.attachments.found.size(), 1U);
  EXPECT_EQ(facts_.attachments.found[0].size, 7);
}

TEST_F(Answering, TellsTheOwnerOfMissingFilesFirst) {
  database_.Answer("resp_attach", {{"gone.txt"}, {"list.txt"}, {"lost.txt"}});
  database_.Answer("from clients", {{"grete@customer.example", std::nullopt, "shop"}});
  rule_.reply_to = "team@shop.example";
  Answer();
  ASSERT_EQ(effects_.commands.size(), 3U);
  EXPECT_EQ(effects_.commands[0], Sendmail() + " -f 'root@localhost' 'grete@customer.example'");
  EXPECT_EQ(effects_.inputs.substr(0, effects_.inputs.find("\nTo:")),
            "Reply-To: team@shop.exampleFrom: root@localhost");
  EXPECT_THAT(effects_.inputs, HasSubstr("Notification for kem client 'shop'.\n"));
  EXPECT_THAT(effects_.inputs, HasSubstr("':\ngone.txt\nlost.txt\n\n"));
  EXPECT_EQ(facts_.notification->owner_email, "grete@customer.example");
}

TEST_F(Answering, TellsNobodyWhereTheOwnerHasNoAddress) {
  database_.Answer("resp_attach", {{"gone.txt"}});
  database_.Answer("from clients", {{"", "Grete", "shop"}});
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre(Reply()));
  EXPECT_FALSE(facts_.notification);
}

TEST_F(Answering, SendsAReplyWhoseAttachmentsAreCut) {
  database_.Answer("resp_attach", {{"list.txt"}});
  effects_.attaching_succeeds = false;
  Answer();
  EXPECT_EQ(effects_.commands.back(), Reply());
}

TEST_F(Answering, SendsNoReplyWhoseAttachmentsAreCutIfThatIsRepaired) {
  database_.Answer("resp_attach", {{"list.txt"}});
  switches_.repairs.whole_attachments = true;
  Answer();  // the command succeeds, and has written nothing
  EXPECT_EQ(effects_.commands.size(), 1U);
  EXPECT_EQ(facts_.unsent, Unsent::kNotWhole);
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Answering, SendsNoReplyWhoseFileWasReplaced) {
  database_.Answer("resp_attach", {{"list.txt"}});
  effects_.attach = [](const std::string& path) {
    std::filesystem::remove(path);
    std::ofstream(path) << "another";
  };
  Answer();
  EXPECT_EQ(effects_.commands.size(), 1U);
  EXPECT_EQ(facts_.unsent, Unsent::kFileReplaced);
}

TEST_F(Answering, SendsANoticeInPlaceOfALargeReply) {
  LimitSize("20");
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre(Reply()));
  EXPECT_EQ(effects_.reply,
            "From: info@shop.example\nCC: \nSubject: Re: Hello\n\n"
            "An error occurred while responding on you request.\n\n"
            "Autoresponder message size exceeds databytes limit.\n\n\n\n");
  EXPECT_TRUE(facts_.reply->is_replaced);
  EXPECT_EQ(facts_.reply->limit, 20);
  EXPECT_GT(facts_.reply->size, 20);
}

TEST_F(Answering, SendsAReplyOfTheLimitsSize) {
  Answer();
  LimitSize(std::to_string(facts_.reply->size).c_str());
  Answer();
  EXPECT_FALSE(facts_.reply->is_replaced);
}

TEST_F(Answering, MarksACourteousNotice) {
  LimitSize("20");
  switches_.courtesy = true;
  message_.courtesy.addressees = {"info@shop.example"};
  Answer();
  EXPECT_THAT(effects_.reply, HasSubstr("\nSubject: Re: Hello\nAuto-Submitted: auto-generated\n"));
}

TEST_F(Answering, LeavesOutAReplyToThatCannotBeParsedIfThatIsRepaired) {
  rule_.reply_to = "\"Shop <a@b.example>";
  Answer();
  EXPECT_THAT(effects_.reply, HasSubstr("Reply-To: \"Shop <a@b.example>\n"));
  EXPECT_EQ(facts_.left_out_reply_to, "");
  switches_.repairs.reply_to = true;
  Answer();
  EXPECT_THAT(effects_.reply, testing::Not(HasSubstr("Reply-To")));
  EXPECT_EQ(facts_.left_out_reply_to, "\"Shop <a@b.example>");
}

TEST_F(Answering, KeepsWhatWasFoundWhenAStatementFails) {
  database_.Answer("resp_forward", {{"a@x"}});
  database_.Fail("resp_attach", 1146, "no such table");
  EXPECT_THROW(Answer(), PanelFailure);
  EXPECT_EQ(facts_.forwarding, " a@x ");
  EXPECT_TRUE(facts_.limiter);
}

}  // namespace
