#include "address_generator.h"

#include <string_view>

namespace {

constexpr std::string_view kGaps[] = {
    "",
    "",
    "",
    "",
    "",
    " ",
    " ",
    "  ",
    "\t",
    "\n ",
    "\n\t",
    " (comment) ",
    "(a (nested (comment)))",
    " (quoted \\) and \\( pairs)",
    "(other@example.org, <other@example.org>; \"quoted)",
    " (=?utf-8?Q?encoded_word?=) ",
    " (a comment\n in two lines) ",
};

constexpr std::string_view kAtoms[] = {
    "ann", "Ann",   "o'brien", "a+tag", "a/b=c", "$HOME", "`id`", "a|b", "x_y", "{a}",
    "-oQ", "100%x", "a!b",     "&",     "#1",    "a~b",   "a^b",  "a*b", "q?",  "DAEMON",
};

constexpr std::string_view kQuotedWords[] = {
    R"("john doe")",      R"("john\"doe")", R"("back\\slash")", R"("a@b")",    R"("a,b;c:d")",
    R"("<x>")",           R"-("(none)")-",  R"("a\ b")",        R"("")",       R"("plain")",
    "\"in two\n lines\"", R"("[1]")",       R"("a.b")",         R"("';id;'")",
};

constexpr std::string_view kDisplayNames[] = {
    "Ann",
    "Ann B",
    "J. R. Smith",
    R"("B, Ann")",
    R"("other@example.org")",
    R"("<other@example.org>")",
    R"("Ann \"the\" B")",
    R"-("(no comment)")-",
    R"("friends: ;")",
    "=?utf-8?Q?J=C3=BCrgen?=",
    "=?iso-8859-1?Q?M=FCller=2C_Ann?=",
    "=?utf-8?B?w7w=?= =?koi8-r?Q?=F0?=",
    "Ann\n B",
    "\"Ann\"\n\t\"B\"",
};

constexpr std::string_view kGroupNames[] = {
    "friends", "A B", R"("my, list")", "undisclosed-recipients", "=?utf-8?Q?Gr=C3=BC=C3=9Fe?=",
};

// Gaps inside an address are allowed (RFC 822, 3.4.2), but few senders write any.
std::string rare_gap(Random& random) {
  return random.Chance(12) ? make_gap(random) : std::string();
}

std::string make_local_part(Random& random) {
  std::string local_part;
  for (size_t words = 1 + random.Below(3); words > 0; --words) {
    local_part += random.Chance(15) ? random.Pick(kQuotedWords) : random.Pick(kAtoms);
    if (words > 1) local_part += rare_gap(random) + "." + rare_gap(random);
  }
  return local_part;
}

std::string make_domain_literal(Random& random) {
  if (random.Chance(20)) return "[IPv6:2001:db8::" + std::to_string(random.Below(10000)) + "]";
  std::string literal = "10";
  for (int i = 0; i < 3; ++i) literal += "." + std::to_string(random.Below(256));
  constexpr std::string_view kBlanks[] = {"", "", "", " ", "\n "};
  return "[" + std::string(random.Pick(kBlanks)) + literal + std::string(random.Pick(kBlanks)) +
         "]";
}

std::string make_domain(Random& random) {
  constexpr std::string_view kTops[] = {"example", "ORG",     "com",
                                        "net",     "Example", "xn--80akhbyknj4f"};
  if (random.Chance(8)) return make_domain_literal(random);
  if (random.Chance(8)) return "xn--mller-kva." + random.Letters(6) + ".example";
  if (random.Chance(4)) return random.Letters(8) + ".example.";
  std::string domain = random.AnyCase(random.Letters(3 + random.Below(8)));
  for (size_t labels = random.Below(3); labels > 0; --labels) {
    domain += rare_gap(random) + "." + rare_gap(random);
    domain += labels == 1 ? std::string(random.Pick(kTops)) : random.Letters(4) + "-1";
  }
  // Decoding and encoding an internationalised name gives small letters.
  const bool international = domain.find("xn--") != std::string::npos;
  return international ? random.Letters(5) + ".xn--80akhbyknj4f" : domain;
}

std::string make_address(Random& random) {
  return make_local_part(random) + rare_gap(random) + "@" + rare_gap(random) + make_domain(random);
}

std::string make_route(Random& random) {
  std::string route = "@" + random.Letters(3) + ".example";
  while (random.Chance(30)) route += rare_gap(random) + "," + rare_gap(random) + "@relay.example";
  return route + rare_gap(random) + ":" + rare_gap(random);
}

std::string make_mailbox(Random& random) {
  if (random.Chance(40)) return make_address(random);
  std::string mailbox;
  if (random.Chance(80)) mailbox = std::string(random.Pick(kDisplayNames)) + " ";
  mailbox += make_gap(random) + "<" + rare_gap(random);
  if (random.Chance(12)) mailbox += make_route(random);
  return mailbox + make_address(random) + rare_gap(random) + ">";
}

std::string make_group(Random& random) {
  std::string group = std::string(random.Pick(kGroupNames)) + make_gap(random) + ":";
  for (size_t members = random.Below(3); members > 0; --members) {
    group += make_gap(random) + make_mailbox(random) + make_gap(random);
    if (members > 1) group += ",";
  }
  return group + ";";
}

std::string make_list(Random& random, bool with_groups) {
  std::string list;
  if (random.Chance(4)) list += ",";  // a list may have empty elements (RFC 822, 2.7)
  for (size_t entries = 1 + random.Below(4); entries > 0; --entries) {
    const bool group = with_groups && random.Chance(25);
    list += make_gap(random) + (group ? make_group(random) : make_mailbox(random));
    list += make_gap(random);
    if (entries > 1) list += random.Chance(5) ? " , , " : ",";
  }
  return without_blank_lines(list);
}

}  // namespace

std::string make_gap(Random& random) {
  return std::string(random.Pick(kGaps));
}

std::string without_blank_lines(const std::string& field) {
  std::string result;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\n') {
      const size_t next = field.find_first_not_of(" \t", i + 1);
      if (next == std::string::npos || field[next] == '\n') continue;
    }
    result += field[i];
  }
  return result;
}

std::string make_mailbox_list(Random& random) {
  return make_list(random, /*with_groups=*/false);
}

std::string make_address_list(Random& random) {
  return make_list(random, /*with_groups=*/true);
}
