#include <ostream>
#include <sstream>

#include "explain/printable.h"
#include "explain/reports.h"
#include "explain/wording.h"

namespace {

std::string quoted(const std::string& text) {
  return formatted("\"{}\"", printable(text));
}

std::string after_colon(const std::string& text) {
  return text.empty() ? "" : ": " + text;
}

std::string trimmed(const std::string& text) {
  const size_t start = text.find_first_not_of(' ');
  return start == std::string::npos ? ""
                                    : text.substr(start, text.find_last_not_of(' ') - start + 1);
}

// Writes each line of `text` after `indent`. A last line without a line end gets one.
void write_indented(std::ostream& out, const std::string& text, const char* indent) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) out << indent << printable_lines(line) << '\n';
}

void write_message(std::ostream& out, const Explanation& explanation, const TextStyle& style) {
  const IncomingMessage& message = explanation.message;
  out << coloured(Colour::kBold, "Message", style) << '\n';
  write_line(out, "sender", "{} ({})", printable(message.sender),
             words_for(explanation.sender_field).text);
  if (!explanation.guard) return;  // no recipient was determined
  write_line(out, "recipient", "{} ({})", printable(message.recipient),
             words_for(explanation.recipient_source).text);
  write_line(out, "subject", "{}", quoted(message.subject));
  if (explanation.subject_with_repairs) {
    write_line(out, "repairs on", "the subject would read {}",
               quoted(*explanation.subject_with_repairs));
  }
  write_line(out, "charset", "{}", printable(message.charset));
  write_line(out, "guards", "{}", words_for(*explanation.guard).text);
}

void write_mailbox(std::ostream& out, const FoundMailbox& found) {
  write_line(out, "mailbox", "{}@{}, id {}, found {}", printable(found.mailbox.mail_name),
             printable(found.mailbox.domain_name), printable(found.mailbox.id),
             words_for(found.lookup).text);
}

void write_trigger(std::ostream& out, const ResponderRule& rule, const TriggerMatch& trigger) {
  const TriggerPlace place = trigger_place(rule);
  if (place == TriggerPlace::kNowhere) {
    return write_line(out, "trigger", "{}", words_for(place).text);
  }
  const std::string line = trigger.line > 0 ? formatted("line {} of ", trigger.line) : "";
  write_line(out, "trigger", "{} {} {}{}", quoted(rule.keystr),
             trigger.fires ? "is in" : "is not in", line, words_for(place).text);
}

void write_limiter(std::ostream& out, const ResponderRule& rule, const LimiterFacts& limiter) {
  if (!limiter.step) {
    return write_line(out, "limiter", "{} replies a day: none", quoted(rule.ans_freq));
  }
  write_line(out, "limiter",
             "{} of {} replies to this sender today, {} of {} senders remembered: {}",
             printable(limiter.replies_today.value_or("0")), printable(rule.ans_freq),
             limiter.senders, printable(rule.mem_limit), words_for(*limiter.step).text);
  for (const std::string& sender : limiter.evicted) {
    write_line(out, "", "forgets {}", printable(sender));
  }
}

void write_attachments(std::ostream& out, const AnswerFacts& facts, const TextStyle& style) {
  for (const Attachment& file : facts.attachments.found) {
    write_line(out, "attachment", "{}, {} bytes", printable(file.path), file.size);
  }
  if (facts.attachments.missing.empty()) return;
  for (const std::string& name : facts.attachments.missing) {
    write_line(out, "missing", "{}", coloured(Colour::kYellow, printable(name), style));
  }
  const auto& notification = facts.notification;
  write_line(out, "", "tells {} about it",
             notification ? printable(notification->owner_email) : "nobody");
}

void write_reply(std::ostream& out, const ReplyFacts& reply, const MailText& mail,
                 const TextStyle& style) {
  const char* const place = reply.is_replaced ? "above" : "within";
  const std::string limit =
      reply.limit > 0 ? formatted("{} the limit of {}", place, reply.limit) : "no limit";
  write_line(out, "reply", "{} bytes, {}", reply.size, limit);
  write_line(out, "subject", "{}", quoted(reply.subject.Whole()));
  write_indented(out, mail.headers, "    | ");
  if (!style.show_reply) return;
  write_line(out, "text", "the whole reply");
  if (style.on_terminal) {
    write_indented(out, mail.whole, "    | ");
  } else {
    out << mail.whole;
  }
}

void write_commands(std::ostream& out, const std::vector<CommandFacts>& commands,
                    const TextStyle& style) {
  for (const CommandFacts& command : commands) {
    const std::string fate =
        command.not_run ? coloured(Colour::kRed, words_for(*command.not_run).text, style) : "";
    write_line(out, "command", "{}{}", words_for(command.purpose).text, after_colon(fate));
    write_indented(out, command.line, "    $ ");
  }
}

void write_changes(std::ostream& out, const std::vector<const Repair*>& repairs) {
  for (const Repair* const repair : repairs) {
    write_line(out, "repairs on", "{}", effect_of(*repair));
  }
}

void write_rule(std::ostream& out, const RuleExplanation& facts, const TextStyle& style) {
  const Colour colour = is_reply(facts.outcome) ? Colour::kGreen : Colour::kRed;
  const std::string title = formatted("Rule {}", printable(facts.rule.id));
  out << '\n'
      << coloured(Colour::kBold, title, style) << ' '
      << coloured(colour, words_for(facts).text + after_colon(facts.answer.objection), style)
      << '\n';
  if (facts.trigger) write_trigger(out, facts.rule, *facts.trigger);
  const AnswerFacts& answer = facts.answer;
  if (answer.limiter) write_limiter(out, facts.rule, *answer.limiter);
  if (answer.forwarding) {
    write_line(out, "forward to", "{}", trimmed(printable(*answer.forwarding)));
  }
  write_attachments(out, answer, style);
  if (answer.reply) write_reply(out, *answer.reply, facts.mail, style);
  if (!facts.trouble.empty()) write_line(out, "trouble", "{}", printable(facts.trouble));
  write_commands(out, facts.commands, style);
  write_changes(out, facts.with_repairs);
}

void write_verdict(std::ostream& out, const Explanation& explanation, const TextStyle& style) {
  const bool is_good = explanation.verdict == Verdict::kReply;
  const std::string& objection = explanation.objection;
  out << formatted(
      "\n{} Reason: {}{}.\n",
      coloured(is_good ? Colour::kGreen : Colour::kRed, words_for(explanation.verdict).text, style),
      words_for(explanation.reason).text,
      after_colon(explanation.reason == Reason::kCourtesy ? objection : ""));
  if (explanation.with_courtesy) {
    out << formatted("With courtesy on {}{}.\n", words_for(*explanation.with_courtesy).text,
                     after_colon(objection));
  }
  if (!explanation.trouble.empty()) out << printable(explanation.trouble) << '\n';
}

}  // namespace

void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style) {
  if (explanation.sender_field != SenderField::kNone) write_message(out, explanation, style);
  if (explanation.panel.mailbox) write_mailbox(out, *explanation.panel.mailbox);
  for (const RuleExplanation& rule : explanation.rules) write_rule(out, rule, style);
  write_verdict(out, explanation, style);
  out << words_for(explanation.switches);
  write_changes(out, explanation.with_repairs);
}
