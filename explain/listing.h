#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain/explanation.h"

/// A sender whom a rule answered today.
struct AnsweredSender {
  std::string address;
  std::string replies;    ///< how many today, in decimal
  std::string time_resp;  ///< when the limiter's row was inserted, by the server's clock
};

/// What the panel has of one rule.
struct ListedRule {
  ResponderRule rule;
  std::vector<std::string> forwarding;  ///< the rows, each with one or more addresses
  AttachmentList attachments;
  std::vector<AnsweredSender> answered;
};

/// What the panel has of one mailbox.
struct Listing {
  std::string address;
  std::optional<FoundMailbox> mailbox;
  std::optional<Rows> rows;  ///< own the texts that the rules point to
  std::vector<ListedRule> rules;
  std::string trouble;  ///< why the listing is incomplete; empty if it is not
};

/// What was asked for: one mailbox, or those of a domain.
using Listings = std::vector<Listing>;

/// Lists the mailbox of the address `asked`, or the mailboxes with rules of the domain `asked` or
/// of the domain whose alias that is. A domain without any is told as an address without a mailbox.
/// After a failure the last one has `trouble`. Only reads the configuration, the database and the
/// attachment store. A fatal error in the panel's library ends the process.
Listings list(const std::string& asked);

/// What a rule did today, by the calendar of the database server. Numbers are in decimal.
struct RuleToday {
  std::string address;
  std::string rule;
  std::string senders;
  std::string replies;
  std::string refused;   ///< the senders who got as many replies as the rule allows
  bool is_full = false;  ///< whether the rule remembers as many senders as it may
};

/// What the rules did today.
struct Today {
  bool has_mailbox = true;  ///< false if a mailbox was asked for and there is none
  std::vector<RuleToday> rules;
  std::string trouble;  ///< why it cannot be told; empty if it can
};

/// Looks up what the rules of the mailbox of the address `asked` did today; without it, what all
/// rules did that replied. Only reads. A fatal error in the panel's library ends the process.
Today replies_today(const std::optional<std::string>& asked);
