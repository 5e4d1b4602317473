#include "explain/listing_report.h"

#include <ostream>

#include "explain/json_text.h"
#include "explain/printable.h"
#include "explain/wording.h"

namespace {

void write_trigger(std::ostream& out, const ResponderRule& rule) {
  const TriggerPlace place = trigger_place(rule);
  begin_line(out, "trigger");
  if (place != TriggerPlace::kNowhere) out << '"' << printable(rule.keystr) << "\" in ";
  out << words_for(place).text << '\n';
}

void write_limits(std::ostream& out, const ResponderRule& rule) {
  begin_line(out, "limits") << "replies to a sender each day: " << printable(rule.ans_freq)
                            << ", senders remembered: " << printable(rule.mem_limit) << '\n';
}

void write_reply(std::ostream& out, const ResponderRule& rule) {
  begin_line(out, "subject");
  if (*rule.subject == '\0') {
    out << "\"Re: \" and the message's\n";
  } else {
    out << '"' << printable(rule.subject) << "\"\n";
  }
  if (*rule.reply_to != '\0') begin_line(out, "reply to") << printable(rule.reply_to) << '\n';
  begin_line(out, "text") << printable(rule.content_type) << ", " << printable(rule.charset)
                          << '\n';
}

void write_attachments(std::ostream& out, const AttachmentList& attachments,
                       const TextStyle& style) {
  for (const Attachment& file : attachments.found) {
    begin_line(out, "attachment") << printable(file.name) << ", " << file.size << " bytes\n";
  }
  for (const std::string& name : attachments.missing) {
    begin_line(out, "attachment") << printable(name) << ", "
                                  << coloured(Colour::kYellow, "missing", style) << '\n';
  }
}

void write_answered(std::ostream& out, const std::vector<AnsweredSender>& senders) {
  begin_line(out, "today");
  if (senders.empty()) out << "answered nobody\n";
  const char* topic = nullptr;
  for (const AnsweredSender& sender : senders) {
    if (topic != nullptr) begin_line(out, topic);
    topic = "";
    out << printable(sender.address) << ", replies: " << printable(sender.replies) << ", since "
        << printable(sender.time_resp) << '\n';
  }
}

void write_rule(std::ostream& out, const ListedRule& listed, const TextStyle& style) {
  const ResponderRule& rule = listed.rule;
  const std::string title = formatted("Rule {}", printable(rule.id));
  const std::string state = is_active(rule) ? coloured(Colour::kGreen, "is on", style)
                                            : coloured(Colour::kRed, "is off", style);
  out << '\n' << coloured(Colour::kBold, title, style) << ' ' << state << '\n';
  write_trigger(out, rule);
  write_limits(out, rule);
  write_reply(out, rule);
  for (const std::string& address : listed.forwarding) {
    begin_line(out, "forward to") << printable(address) << '\n';
  }
  write_attachments(out, listed.attachments, style);
  write_answered(out, listed.answered);
}

Json answered_json(const std::vector<AnsweredSender>& senders) {
  Json result = Json::array();
  for (const AnsweredSender& sender : senders) {
    result.push_back({{"sender", sender.address},
                      {"replies", number_of(sender.replies)},
                      {"since", sender.time_resp}});
  }
  return result;
}

Json attachments_json(const AttachmentList& attachments) {
  Json result = Json::array();
  for (const Attachment& file : attachments.found) {
    result.push_back({{"name", file.name}, {"missing", false}, {"size", file.size}});
  }
  for (const std::string& name : attachments.missing) {
    result.push_back({{"name", name}, {"missing", true}});
  }
  return result;
}

Json rule_json(const ListedRule& listed) {
  const ResponderRule& rule = listed.rule;
  return {{"id", number_of(rule.id)},
          {"on", is_active(rule)},
          {"place", words_for(trigger_place(rule)).code},
          {"key", rule.keystr},
          {"replies_a_day", number_of(rule.ans_freq)},
          {"senders_remembered", number_of(rule.mem_limit)},
          {"subject", rule.subject},
          {"reply_to", rule.reply_to},
          {"content_type", rule.content_type},
          {"charset", rule.charset},
          {"forwarding", listed.forwarding},
          {"attachments", attachments_json(listed.attachments)},
          {"answered_today", answered_json(listed.answered)}};
}

void write_mailbox(std::ostream& out, const Listing& listing, const TextStyle& style) {
  if (listing.mailbox) {
    const MailboxRef& mailbox = listing.mailbox->mailbox;
    out << coloured(Colour::kBold, "Mailbox", style) << ' ' << printable(mailbox.mail_name) << '@'
        << printable(mailbox.domain_name) << ", id " << printable(mailbox.id) << ", found "
        << words_for(listing.mailbox->lookup).text << '\n';
    if (listing.rules.empty() && listing.trouble.empty()) out << "  has no rules\n";
  } else if (listing.trouble.empty()) {
    out << "The panel has no mailbox or alias \"" << printable(listing.address) << "\".\n";
  }
  for (const ListedRule& listed : listing.rules) write_rule(out, listed, style);
  if (!listing.trouble.empty()) {
    out << "It cannot be told. " << printable(listing.trouble) << '\n';
  }
}

Json listing_json(const Listing& listing) {
  Json result{{"address", listing.address}, {"found", listing.mailbox.has_value()}};
  if (!listing.trouble.empty()) result["trouble"] = listing.trouble;
  if (listing.mailbox) result["mailbox"] = mailbox_json(*listing.mailbox);
  result["rules"] = Json::array();
  for (const ListedRule& listed : listing.rules) result["rules"].push_back(rule_json(listed));
  return result;
}

}  // namespace

void write_listing_text(std::ostream& out, const Listings& listings, const TextStyle& style) {
  const char* separator = "";
  for (const Listing& listing : listings) {
    out << separator;
    write_mailbox(out, listing, style);
    separator = "\n";
  }
}

void write_listing_json(std::ostream& out, const Listings& listings, const std::string& diagnostics,
                        const TextStyle& style) {
  Json result;
  if (listings.size() == 1) {
    result = listing_json(listings[0]);
  } else {
    for (const Listing& listing : listings) result["mailboxes"].push_back(listing_json(listing));
  }
  result["diagnostics"] = diagnostics;
  write_json_text(out, result, style.on_terminal);
}
