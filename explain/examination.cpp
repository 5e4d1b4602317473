#include "explain/examination.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <mimelib/mimepp.h>

#include "autoresponder/panel/panel_database.h"
#include "autoresponder/run/configuration.h"
#include "autoresponder/run/incoming.h"
#include "explain/recorded_effects.h"
#include "explain/rule_examination.h"
#include "support/conf.h"

namespace {

// Reads the message and appends a newline, as the run does.
DwString read_message(const std::string& file_name) {
  errno = 0;
  std::ifstream file;
  if (file_name != "-") file.open(file_name, std::ios::binary);
  std::istream& in = file_name == "-" ? std::cin : file;
  DwString text;
  char block[65536];
  while (in.read(block, sizeof block), in.gcount() > 0) {
    text.append(block, static_cast<size_t>(in.gcount()));
  }
  if (!in.eof()) {
    const std::string name = file_name == "-" ? "standard input" : file_name;
    throw CannotTell(Reason::kMessageUnreadable, "Unable to read " + name + ": " + strerror(errno));
  }
  return text.append("\n");
}

// The recipient's address from the option or the environment; nothing if To has to be used.
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

// Why the run would not look for rules for the message; nothing if it would.
std::optional<Reason> examine_message(const Options& options, Explanation& explanation) {
  DwInitialize();
  DwString text = read_message(options.message_file);
  const auto delivered_to = find_delivery(options, explanation);
  try {
    const auto result = extract(std::move(text), delivered_to, explanation.message);
    explanation.sender_field = result.sender_field;
    if (result.outcome != Extraction::kDone) {
      explanation.message.sender = result.sender;
      return reason_of(result.outcome);
    }
  } catch (const std::out_of_range&) {  // the run does not catch it either
    return Reason::kRunAborts;
  }
  explanation.guard = loop_guard(explanation.message);
  if (*explanation.guard == LoopGuard::kPassed) return std::nullopt;
  return reason_of(*explanation.guard);
}

// Examines the rules in the run's order, up to the one that would end the run.
void examine_rules(PanelDatabase& database, const Options& options, Explanation& explanation) {
  explanation.rows = database.Query(rules_query(explanation.mailbox->mailbox.id));
  bool goes_on = true;
  while (const Row row = explanation.rows->Next()) {
    RuleExplanation facts;
    facts.rule = ResponderRule(row);
    const bool is_shown = !options.rule || *options.rule == facts.rule.id;
    const bool whole_reply = is_shown && options.show_reply;
    if (goes_on) examine_rule(database, explanation, whole_reply, facts);
    goes_on = goes_on && !ends_run(facts.outcome);
    if (is_shown) explanation.rules.push_back(std::move(facts));
  }
}

Reason reason_of(const std::vector<RuleExplanation>& rules) {
  const bool anyone_replies =
      std::any_of(rules.begin(), rules.end(),
                  [](const RuleExplanation& rule) { return is_reply(rule.outcome); });
  if (anyone_replies) return Reason::kRuleReplies;
  for (const RuleExplanation& rule : rules) {
    if (rule.outcome == RuleOutcome::kUnknown) {
      throw CannotTell(Reason::kReplyNotBuilt, rule.trouble);
    }
  }
  return rules.empty() ? Reason::kNoRules : Reason::kNoRuleReplies;
}

Reason examine_panel(const Options& options, Explanation& explanation) {
  EscapedRecipient recipient = escape_recipient(explanation.message);
  PanelDatabase database;
  // Lets the server refuse any write of ours. Older servers do not know the statement. Unlike a
  // transaction it makes nobody wait.
  database.TryQuery("set session transaction read only");
  explanation.mailbox = find_mailbox(database, explanation.message, std::move(recipient));
  if (!explanation.mailbox) return Reason::kMailboxNotFound;
  examine_rules(database, options, explanation);
  if (options.rule && explanation.rules.empty()) {
    throw CannotTell(Reason::kNoSuchRule, "The mailbox has no rule " + *options.rule);
  }
  return reason_of(explanation.rules);
}

Verdict verdict_of(Reason reason) {
  return reason == Reason::kRuleReplies ? Verdict::kReply : Verdict::kNoReply;
}

}  // namespace

void examine(const Options& options, Explanation& explanation) {
  try {
    load_conf_paths();
    explanation.switches = read_switches();
    const auto refusal = examine_message(options, explanation);
    explanation.reason = refusal ? *refusal : examine_panel(options, explanation);
    explanation.verdict = verdict_of(explanation.reason);
  } catch (const PanelFailure& failure) {
    const bool ends_run = is_refusal(failure);
    explanation.verdict = ends_run ? Verdict::kNoReply : Verdict::kUnknown;
    explanation.reason = ends_run ? Reason::kStatementFails : Reason::kDatabaseFails;
    explanation.trouble = failure.what();
  } catch (const CannotTell& trouble) {
    explanation.reason = trouble.reason;
    explanation.trouble = trouble.what();
  }
}
