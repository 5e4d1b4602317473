#include "autoresponder/engine/courtesy.h"

#include <algorithm>
#include <iterator>

#include "support/base/letter_case.h"

namespace {

constexpr std::string_view kPrograms[] = {
    "mailer-daemon", "mailer_daemon", "mailerdaemon", "postmaster", "listserv",
    "listproc",      "majordomo",     "mailman",      "sympa",
};

// The addresses of a list's managers: RFC 2142, 6, and other common forms.
constexpr std::string_view kListSuffixes[] = {"-owner", "-request"};
constexpr std::string_view kListPrefix = "owner-";

// Common spellings of "no reply", as `between_hyphens` writes them.
constexpr std::string_view kNoReply[] = {
    "-noreply-",        "-no-reply-",  "-donotreply-", "-do-not-reply-", "-donot-reply-",
    "-do-not-respond-", "-dontreply-", "-dont-reply-", "-noreplies-",    "-no-replies-",
};

constexpr std::string_view kBounce[] = {"-bounce-", "-bounces-"};

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// In lower case, without quotes, backslashes, and "+" and what follows it.
std::string local_part_of(std::string_view address) {
  std::string local_part = lower_case(address.substr(0, address.rfind('@')));
  const auto is_quote = [](char c) { return c == '"' || c == '\\'; };
  local_part.erase(std::remove_if(local_part.begin(), local_part.end(), is_quote),
                   local_part.end());
  const size_t plus = local_part.find('+', 1);
  return local_part.substr(0, plus);
}

// The local part without a number at its end, with hyphens between and around its words.
std::string between_hyphens(const std::string& local_part) {
  const size_t end = local_part.find_last_not_of("0123456789");
  std::string words = "-" + local_part.substr(0, end + 1) + "-";
  const auto separates = [](char c) { return c == '.' || c == '_' || c == '='; };
  std::replace_if(words.begin(), words.end(), separates, '-');
  return words;
}

bool is_of_a_list(std::string_view local_part) {
  const auto is_end = [local_part](std::string_view suffix) {
    return local_part.size() > suffix.size() && ends_with(local_part, suffix);
  };
  return (local_part.size() > kListPrefix.size() && starts_with(local_part, kListPrefix)) ||
         std::any_of(std::begin(kListSuffixes), std::end(kListSuffixes), is_end);
}

bool refuses_replies(std::string_view words) {
  return std::any_of(std::begin(kNoReply), std::end(kNoReply), [words](std::string_view phrase) {
    return words.find(phrase) != std::string_view::npos;
  });
}

bool takes_bounces(std::string_view words) {
  return std::any_of(std::begin(kBounce), std::end(kBounce), [words](std::string_view word) {
    return starts_with(words, word) || ends_with(words, word);
  });
}

// qmail sends the bounce of a bounce from "#@[]".
bool has_null_sender(const IncomingMessage& message) {
  const auto& sender = message.envelope_sender;
  return (sender && (sender->empty() || *sender == "#@[]")) ||
         message.courtesy.has_null_return_path;
}

// The envelope sender, or the Return-Path if the mail server did not tell it.
const std::string& envelope_sender(const IncomingMessage& message) {
  return message.envelope_sender ? *message.envelope_sender : message.courtesy.return_path;
}

bool is_from_machine(const IncomingMessage& message) {
  return is_machine_address(message.sender) || is_machine_address(envelope_sender(message));
}

bool is_from(const MailboxNames& names, const IncomingMessage& message) {
  return names.Include(message.sender) || names.Include(envelope_sender(message));
}

bool is_to(const MailboxNames& names, const IncomingMessage& message) {
  const auto& addressees = message.courtesy.addressees;
  return std::any_of(addressees.begin(), addressees.end(),
                     [&names](const std::string& address) { return names.Include(address); });
}

}  // namespace

bool is_machine_address(std::string_view address) {
  const std::string local_part = local_part_of(address);
  const std::string words = between_hyphens(local_part);
  const bool is_program =
      std::find(std::begin(kPrograms), std::end(kPrograms), local_part) != std::end(kPrograms);
  return is_program || is_of_a_list(local_part) || refuses_replies(words) || takes_bounces(words);
}

std::string courtesy_objection_of_header(const IncomingMessage& message) {
  const CourtesyFacts& facts = message.courtesy;
  if (has_null_sender(message)) return "null sender";
  if (facts.is_auto_submitted) return "Auto-Submitted";
  if (!facts.list_field.empty()) return facts.list_field;
  if (facts.is_bulk) return "Precedence";
  if (facts.suppresses_replies) return "X-Auto-Response-Suppress";
  if (facts.is_spam) return "spam";
  return is_from_machine(message) ? "sender is a machine" : "";
}

std::string courtesy_objection(PanelDatabase& database, const MailboxRef& mailbox,
                               const IncomingMessage& message) {
  std::string objection = courtesy_objection_of_header(message);
  if (!objection.empty()) return objection;
  const MailboxNames names(database, mailbox, message.recipient);
  if (is_from(names, message)) return "from the mailbox itself";
  return is_to(names, message) ? "" : "not addressed to the mailbox";
}
