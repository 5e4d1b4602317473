#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "autoresponder/message/courtesy_facts.h"

/// The lines of a message's text. This base class has none.
class Body {
 public:
  virtual ~Body() = default;

  /// For each key (UTF-8) the number, from 1, of the first line within which it occurs, or 0. An
  /// empty key occurs in the first line, one with a newline in none. Call only once: the text may
  /// be in a process that ends after its answer.
  virtual std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) {
    return std::vector<size_t>(keys.size(), 0);
  }
};

/// The charset of a text that declares none (RFC 2045, 5.2).
constexpr std::string_view kDefaultCharset = "US-ASCII";

/// What the run knows of the incoming message. Filled once by the intake, only read afterwards;
/// owns all its texts.
struct IncomingMessage {
  /// Sets `recipient` and its two parts.
  void SetRecipient(std::string address) {
    recipient = std::move(address);
    const size_t at = recipient.find('@');
    recipient_mailname = recipient.substr(0, at);
    recipient_domain = at == std::string::npos ? recipient : recipient.substr(at + 1);
  }

  std::string sender;              ///< the address to answer: local part, "@", domain
  std::string recipient;           ///< the address that the message was delivered to
  std::string recipient_mailname;  ///< `recipient` before its first "@", or all of it
  std::string recipient_domain;    ///< `recipient` after its first "@", or all of it
  std::string subject;             ///< the Subject in UTF-8; empty if it could not be decoded
  std::string date;                ///< the text of the Date field, undecoded
  std::string charset;             ///< declared by the text part, as written, or kDefaultCharset
  CourtesyFacts courtesy;          ///< empty unless courtesy is on

  /// The lines of the text part in UTF-8; never null.
  std::unique_ptr<Body> body_lines = std::make_unique<Body>();

  /// The envelope sender, if the mail server gave it; empty for the null sender. Set by run
  /// control.
  std::optional<std::string> envelope_sender;
};

/// Which header field names the sender.
enum class SenderField { kNone, kReplyTo, kFrom };

/// Whether a message can be handled.
enum class Extraction { kDone, kNoSender, kNoRecipient };

/// What an extraction tells besides the record.
struct ExtractionResult {
  Extraction outcome;
  SenderField sender_field;  ///< kNone if there is no sender
  std::string sender;        ///< the sender, if no recipient was found; otherwise see the record
};
