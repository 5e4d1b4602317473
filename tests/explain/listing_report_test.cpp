#include <sstream>

#include <gtest/gtest.h>

#include "explain/json_text.h"
#include "explain/reports.h"

namespace {

constexpr TextStyle kPlain = {false, false, false};

Listing filled_listing(const std::string& mail_name) {
  Listing listing;
  listing.address = mail_name + "@shop.example";
  listing.mailbox = {{"1", mail_name, "shop.example"}, MailboxLookup::kMailName};
  ListedRule& rule = listing.rules.emplace_back();
  rule.rule.id = "7";
  rule.rule.resp_on = "true";
  rule.rule.keystr = "price";
  rule.rule.key_where = "subj";
  rule.rule.subject = "Prices";
  rule.rule.reply_to = "team@shop.example";
  rule.forwarding = {"anna@x.example"};
  rule.attachments.found = {{"list.txt", "/store/list.txt", 7}};
  rule.attachments.missing = {"gone.txt"};
  rule.answered = {{"a@x.example", "3", "10:00"}, {"b@x.example", "1", "11:00"}};
  return listing;
}

constexpr char kText[] =
    "Mailbox info@shop.example, id 1, found by its name\n"
    "\n"
    "Rule 7 is on\n"
    "  trigger     \"price\" in the subject\n"
    "  limits      replies to a sender each day: 10, senders remembered: 1000\n"
    "  subject     \"Prices\"\n"
    "  reply to    team@shop.example\n"
    "  text        text/plain, UTF-8\n"
    "  forward to  anna@x.example\n"
    "  attachment  list.txt, 7 bytes\n"
    "  attachment  gone.txt, missing\n"
    "  today       a@x.example, replies: 3, since 10:00\n"
    "              b@x.example, replies: 1, since 11:00\n";

std::string text_of(Listings listings) {
  std::ostringstream out;
  write_listing_text(out, listings, kPlain);
  return out.str();
}

Listings one(Listing listing) {
  Listings listings;
  listings.push_back(std::move(listing));
  return listings;
}

TEST(ListingReport, TellsEverything) {
  EXPECT_EQ(text_of(one(filled_listing("info"))), kText);
}

TEST(ListingReport, TellsOfARuleThatHasNothing) {
  Listing listing = filled_listing("info");
  listing.rules[0] = ListedRule();
  listing.rules[0].rule.id = "8";
  EXPECT_EQ(text_of(one(std::move(listing))),
            "Mailbox info@shop.example, id 1, found by its name\n"
            "\n"
            "Rule 8 is off\n"
            "  trigger     every message\n"
            "  limits      replies to a sender each day: 10, senders remembered: 1000\n"
            "  subject     \"Re: \" and the message's\n"
            "  text        text/plain, UTF-8\n"
            "  today       answered nobody\n");
}

TEST(ListingReport, TellsOfNoMailbox) {
  Listing listing;
  listing.address = "nobody@x";
  EXPECT_EQ(text_of(one(std::move(listing))), "The panel has no mailbox or alias \"nobody@x\".\n");
}

TEST(ListingReport, TellsOfAMailboxWithoutRules) {
  Listing listing = filled_listing("info");
  listing.rules.clear();
  EXPECT_EQ(text_of(one(std::move(listing))),
            "Mailbox info@shop.example, id 1, found by its name\n  has no rules\n");
}

TEST(ListingReport, TellsOfTrouble) {
  Listing listing = filled_listing("info");
  listing.rules.clear();
  listing.trouble = "gone away";
  EXPECT_EQ(text_of(one(std::move(listing))),
            "Mailbox info@shop.example, id 1, found by its name\n"
            "It cannot be told. gone away\n");
}

TEST(ListingReport, SeparatesMailboxes) {
  Listings listings = one(filled_listing("info"));
  listings.push_back(filled_listing("info"));
  EXPECT_EQ(text_of(std::move(listings)), std::string(kText) + "\n" + kText);
}

Json json_of(const Listings& listings) {
  std::ostringstream out;
  write_listing_json(out, listings, "a line\n", kPlain);
  return Json::parse(out.str());
}

TEST(ListingReport, TellsEverythingToPrograms) {
  const Json want = Json::parse(R"({
    "address": "info@shop.example", "found": true,
    "mailbox": {"id": 1, "mail_name": "info", "domain_name": "shop.example",
                "found_by": "mail_name"},
    "rules": [
      {"id": 7, "on": true, "place": "subject", "key": "price", "replies_a_day": 10,
       "senders_remembered": 1000, "subject": "Prices", "reply_to": "team@shop.example",
       "content_type": "text/plain", "charset": "UTF-8", "forwarding": ["anna@x.example"],
       "attachments": [{"name": "list.txt", "missing": false, "size": 7},
                       {"name": "gone.txt", "missing": true}],
       "answered_today": [{"sender": "a@x.example", "replies": 3, "since": "10:00"},
                          {"sender": "b@x.example", "replies": 1, "since": "11:00"}]}],
    "diagnostics": "a line\n"})");
  EXPECT_EQ(json_of(one(filled_listing("info"))), want);
}

TEST(ListingReport, TellsProgramsOfNoMailboxAndOfTrouble) {
  Listing listing;
  listing.address = "x@y";
  listing.trouble = "gone away";
  EXPECT_EQ(json_of(one(std::move(listing))),
            Json::parse(R"({"address": "x@y", "found": false, "trouble": "gone away", "rules": [],
                            "diagnostics": "a line\n"})"));
}

TEST(ListingReport, TellsProgramsOfSeveralMailboxes) {
  Listings listings = one(filled_listing("help"));
  listings.push_back(filled_listing("info"));
  const Json json = json_of(listings);
  EXPECT_EQ(json.size(), 2U);
  EXPECT_EQ(json["mailboxes"].size(), 2U);
  EXPECT_EQ(json["mailboxes"][0]["address"], "help@shop.example");
  EXPECT_EQ(json["diagnostics"], "a line\n");
}

std::string text_of(const Today& today) {
  std::ostringstream out;
  write_today_text(out, today);
  return out.str();
}

TEST(TodayReport, IsOneLineForEachRule) {
  Today today;
  today.rules = {{"info@x", "7", "3", "10", "1", false}, {"\x1b", "8", "1", "1", "0", true}};
  EXPECT_EQ(text_of(today),
            "info@x, rule 7: senders 3, replies 10, senders at the limit 1\n"
            "\\x1B, rule 8: senders 1, replies 1, senders at the limit 0. It remembers as many "
            "senders as it may.\n");
}

TEST(TodayReport, TellsWhyItIsEmpty) {
  EXPECT_EQ(text_of(Today()), "No rule has replied today.\n");
  EXPECT_EQ(text_of({false, {}, ""}), "The panel has no such mailbox or alias.\n");
  EXPECT_EQ(text_of({true, {}, "gone away"}), "It cannot be told. gone away\n");
}

TEST(TodayReport, TellsPrograms) {
  std::ostringstream out;
  write_today_json(out, {true, {{"info@x", "7", "3", "10", "1", true}}, "gone away"}, kPlain);
  EXPECT_EQ(Json::parse(out.str()), Json::parse(R"({
    "found": true, "trouble": "gone away",
    "rules": [{"mailbox": "info@x", "id": 7, "senders": 3, "replies": 10, "senders_at_limit": 1,
               "memory_full": true}]})"));
}

}  // namespace
