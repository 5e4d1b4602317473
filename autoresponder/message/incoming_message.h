#ifndef AUTORESPONDER_MESSAGE_INCOMING_MESSAGE_H
#define AUTORESPONDER_MESSAGE_INCOMING_MESSAGE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "autoresponder/message/body.h"
#include "autoresponder/message/courtesy_facts.h"

/// The charset of a text that declares none (RFC 2045, 5.2).
constexpr std::string_view kDefaultCharset = "US-ASCII";

/// What the run learned from the incoming message. Filled once by the intake, only read afterwards;
/// all bytes are its own.
struct IncomingMessage {
  /// Sets `recipient`, and the two that are parts of it.
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
  std::string subject;             ///< the Subject in UTF-8; empty when it could not be decoded
  std::string date;                ///< the text of the Date field, undecoded
  std::string charset;             ///< what the text part declares, as written, or kDefaultCharset
  CourtesyFacts courtesy;          ///< empty unless they were asked for

  /// The lines of the text part in UTF-8; never null.
  std::unique_ptr<Body> body_lines = std::make_unique<Body>();

  /// The envelope sender, if the mail server has told it; empty for a null one. Filled by run
  /// control.
  std::optional<std::string> envelope_sender;
};

#endif
