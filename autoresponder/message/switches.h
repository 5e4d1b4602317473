#pragma once

/// Defects and security holes, each closed if its member is true. All are off unless the
/// configuration switches them on, because other parts of the panel may rely on any oddity.
/// docs/operators.md describes them in this order.
struct Repairs {
  bool quotes = false;             ///< a quote in a value of a command is escaped
  bool backslashes = false;        ///< a backslash in the name of an attachment stays as it is
  bool newlines = false;           ///< a newline in a value refuses a command
  bool forwarding = false;         ///< forwarding addresses are quoted for the shell
  bool options = false;            ///< nothing is mailed to an address that begins with "-"
  bool store = false;              ///< only plain files of the attachment store are attached
  bool lines = false;              ///< control characters in header texts become blanks
  bool notification = false;       ///< the notification's Reply-To has a line end
  bool whole_copies = false;       ///< a message is not forwarded if /tmp was full
  bool whole_attachments = false;  ///< a reply is not sent if its attachments are not complete
  bool whole_notices = false;      ///< a notice is not sent if /tmp was full
  bool subject = false;            ///< a subject is read as one line, and aborts no run
  bool characters = false;         ///< rules may hold any character, emojis too
  bool file_names = false;         ///< mail programs read any attachment's name as it is
  bool local_parts = false;        ///< a sender in quotes gets replies
  bool reply_to = false;           ///< a Reply-To that costs the reply is left out
  bool turns = false;              ///< concurrent deliveries ask the limiter one after another
  bool evictions = false;          ///< a full memory without senders is not asked to forget one
  bool long_senders = false;       ///< a sender longer than the limiter's column is found again
};

/// A repair's stable name for programs, and its member.
struct Repair {
  const char* code;
  bool Repairs::*member;
};

/// All repairs, in their order.
constexpr Repair kRepairs[] = {
    {"quotes", &Repairs::quotes},
    {"backslashes", &Repairs::backslashes},
    {"newlines", &Repairs::newlines},
    {"forwarding", &Repairs::forwarding},
    {"options", &Repairs::options},
    {"store", &Repairs::store},
    {"lines", &Repairs::lines},
    {"notification", &Repairs::notification},
    {"whole_copies", &Repairs::whole_copies},
    {"whole_attachments", &Repairs::whole_attachments},
    {"whole_notices", &Repairs::whole_notices},
    {"subject", &Repairs::subject},
    {"characters", &Repairs::characters},
    {"file_names", &Repairs::file_names},
    {"local_parts", &Repairs::local_parts},
    {"reply_to", &Repairs::reply_to},
    {"turns", &Repairs::turns},
    {"evictions", &Repairs::evictions},
    {"limiter", &Repairs::long_senders},
};

/// All repairs, switched on or off together.
constexpr Repairs all_repairs(bool on) {
  Repairs repairs;
  for (const Repair& repair : kRepairs) repairs.*repair.member = on;
  return repairs;
}

/// What the configuration switches on.
struct Switches {
  Repairs repairs;
  bool courtesy = false;  ///< automatic mail gets no reply, and replies are marked
};

/// Whether any repair is on.
constexpr bool has_repairs(const Switches& switches) {
  for (const Repair& repair : kRepairs) {
    if (switches.repairs.*repair.member) return true;
  }
  return false;
}
