#include "autoresponder/reply/courtesy_fields.h"

namespace {

// One message id a line: two of kMaxMessageId bytes would exceed the limit on a line.
std::string references_field(const CourtesyFacts& message) {
  std::string body;
  for (const std::string& id : message.references) body += (body.empty() ? "" : "\n\t") + id;
  if (!message.message_id.empty()) body += (body.empty() ? "" : "\n\t") + message.message_id;
  return body.empty() ? "" : "References: " + body + "\n";
}

}  // namespace

std::string reply_courtesy_fields(const CourtesyFacts& message) {
  std::string fields = "Auto-Submitted: auto-replied\nX-Auto-Response-Suppress: All\n";
  if (!message.message_id.empty()) fields += "In-Reply-To: " + message.message_id + "\n";
  return fields + references_field(message);
}
