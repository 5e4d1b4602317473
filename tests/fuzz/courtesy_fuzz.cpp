// Reads the courtesy facts of a header, and writes a reply's fields from them.
//
// An input is the header.

#include <algorithm>
#include <sstream>
#include <string>

#include "autoresponder/engine/courtesy.h"
#include "autoresponder/intake/automatic_mail.h"
#include "autoresponder/intake/listed_addresses.h"
#include "autoresponder/reply/reply_text.h"
#include "fuzz.h"

namespace {

void check_address(const std::string& address) {
  require(address.size() <= kMaxListedAddress, "an address is not too long");
  const size_t at = address.rfind('@');
  require(at != std::string::npos && at > 0, "an address has a local part and a domain");
  require(address.find_first_of("\r\n") == std::string::npos, "an address is one line");
  is_machine_address(address);
}

void check_id(const std::string& id) {
  require(id.size() <= kMaxMessageId, "a message id is not too long");
  require(id.size() >= 5 && id.front() == '<' && id.back() == '>', "a message id is in brackets");
  const std::string inside = id.substr(1, id.size() - 2);
  require(inside.find_first_of("<>\\") == std::string::npos, "a message id is one word");
  require(std::all_of(inside.begin(), inside.end(), [](char c) { return c > ' ' && c < '\x7f'; }),
          "a message id is of visible ASCII characters");
}

void check_lines(const CourtesyFacts& facts) {
  const std::string fields = reply_courtesy_fields(facts);
  require(!fields.empty() && fields.back() == '\n', "the fields end in a line end");
  std::istringstream lines(fields);
  for (std::string line; std::getline(lines, line);) {
    require(line.size() < 998, "a line is short enough");
    const bool begins = line.rfind("Auto-Submitted: ", 0) == 0 ||
                        line.rfind("X-Auto-Response-Suppress: ", 0) == 0 ||
                        line.rfind("In-Reply-To: <", 0) == 0 ||
                        line.rfind("References: <", 0) == 0 || line.rfind("\t<", 0) == 0;
    require(begins, "each line is one of ours");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string header = Input(data, size).Rest();
  const CourtesyFacts facts = gather_courtesy_facts(header);
  require(facts.addressees.size() <= 10000, "the addressees are bounded");
  require(facts.references.size() <= 20, "the references are bounded");
  for (const std::string& address : facts.addressees) check_address(address);
  if (!facts.return_path.empty()) check_address(facts.return_path);
  for (const std::string& id : facts.references) check_id(id);
  if (!facts.message_id.empty()) check_id(facts.message_id);
  check_lines(facts);
  return 0;
}
