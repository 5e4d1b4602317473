#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Maximum size of a message id, in bytes with its brackets; longer ones are ignored. A header line
/// has at most 998 bytes (RFC 5322, 2.1.1).
constexpr size_t kMaxMessageId = 900;

/// Maximum number of message ids that a reply takes over from References.
constexpr size_t kMaxReferences = 20;

/// Maximum number of addressees that are read: if the mailbox is not among so many, the message is
/// not meant for it.
constexpr size_t kMaxAddressees = 10000;

/// Maximum size of an addressee, in bytes; the panel has no longer addresses.
constexpr size_t kMaxListedAddress = 512;

/// The header fields of mailing lists (RFC 2919, RFC 2369), the most telling first.
constexpr std::string_view kListFields[] = {
    "List-Id",   "List-Post",  "List-Unsubscribe", "List-Subscribe",
    "List-Help", "List-Owner", "List-Archive",
};

/// What the header of the incoming message says about whether it may be answered (RFC 3834, 2), and
/// what a reply repeats of it. Plain data of bounded size, at most about 5 MB.
struct CourtesyFacts {
  bool has_null_return_path = false;  ///< a Return-Path is "<>"
  std::string return_path;            ///< the first address of a Return-Path; may be empty
  bool is_auto_submitted = false;     ///< Auto-Submitted with anything but "no"
  std::string list_field;             ///< one of kListFields; may be empty
  bool is_bulk = false;               ///< Precedence: bulk, list or junk
  bool suppresses_replies = false;    ///< X-Auto-Response-Suppress: All, AutoReply or OOF
  bool is_spam = false;               ///< X-Spam-Flag or X-Spam-Status: Yes

  /// The addresses in To, Cc, Bcc and their Resent- forms, also those in groups. Quotes and
  /// comments are removed, other bytes are as in the message.
  std::vector<std::string> addressees;

  /// The Message-ID, well-formed, in its angle brackets; or empty.
  std::string message_id;
  /// What the References of a reply begin with (RFC 5322, 3.6.4): well-formed, each in its angle
  /// brackets. `message_id` is among them only if the message itself refers to it.
  std::vector<std::string> references;
};
