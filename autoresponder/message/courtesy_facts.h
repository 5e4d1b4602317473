#ifndef AUTORESPONDER_MESSAGE_COURTESY_FACTS_H
#define AUTORESPONDER_MESSAGE_COURTESY_FACTS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The size of the longest message id that counts, in bytes with its brackets: a line of a header
/// has at most 998 (RFC 5322, 2.1.1).
constexpr size_t kMaxMessageId = 900;

/// How much of a long thread a reply names.
constexpr size_t kMaxReferences = 20;

/// A message to more addresses is meant for none of them.
constexpr size_t kMaxAddressees = 10000;

/// The size of the longest addressee that counts, in bytes: the panel has no longer addresses.
constexpr size_t kMaxListedAddress = 512;

/// The fields of RFC 2919 and RFC 2369, the most telling first.
constexpr std::string_view kListFields[] = {
    "List-Id",   "List-Post",  "List-Unsubscribe", "List-Subscribe",
    "List-Help", "List-Owner", "List-Archive",
};

/// What the header of the incoming message says about whether it may be answered (RFC 3834, 2), and
/// what a reply has to name of it. Plain data of bounded size, about 5 MB at most.
struct CourtesyFacts {
  bool has_null_return_path = false;  ///< a Return-Path is "<>"
  std::string return_path;            ///< the first address of a Return-Path; may be empty
  bool is_auto_submitted = false;     ///< Auto-Submitted with anything but "no"
  std::string list_field;             ///< one of kListFields; may be empty
  bool is_bulk = false;               ///< Precedence: bulk, list or junk
  bool suppresses_replies = false;    ///< X-Auto-Response-Suppress: All, AutoReply or OOF
  bool is_spam = false;               ///< marked by a filter

  /// The addresses in To, Cc, Bcc and their Resent- forms, also those in groups. Quotes and
  /// comments are removed, other bytes are as in the message.
  std::vector<std::string> addressees;

  /// The Message-ID, well-formed, in its angle brackets; or empty.
  std::string message_id;
  /// What the References of a reply begin with (RFC 5322, 3.6.4): well-formed, each in its angle
  /// brackets. `message_id` is not among them unless the message itself refers to it.
  std::vector<std::string> references;
};

#endif
