#include "explain/repairs.h"

#include <algorithm>
#include <iterator>

#include "autoresponder/panel/reply_to.h"
#include "autoresponder/reply/forwarding.h"
#include "autoresponder/reply/plain_command.h"
#include "autoresponder/reply/shell.h"
#include "mime/file_name.h"
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
class Changes {
 public:
  Changes(const Explanation& explanation, const RuleExplanation& facts)
      : message_(explanation.message),
        mailbox_(explanation.panel.mailbox->mailbox),
        rule_(facts.rule),
        commands_(facts.commands),
        facts_(facts.answer) {}

  bool Quotes() const { return std::any_of(commands_.begin(), commands_.end(), is_refused); }

  bool Forwarding() const {
    if (!facts_.forwarding) return false;
    const std::string& addresses = *facts_.forwarding;
    const bool has_syntax = !std::all_of(addresses.begin(), addresses.end(), is_plain_for_shell);
    return has_syntax || addresses_of(addresses).empty();
  }

  bool Newlines() const {
    const auto& found = facts_.attachments.found;
    const bool is_in_name =
        std::any_of(found.begin(), found.end(),
                    [](const Attachment& attachment) { return has_newline(attachment.name); });
    const auto& notice = facts_.notification;
    const bool is_in_notice =
        notice && (has_newline(notice->sender) || has_newline(notice->owner_email));
    const bool is_in_forwarding = facts_.forwarding && has_newline(*facts_.forwarding);
    const bool is_in_sender = IsReplyBuilt() && has_newline(message_.sender);
    return is_in_name || is_in_notice || is_in_forwarding || is_in_sender ||
           has_newline(message_.recipient);
  }

  bool Options() const {
    if (IsReplyBuilt() && is_option(message_.sender)) return true;
    if (facts_.notification && is_option(facts_.notification->owner_email)) return true;
    if (!facts_.forwarding) return false;
    const auto addresses = addresses_of(*facts_.forwarding);
    return std::any_of(addresses.begin(), addresses.end(), is_option);
  }

  bool Store() const {
    const auto& found = facts_.attachments.found;
    return std::any_of(found.begin(), found.end(), [this](const Attachment& attachment) {
      return open_in_store(attachment.name, mailbox_) == nullptr;
    });
  }

  bool Lines() const {
    if (!IsReplyBuilt()) return false;
    const char* const texts[] = {rule_.reply_to, rule_.content_type, rule_.charset};
    return std::any_of(std::begin(texts), std::end(texts),
                       [](const char* text) { return in_one_line(text) != text; });
  }

  bool NotificationField() const { return facts_.notification && *rule_.reply_to != '\0'; }

  bool FileNames() const {
    const auto& found = facts_.attachments.found;
    return std::any_of(found.begin(), found.end(), [](const Attachment& attachment) {
      const std::string& name = attachment.name;
      return file_name_parameter(name) != "\"" + header_encode(name) + "\"";
    });
  }

  bool LocalParts() const {
    return IsReplyBuilt() && without_quotes(message_.sender) != message_.sender;
  }

  bool ReplyTo() const { return IsReplyBuilt() && !can_be_parsed(rule_.reply_to); }

 private:
  // False if courtesy forbids the reply.
  bool IsReplyBuilt() const { return facts_.objection.empty(); }

  const IncomingMessage& message_;
  const MailboxRef& mailbox_;
  const ResponderRule& rule_;
  const std::vector<CommandFacts>& commands_;
  const AnswerFacts& facts_;
};

struct Question {
  const char* code;
  bool (Changes::*applies)() const;
};

constexpr Question kQuestions[] = {
    {"quotes", &Changes::Quotes},
    {"forwarding", &Changes::Forwarding},
    {"newlines", &Changes::Newlines},
    {"options", &Changes::Options},
    {"store", &Changes::Store},
    {"lines", &Changes::Lines},
    {"notification", &Changes::NotificationField},
    {"file_names", &Changes::FileNames},
    {"local_parts", &Changes::LocalParts},
    {"reply_to", &Changes::ReplyTo},
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
  const Changes changes(explanation, facts);
  for (const Question& question : kQuestions) {
    if ((changes.*question.applies)()) add(question.code);
  }
  return repairs;
}
