#include "explain/examination.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

#include "autoresponder/engine/courtesy.h"
#include "autoresponder/reader/reader.h"
#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/run/configuration.h"
#include "autoresponder/run/incoming.h"
#include "autoresponder/run/process.h"
#include "explain/check/formatting.h"
#include "explain/held_output.h"
#include "explain/recorded_effects.h"
#include "explain/repairs.h"
#include "support/conf.h"

namespace {

// Reads the message and appends a newline, as the run does.
MessageBuffer load_message(const std::string& file_name) {
  constexpr size_t kBlock = size_t{64} << 10;
  errno = 0;
  std::ifstream file;
  if (file_name != "-") file.open(file_name, std::ios::binary);
  std::istream& in = file_name == "-" ? std::cin : file;
  MessageBuffer message;
  while (in.read(message.RoomFor(kBlock), kBlock), in.gcount() > 0) {
    message.Add(static_cast<size_t>(in.gcount()));
  }
  if (!in.eof()) {
    const std::string name = file_name == "-" ? "standard input" : file_name;
    throw CannotTell(Reason::kMessageUnreadable,
                     formatted("Unable to read {}: {}", name, strerror(errno)));
  }
  *message.RoomFor(1) = '\n';
  message.Add(1);
  return message;
}

// The recipient's address from the option or the environment; null if the run would use To.
const char* find_delivery(const Options& options, Explanation& explanation) {
  if (options.recipient) {
    explanation.recipient_source = RecipientSource::kOption;
    return options.recipient->c_str();
  }
  const char* const address = delivery_address();
  if (address != nullptr) explanation.recipient_source = RecipientSource::kEnvironment;
  return address;
}

Reason reason_of(Extraction outcome) {
  return outcome == Extraction::kNoSender ? Reason::kNoSender : Reason::kNoRecipient;
}

Reason reason_of(LoopGuard guard) {
  return guard == LoopGuard::kMailerDaemon ? Reason::kMailerDaemon : Reason::kSenderIsRecipient;
}

// The subject as repairs read it; nothing if there is none.
std::optional<std::string> repaired_subject(MessageBuffer text, const char* delivered_to) {
  HeldOutput diagnostics;  // those of the message as it is read without repairs are told
  std::optional<std::string> subject;
  try {
    IncomingMessage message;
    const auto result = read_message(std::move(text), delivered_to, {all_repairs(true)}, message);
    if (result.outcome == Extraction::kDone) subject = std::move(message.subject);
  } catch (const ReaderFailure&) {  // as it will fail without repairs
  }
  diagnostics.Release();
  return subject;
}

// Why the run would end before it looks for rules; nothing if it would look.
std::optional<Reason> examine_message(const Options& options, Explanation& explanation) {
  MessageBuffer text = load_message(options.message_file);
  const char* const delivered_to = find_delivery(options, explanation);
  try {
    Switches switches = explanation.switches;
    switches.courtesy = true;  // reads what `examine_courtesy` needs
    const auto repaired =
        switches.repairs.subject ? std::nullopt : repaired_subject(text.Copy(), delivered_to);
    const auto result = read_message(std::move(text), delivered_to, switches, explanation.message);
    explanation.message.envelope_sender = delivery_sender();
    explanation.sender_field = result.sender_field;
    if (result.outcome != Extraction::kDone) {
      explanation.message.sender = result.sender;
      return reason_of(result.outcome);
    }
    if (repaired && repaired != explanation.message.subject) {
      explanation.subject_with_repairs = repaired;
      explanation.with_repairs.push_back(repair_named("subject"));
    }
  } catch (const std::out_of_range&) {  // the run does not catch it either
    explanation.with_repairs.push_back(repair_named("subject"));
    return Reason::kRunAborts;
  }
  explanation.guard = loop_guard(explanation.message);
  if (*explanation.guard == LoopGuard::kPassed) return std::nullopt;
  return reason_of(*explanation.guard);
}

// Examines the rules in the run's order, up to the one that would end the run.
void examine_rules(PanelDatabase& database, const Options& options, Explanation& explanation) {
  const MailboxRules& panel = explanation.panel;
  bool goes_on = true;
  for (size_t i = 0; i < panel.rules.size(); ++i) {
    RuleExplanation facts;
    facts.rule = panel.rules[i];
    if (goes_on && is_active(facts.rule)) facts.trigger = panel.triggers[i];
    const bool is_shown = !options.rule || *options.rule == facts.rule.id;
    const bool whole_reply = is_shown && options.show_reply;
    if (goes_on) examine_rule(database, explanation, whole_reply, facts);
    goes_on = goes_on && !ends_run(facts.outcome);
    if (is_shown) explanation.rules.push_back(std::move(facts));
  }
}

Reason reason_of(const std::vector<RuleExplanation>& rules) {
  Reason reason = rules.empty() ? Reason::kNoRules : Reason::kNoRuleReplies;
  const RuleExplanation* unknown = nullptr;
  for (const RuleExplanation& rule : rules) {
    if (is_reply(rule.outcome)) return Reason::kRuleReplies;
    if (rule.outcome == RuleOutcome::kCourtesy) reason = Reason::kCourtesy;
    if (rule.outcome == RuleOutcome::kUnknown && unknown == nullptr) unknown = &rule;
  }
  if (unknown != nullptr) throw CannotTell(Reason::kReplyNotBuilt, unknown->trouble);
  return reason;
}

std::string objection_of(const std::vector<RuleExplanation>& rules) {
  for (const RuleExplanation& rule : rules) {
    if (!rule.answer.objection.empty()) return rule.answer.objection;
  }
  return "";
}

// What courtesy would change if it were on. If its query fails that is unknown: the run does not
// send this query.
void examine_courtesy(PanelDatabase& database, Explanation& explanation) {
  try {
    explanation.objection =
        courtesy_objection(database, explanation.panel.mailbox->mailbox, explanation.message);
    explanation.with_courtesy =
        explanation.objection.empty() ? CourtesyChange::kMarkedReply : CourtesyChange::kNoReply;
  } catch (const PanelFailure&) {
    explanation.with_courtesy.reset();
  }
}

Reason examine_panel(const Options& options, Explanation& explanation) {
  EscapedRecipient recipient = escape_recipient(explanation.message);
  PanelDatabase database = PanelDatabase::ReadOnly();
  find_rules(database, explanation.message, std::move(recipient), explanation.switches.repairs,
             explanation.panel);
  if (!explanation.panel.mailbox) return Reason::kMailboxNotFound;
  examine_rules(database, options, explanation);
  if (options.rule && explanation.rules.empty()) {
    throw CannotTell(Reason::kNoSuchRule, formatted("The mailbox has no rule {}", *options.rule));
  }
  const Reason reason = reason_of(explanation.rules);
  explanation.objection = objection_of(explanation.rules);
  const bool is_off = !explanation.switches.courtesy;
  if (is_off && reason == Reason::kRuleReplies) examine_courtesy(database, explanation);
  return reason;
}

}  // namespace

void examine(const Options& options, Explanation& explanation) {
  try {
    load_conf_paths();
    explanation.switches = read_switches();
    hide_configuration();
    if (explanation.switches.repairs.store) allow_many_descriptors();
    const auto refusal = examine_message(options, explanation);
    explanation.reason = refusal ? *refusal : examine_panel(options, explanation);
    explanation.verdict =
        explanation.reason == Reason::kRuleReplies ? Verdict::kReply : Verdict::kNoReply;
  } catch (const PanelFailure& failure) {
    const bool ends_run = is_refusal(failure);
    explanation.verdict = ends_run ? Verdict::kNoReply : Verdict::kUnknown;
    explanation.reason = ends_run ? Reason::kStatementFails : Reason::kDatabaseFails;
    explanation.trouble = failure.what();
  } catch (const ReaderNotStarted& failure) {
    explanation.reason = Reason::kReaderFails;
    explanation.trouble = failure.what();
  } catch (const ReaderFailure& failure) {
    explanation.verdict = Verdict::kNoReply;
    explanation.reason = Reason::kReaderFails;
    explanation.trouble = failure.what();
  } catch (const CannotTell& trouble) {
    explanation.reason = trouble.reason;
    explanation.trouble = trouble.what();
  }
}
