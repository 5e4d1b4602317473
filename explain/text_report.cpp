#include "explain/text_report.h"

#include <ostream>
#include <sstream>

#include "explain/printable.h"
#include "explain/wording.h"

namespace {

class Report {
 public:
  Report(std::ostream& out, const TextStyle& style) : out_(out), style_(style) {}

  void Message(const Explanation& explanation);
  void Mailbox(const FoundMailbox& found);
  void Rule(const RuleExplanation& facts);
  void Verdict(const Explanation& explanation);
  void Switches(const Explanation& explanation);

 private:
  std::ostream& Line(const char* topic) { return begin_line(out_, topic); }
  std::string Coloured(Colour colour, const std::string& text) const {
    return coloured(colour, text, style_);
  }
  void Trigger(const ResponderRule& rule, const TriggerMatch& trigger);
  void Limiter(const ResponderRule& rule, const LimiterFacts& limiter);
  void Attachments(const AnswerFacts& facts);
  void Reply(const ReplyFacts& reply, const MailText& mail);
  void Commands(const std::vector<CommandFacts>& commands);
  void Changes(const std::vector<const Repair*>& repairs);

  std::ostream& out_;
  const TextStyle& style_;
};

template <class Enumeration>
const char* words(Enumeration value) {
  return words_for(value).text;
}

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

void Report::Message(const Explanation& explanation) {
  const IncomingMessage& message = explanation.message;
  out_ << Coloured(Colour::kBold, "Message") << '\n';
  Line("sender") << printable(message.sender) << " (" << words(explanation.sender_field) << ")\n";
  if (!explanation.guard) return;  // no recipient was determined
  Line("recipient") << printable(message.recipient) << " (" << words(explanation.recipient_source)
                    << ")\n";
  Line("subject") << quoted(message.subject) << '\n';
  if (explanation.subject_with_repairs) {
    Line("repairs on") << "the subject would read " << quoted(*explanation.subject_with_repairs)
                       << '\n';
  }
  Line("charset") << printable(message.charset) << '\n';
  Line("guards") << words(*explanation.guard) << '\n';
}

void Report::Mailbox(const FoundMailbox& found) {
  const MailboxRef& mailbox = found.mailbox;
  Line("mailbox") << printable(mailbox.mail_name) << '@' << printable(mailbox.domain_name)
                  << ", id " << printable(mailbox.id) << ", found " << words(found.lookup) << '\n';
}

void Report::Trigger(const ResponderRule& rule, const TriggerMatch& trigger) {
  std::ostream& line = Line("trigger");
  if (trigger_place(rule) == TriggerPlace::kNowhere) {
    line << words(trigger_place(rule)) << '\n';
    return;
  }
  line << quoted(rule.keystr) << (trigger.fires ? " is in " : " is not in ");
  if (trigger.line > 0) {
    line << "line " << trigger.line << " of ";
  }
  line << words(trigger_place(rule)) << '\n';
}

void Report::Limiter(const ResponderRule& rule, const LimiterFacts& limiter) {
  std::ostream& line = Line("limiter");
  if (!limiter.step) {
    line << quoted(rule.ans_freq) << " replies a day: none\n";
    return;
  }
  line << printable(limiter.replies_today.value_or("0")) << " of " << printable(rule.ans_freq)
       << " replies to this sender today, " << limiter.senders << " of "
       << printable(rule.mem_limit) << " senders remembered: " << words(*limiter.step) << '\n';
  for (const std::string& sender : limiter.evicted)
    Line("") << "forgets " << printable(sender) << '\n';
}

void Report::Attachments(const AnswerFacts& facts) {
  for (const Attachment& file : facts.attachments.found) {
    Line("attachment") << printable(file.path) << ", " << file.size << " bytes\n";
  }
  if (facts.attachments.missing.empty()) return;
  for (const std::string& name : facts.attachments.missing) {
    Line("missing") << Coloured(Colour::kYellow, printable(name)) << '\n';
  }
  const auto& notification = facts.notification;
  Line("") << "tells " << (notification ? printable(notification->owner_email) : "nobody")
           << " about it\n";
}

void Report::Reply(const ReplyFacts& reply, const MailText& mail) {
  std::ostream& line = Line("reply");
  line << reply.size << " bytes, ";
  if (reply.limit > 0) {
    line << (reply.is_replaced ? "above" : "within") << " the limit of " << reply.limit;
  } else {
    line << "no limit";
  }
  line << '\n';
  Line("subject") << quoted(reply.subject.Whole()) << '\n';
  write_indented(out_, mail.headers, "    | ");
  if (!style_.show_reply) return;
  Line("text") << "the whole reply\n";
  if (style_.on_terminal) {
    write_indented(out_, mail.whole, "    | ");
  } else {
    out_ << mail.whole;
  }
}

void Report::Commands(const std::vector<CommandFacts>& commands) {
  for (const CommandFacts& command : commands) {
    Line("command") << words(command.purpose);
    if (command.not_run) out_ << ": " << Coloured(Colour::kRed, words(*command.not_run));
    out_ << '\n';
    write_indented(out_, command.line, "    $ ");
  }
}

void Report::Changes(const std::vector<const Repair*>& repairs) {
  for (const Repair* const repair : repairs) Line("repairs on") << effect_of(*repair) << '\n';
}

void Report::Rule(const RuleExplanation& facts) {
  const Colour colour = is_reply(facts.outcome) ? Colour::kGreen : Colour::kRed;
  out_ << '\n'
       << Coloured(Colour::kBold, formatted("Rule {}", printable(facts.rule.id))) << ' '
       << Coloured(colour, words_for(facts).text + after_colon(facts.answer.objection)) << '\n';
  if (facts.trigger) Trigger(facts.rule, *facts.trigger);
  const AnswerFacts& answer = facts.answer;
  if (answer.limiter) Limiter(facts.rule, *answer.limiter);
  if (answer.forwarding) Line("forward to") << trimmed(printable(*answer.forwarding)) << '\n';
  Attachments(answer);
  if (answer.reply) Reply(*answer.reply, facts.mail);
  if (!facts.trouble.empty()) Line("trouble") << printable(facts.trouble) << '\n';
  Commands(facts.commands);
  Changes(facts.with_repairs);
}

void Report::Verdict(const Explanation& explanation) {
  const bool is_good = explanation.verdict == ::Verdict::kReply;
  const std::string verdict = words(explanation.verdict);
  out_ << '\n' << Coloured(is_good ? Colour::kGreen : Colour::kRed, verdict);
  const bool is_withheld = explanation.reason == Reason::kCourtesy;
  out_ << " Reason: " << words(explanation.reason)
       << after_colon(is_withheld ? explanation.objection : "") << ".\n";
  if (explanation.with_courtesy) {
    out_ << "With courtesy on " << words(*explanation.with_courtesy)
         << after_colon(explanation.objection) << ".\n";
  }
  if (!explanation.trouble.empty()) out_ << printable(explanation.trouble) << '\n';
}

void Report::Switches(const Explanation& explanation) {
  out_ << words_for(explanation.switches);
  Changes(explanation.with_repairs);
}

}  // namespace

void write_text(std::ostream& out, const Explanation& explanation, const TextStyle& style) {
  Report report(out, style);
  if (explanation.sender_field != SenderField::kNone) report.Message(explanation);
  if (explanation.panel.mailbox) report.Mailbox(*explanation.panel.mailbox);
  for (const RuleExplanation& rule : explanation.rules) report.Rule(rule);
  report.Verdict(explanation);
  report.Switches(explanation);
}
