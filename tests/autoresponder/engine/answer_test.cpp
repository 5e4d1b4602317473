#include <gmock/gmock.h>

#include "answering.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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

TEST_F(Answering, AttachesNothingToAFileThatWasReplaced) {
  database_.Answer("resp_attach", {{"list.txt"}});
  effects_.is_file_replaced = true;
  Answer();
  EXPECT_THAT(effects_.commands, ElementsAre());
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
