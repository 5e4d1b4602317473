#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "autoresponder/message/body.h"
#include "autoresponder/message/courtesy_facts.h"

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
