#include <ostream>

#include "explain/json_text.h"
#include "explain/printable.h"
#include "explain/reports.h"
#include "explain/wording.h"

namespace {

void write_trigger(std::ostream& out, const ResponderRule& rule) {
  const TriggerPlace place = trigger_place(rule);
  const std::string key =
      place != TriggerPlace::kNowhere ? formatted("\"{}\" in ", printable(rule.keystr)) : "";
  write_line(out, "trigger", "{}{}", key, words_for(place).text);
}

void write_reply(std::ostream& out, const ResponderRule& rule) {
  const std::string subject = formatted("\"{}\"", printable(rule.subject));
  write_line(out, "subject", "{}", *rule.subject == '\0' ? "\"Re: \" and the message's" : subject);
  if (*rule.reply_to != '\0') write_line(out, "reply to", "{}", printable(rule.reply_to));
  write_line(out, "text", "{}, {}", printable(rule.content_type), printable(rule.charset));
}

void write_attachments(std::ostream& out, const AttachmentList& attachments,
                       const TextStyle& style) {
  for (const Attachment& file : attachments.found) {
    write_line(out, "attachment", "{}, {} bytes", printable(file.name), file.size);
  }
  for (const std::string& name : attachments.missing) {
    write_line(out, "attachment", "{}, {}", printable(name),
               coloured(Colour::kYellow, "missing", style));
  }
}

void write_answered(std::ostream& out, const std::vector<AnsweredSender>& senders) {
  if (senders.empty()) write_line(out, "today", "answered nobody");
  const char* topic = "today";
  for (const AnsweredSender& sender : senders) {
    write_line(out, topic, "{}, replies: {}, since {}", printable(sender.address),
               printable(sender.replies), printable(sender.time_resp));
    topic = "";
  }
}

void write_rule(std::ostream& out, const ListedRule& listed, const TextStyle& style) {
  const ResponderRule& rule = listed.rule;
  const std::string title = formatted("Rule {}", printable(rule.id));
  const std::string state = is_active(rule) ? coloured(Colour::kGreen, "is on", style)
                                            : coloured(Colour::kRed, "is off", style);
  out << '\n' << coloured(Colour::kBold, title, style) << ' ' << state << '\n';
  write_trigger(out, rule);
  write_line(out, "limits", "replies to a sender each day: {}, senders remembered: {}",
             printable(rule.ans_freq), printable(rule.mem_limit));
  write_reply(out, rule);
  for (const std::string& address : listed.forwarding) {
    write_line(out, "forward to", "{}", printable(address));
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
    out << formatted("{} {}@{}, id {}, found {}\n", coloured(Colour::kBold, "Mailbox", style),
                     printable(mailbox.mail_name), printable(mailbox.domain_name),
                     printable(mailbox.id), words_for(listing.mailbox->lookup).text);
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

void write_today_text(std::ostream& out, const Today& today) {
  for (const RuleToday& rule : today.rules) {
    out << formatted("{}, rule {}: senders {}, replies {}, senders at the limit {}{}\n",
                     printable(rule.address), printable(rule.rule), rule.senders, rule.replies,
                     rule.refused, rule.is_full ? ". It remembers as many senders as it may." : "");
  }
  if (!today.trouble.empty()) {
    out << "It cannot be told. " << printable(today.trouble) << '\n';
  } else if (!today.has_mailbox) {
    out << "The panel has no such mailbox or alias.\n";
  } else if (today.rules.empty()) {
    out << "No rule has replied today.\n";
  }
}

void write_today_json(std::ostream& out, const Today& today, const TextStyle& style) {
  Json result{{"found", today.has_mailbox}};
  if (!today.trouble.empty()) result["trouble"] = today.trouble;
  result["rules"] = Json::array();
  for (const RuleToday& rule : today.rules) {
    result["rules"].push_back({{"mailbox", rule.address},
                               {"id", number_of(rule.rule)},
                               {"senders", number_of(rule.senders)},
                               {"replies", number_of(rule.replies)},
                               {"senders_at_limit", number_of(rule.refused)},
                               {"memory_full", rule.is_full}});
  }
  write_json_text(out, result, style.on_terminal);
}
