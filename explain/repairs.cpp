#include "explain/repairs.h"

#include <algorithm>
#include <iterator>

#include "autoresponder/panel/rule.h"
#include "autoresponder/reply/direct_run.h"
#include "autoresponder/reply/forwarding.h"
#include "autoresponder/reply/shell.h"
#include "mime/header_encode.h"
#include "support/base/text.h"

namespace {

bool is_refused(const CommandFacts& command) {
  return command.not_run == NotRun::kQuote;
}

bool has_newline(std::string_view value) {
  return value.find('\n') != std::string_view::npos;
}

// For one rule and each repair: would the repair change something, if it were on?
struct Changes {
  const IncomingMessage& message;
  const MailboxRef& mailbox;
  const RuleExplanation& rule;
  const AnswerFacts& facts;

  bool Quotes() const {
    return std::any_of(rule.commands.begin(), rule.commands.end(), is_refused);
  }

  bool Forwarding() const {
    if (!facts.forwarding) return false;
    const std::string& addresses = *facts.forwarding;
    const bool has_syntax = !std::all_of(addresses.begin(), addresses.end(), is_plain_for_shell);
    return has_syntax || addresses_of(addresses).empty();
  }

  bool Newlines() const {
    const auto& notice = facts.notification;
    const bool is_in_notice =
        notice && (has_newline(notice->sender) || has_newline(notice->owner_email));
    const bool is_in_forwarding = facts.forwarding && has_newline(*facts.forwarding);
    const bool is_in_sender = IsReplyBuilt() && has_newline(message.sender);
    return AnyName([](const std::string& name) { return has_newline(name); }) || is_in_notice ||
           is_in_forwarding || is_in_sender || has_newline(message.recipient);
  }

  bool Options() const {
    if (IsReplyBuilt() && is_option(message.sender)) return true;
    if (facts.notification && is_option(facts.notification->owner_email)) return true;
    const std::string forwarding = facts.forwarding.value_or("");
    const auto addresses = addresses_of(forwarding);
    return std::any_of(addresses.begin(), addresses.end(), is_option);
  }

  bool Store() const {
    return AnyName([this](const std::string& name) { return !open_in_store(name, mailbox); });
  }

  bool Lines() const {
    const auto changes = [](const char* text) { return in_one_line(text) != text; };
    const ResponderRule& texts = rule.rule;
    return IsReplyBuilt() &&
           (changes(texts.reply_to) || changes(texts.content_type) || changes(texts.charset));
  }

  bool NotificationField() const { return facts.notification && *rule.rule.reply_to != '\0'; }

  bool FileNames() const {
    return AnyName([](const std::string& name) {
      return file_name_parameter(name) != "\"" + header_encode(name) + "\"";
    });
  }

  bool LocalParts() const {
    return IsReplyBuilt() && without_quotes(message.sender) != message.sender;
  }

  bool ReplyTo() const { return IsReplyBuilt() && !can_be_parsed(rule.rule.reply_to); }

  // False if courtesy forbids the reply.
  bool IsReplyBuilt() const { return facts.objection.empty(); }

  // Whether the name of an attachment that was found meets the condition.
  template <class Condition>
  bool AnyName(const Condition& condition) const {
    const auto& found = facts.attachments.found;
    return std::any_of(found.begin(), found.end(),
                       [&condition](const Attachment& file) { return condition(file.name); });
  }
};

}  // namespace

const Repair* repair_named(std::string_view code) {
  return std::find_if(std::begin(kRepairs), std::end(kRepairs),
                      [code](const Repair& repair) { return repair.code == code; });
}

std::vector<const Repair*> repairs_with_effect(const Explanation& explanation,
                                               const RuleExplanation& facts) {
  std::vector<const Repair*> repairs;
  const auto add = [&](const char* code) {
    const Repair* const repair = repair_named(code);
    if (!(explanation.switches.repairs.*repair->member)) repairs.push_back(repair);
  };
  const auto& limiter = facts.answer.limiter;
  if (facts.is_sender_too_long || (limiter && limiter->is_too_long)) add("limiter");
  if (!limiter || !allows_reply(*limiter)) return repairs;
  const Changes changes{explanation.message, explanation.panel.mailbox->mailbox, facts,
                        facts.answer};
  if (changes.Quotes()) add("quotes");
  if (changes.Forwarding()) add("forwarding");
  if (changes.Newlines()) add("newlines");
  if (changes.Options()) add("options");
  if (changes.Store()) add("store");
  if (changes.Lines()) add("lines");
  if (changes.NotificationField()) add("notification");
  if (changes.FileNames()) add("file_names");
  if (changes.LocalParts()) add("local_parts");
  if (changes.ReplyTo()) add("reply_to");
  return repairs;
}
