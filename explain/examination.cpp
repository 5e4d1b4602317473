#include "explain/examination.h"

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/intake.h"
#include "autoresponder/panel_database.h"
#include "explain/rule_examination.h"
#include "support/conf.h"

namespace {

// The message as the run spools it, with a newline at its end.
DwString read_message(const std::string& file_name) {
  std::ifstream file;
  if (file_name != "-") file.open(file_name, std::ios::binary);
  std::istream& in = file_name == "-" ? std::cin : file;
  std::string text;
  char block[65536];
  while (in.read(block, sizeof block), in.gcount() > 0) {
    text.append(block, static_cast<size_t>(in.gcount()));
  }
  if (!in.eof()) throw CannotTell(Reason::kMessageUnreadable, "Unable to read " + file_name);
  text += '\n';
  return {text.data(), text.size()};
}

// Where the address of the delivery comes from, and the address, unless it is To.
std::optional<std::string> find_delivery(const Options& options, Explanation& explanation) {
  if (options.recipient) {
    explanation.recipient_source = RecipientSource::kOption;
    return options.recipient;
  }
  auto address = delivery_address();
  if (address) explanation.recipient_source = RecipientSource::kEnvironment;
  return address;
}

Reason reason_of(Extraction outcome) {
  return outcome == Extraction::kNoSender ? Reason::kNoSender : Reason::kNoRecipient;
}

Reason reason_of(LoopGuard guard) {
  return guard == LoopGuard::kMailerDaemon ? Reason::kMailerDaemon : Reason::kSenderIsRecipient;
}

// Nothing where the message is one that the run goes on with.
std::optional<Reason> examine_message(const Options& options, Explanation& explanation) {
  DwString text = read_message(options.message_file);
  const auto delivered_to = find_delivery(options, explanation);
  try {
    const auto result = extract(std::move(text), delivered_to, explanation.message);
    if (result.outcome != Extraction::kDone) return reason_of(result.outcome);
    explanation.sender_field = result.sender_field;
  } catch (const std::out_of_range&) {  // the run does not catch it either
    return Reason::kRunAborts;
  }
  explanation.guard = loop_guard(explanation.message);
  if (*explanation.guard == LoopGuard::kPassed) return std::nullopt;
  return reason_of(*explanation.guard);
}

bool replies(const RuleExplanation& rule) {
  return rule.outcome == RuleOutcome::kReplies || rule.outcome == RuleOutcome::kRepliesWithNotice;
}

Reason examine_rules(PanelDatabase& database, const Options& options, Explanation& explanation) {
  const MailboxRef& mailbox = explanation.mailbox->mailbox;
  Rows rows = database.Query(rules_query(mailbox.id));
  if (rows.IsEmpty() && !options.rule) return Reason::kNoRules;
  bool goes_on = true;
  bool anyone_replies = false;
  while (const Row row = rows.Next()) {
    RuleExplanation rule;
    rule.rule = rule_from_row(row);
    if (goes_on) rule = examine_rule(database, rule.rule, mailbox, explanation.message);
    goes_on = goes_on && rule.outcome != RuleOutcome::kRunEnds;
    if (options.rule && rule.rule.id != *options.rule) continue;
    anyone_replies = anyone_replies || replies(rule);
    explanation.rules.push_back(std::move(rule));
  }
  if (explanation.rules.empty()) return Reason::kNoSuchRule;
  return anyone_replies ? Reason::kRuleReplies : Reason::kNoRuleReplies;
}

[[noreturn]] void stop(const std::string& diagnostic) {
  throw CannotTell(Reason::kDatabaseFails, diagnostic);
}

Reason examine_panel(const Options& options, Explanation& explanation) {
  const EscapedRecipient recipient = escape_recipient(explanation.message);
  PanelDatabase database(stop);
  database.Execute("start transaction read only");  // so that the server holds us to it
  explanation.mailbox = find_mailbox(database, recipient);
  if (!explanation.mailbox) return Reason::kMailboxNotFound;
  return examine_rules(database, options, explanation);
}

Verdict verdict_of(Reason reason) {
  if (reason == Reason::kRuleReplies) return Verdict::kReply;
  return reason == Reason::kNoSuchRule ? Verdict::kUnknown : Verdict::kNoReply;
}

}  // namespace

void examine(const Options& options, Explanation& explanation) {
  try {
    load_conf_paths();
    const auto refusal = examine_message(options, explanation);
    explanation.reason = refusal ? *refusal : examine_panel(options, explanation);
    explanation.verdict = verdict_of(explanation.reason);
  } catch (const CannotTell& trouble) {
    explanation.reason = trouble.reason;
    explanation.trouble = trouble.what();
  }
}
