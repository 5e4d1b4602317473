#include "message_generator.h"

#include <string_view>
#include <vector>

#include "../with_crlf.h"
#include "address_generator.h"
#include "content_generator.h"
#include "encoders.h"
#include "random.h"

namespace {

std::string make_encoded_word(Random& random) {
  const Charset& charset = pick_charset(random);
  std::string text(random.Pick(charset.words));
  while (random.Chance(40)) text += " " + std::string(random.Pick(charset.words));
  std::string name(charset.name);
  if (random.Chance(2)) name += "*en";
  return encode_word(random, name, text);
}

std::string make_subject(Random& random) {
  constexpr std::string_view kWords[] = {"Re:", "hello",        "a=b",   "what?",
                                         "x_y", "(no comment)", "\"q\"", "Gr\xC3\xBC\xC3\x9F",
                                         "=",   "?=",           "a;b,c"};
  constexpr std::string_view kBlanks[] = {" ",  " ",   " ",    " ",    "  ",
                                          "\t", "\n ", "\n\t", "\n  ", " \n "};
  std::string subject = random.Chance(5) ? "\n " : " ";
  for (size_t words = random.Below(7); words > 0; --words) {
    subject += random.Chance(50) ? make_encoded_word(random) : std::string(random.Pick(kWords));
    if (words > 1) subject += random.Pick(kBlanks);
  }
  if (random.Chance(5)) subject += "  ";
  return without_blank_lines(subject);
}

std::string field(Random& random, std::string_view name, const std::string& body) {
  return random.AnyCase(name) + (random.Chance(3) ? " :" : ":") + body;
}

void add_fields(Random& random, std::vector<std::string>& fields) {
  fields.push_back(field(random, "From", " " + make_mailbox_list(random)));
  if (random.Chance(40)) {
    fields.push_back(field(random, "Reply-To", " " + make_address_list(random)));
  }
  if (random.Chance(85)) fields.push_back(field(random, "To", " " + make_address_list(random)));
  if (random.Chance(90)) fields.push_back(field(random, "Subject", make_subject(random)));
  if (random.Chance(50)) fields.emplace_back("Date: Mon, 1 Jan 2001 00:00:00 +0000");
  if (random.Chance(50)) fields.emplace_back("MIME-Version: 1.0 (a comment)");
  if (random.Chance(30)) fields.emplace_back("Received: from a.example\n\tby b.example; 1 Jan 01");
  if (random.Chance(30)) fields.emplace_back("Cc: other@example.org");
  if (random.Chance(10)) fields.emplace_back("X-Content-Type: text/plain; charset=other");
}

}  // namespace

std::string make_message(unsigned seed) {
  Random random(seed);
  Entity message = make_content(random, 0);
  add_fields(random, message.fields);
  random.Shuffle(message.fields);
  const std::string text = message.Text();
  return random.Chance(50) ? with_crlf(text) : text;
}
