#include "content_generator.h"

#include <string_view>

#include "address_generator.h"
#include "encoders.h"

namespace {

enum class Comments { kAnywhere, kNotAfterValue };

std::string join(const std::vector<std::string>& parts, const std::string& glue) {
  std::string joined;
  for (const std::string& part : parts) joined += (joined.empty() ? "" : glue) + part;
  return joined;
}

// One parameter, without the ";" before it.
std::string make_parameter(Random& random, std::string_view name, const std::string& value,
                           Comments comments) {
  constexpr std::string_view kAfter[] = {"", "", "", " ", "\t", "\n ", " (comment)"};
  const bool spaced = random.Chance(15);
  std::string parameter = random.AnyCase(name);
  if (spaced) parameter += make_gap(random);
  parameter += '=';
  if (spaced) parameter += make_gap(random);
  parameter += value;
  const std::string_view after = random.Pick(kAfter);
  const bool is_comment = after.find('(') != std::string_view::npos;
  if (!is_comment || comments == Comments::kAnywhere) parameter += after;
  return parameter;
}

std::string make_charset_parameter(Random& random, const Charset& charset) {
  const std::string name = random.AnyCase(charset.name);
  if (random.Chance(3)) return "charset*=us-ascii'en'" + name;
  if (random.Chance(2)) return "charset*0=" + name.substr(0, 2) + "; charset*1=" + name.substr(2);
  if (random.Chance(3)) return "charset=\"\\" + name + "\"";
  const bool quoted = random.Chance(40);
  const std::string value = quoted ? "\"" + name + "\"" : name;
  return make_parameter(random, "charset", value, Comments::kAnywhere);
}

// `parameters`, in any order, and perhaps some that do not matter.
std::string content_type(Random& random, std::string_view type,
                         std::vector<std::string> parameters) {
  constexpr std::string_view kOthers[] = {
      "format=flowed",       "name=\"a; charset=x\"", "name=\"a \\\" ; charset=x\"", "delsp=yes",
      "name*=utf-8''%C3%BC", "x-charset=other",       "name=\"(not a comment\"",
  };
  if (random.Chance(30)) parameters.emplace_back(random.Pick(kOthers));
  random.Shuffle(parameters);
  const size_t slash = type.find('/');
  std::string value = random.Chance(5) ? make_gap(random) : std::string();
  value += random.AnyCase(type.substr(0, slash));
  if (random.Chance(5)) value += make_gap(random);
  value += '/';
  if (random.Chance(5)) value += make_gap(random);
  value += random.AnyCase(type.substr(slash + 1));
  // GMime does not know a comment after an unquoted value, and the comment may hold a ";".
  if (random.Chance(10)) value += make_gap(random);
  for (const std::string& parameter : parameters) {
    value += ";" + (random.Chance(30) ? make_gap(random) : " ") + parameter;
  }
  return without_blank_lines(random.AnyCase("Content-Type") + ": " + value);
}

std::string transfer_encoding(Random& random, std::string_view name) {
  const std::string field = random.AnyCase("content-transfer-encoding") + ":";
  if (random.Chance(3)) return field + "\n " + random.AnyCase(name);
  if (random.Chance(3)) return field + " " + random.AnyCase(name) + " (comment)";
  if (random.Chance(2)) return field + " (comment) " + random.AnyCase(name);
  return field + " " + random.AnyCase(name) + (random.Chance(5) ? " " : "");
}

std::string make_text(Random& random, const Charset& charset) {
  constexpr std::string_view kLines[] = {"", "", ".", "From the start", "-- ", "--", "a: b", "="};
  std::string text;
  for (size_t lines = random.Below(6); lines > 0; --lines) {
    if (random.Chance(30)) text += random.Pick(kLines);
    for (size_t words = random.Below(8); words > 0; --words) {
      text += random.Pick(charset.words);
      if (words > 1 || random.Chance(5)) text += ' ';
    }
    if (lines > 1 || random.Chance(80)) text += '\n';
  }
  return text;
}

// `text` as the body of `entity`, in an encoding that can hold it.
void set_body(Random& random, Entity& entity, const std::string& text) {
  constexpr std::string_view kPlain[] = {"7bit", "8bit", "binary", "x-private"};
  switch (random.Below(8)) {
    case 0:
    case 1:
      entity.fields.push_back(transfer_encoding(random, "quoted-printable"));
      entity.body = encode_quoted_printable(random, text);
      break;
    case 2:
    case 3:
      entity.fields.push_back(transfer_encoding(random, "base64"));
      entity.body = encode_base64_lines(random, text);
      break;
    case 4:
    case 5:
      entity.fields.push_back(transfer_encoding(random, random.Pick(kPlain)));
      entity.body = text;
      break;
    default:
      entity.body = text;
      break;
  }
}

Entity make_text_entity(Random& random) {
  constexpr std::string_view kTypes[] = {"text/plain", "text/html", "text/x-private"};
  const Charset& charset = pick_charset(random);
  Entity entity;
  std::vector<std::string> parameters;
  if (random.Chance(80)) parameters.push_back(make_charset_parameter(random, charset));
  entity.fields.push_back(content_type(random, random.Pick(kTypes), parameters));
  if (random.Chance(3)) {
    entity.fields.push_back(transfer_encoding(random, "x-uuencode"));
    entity.body = encode_uu(random.Pick(charset.words));
  } else {
    set_body(random, entity, make_text(random, charset));
  }
  return entity;
}

// Neither text nor multipart.
Entity make_attachment(Random& random) {
  constexpr std::string_view kTypes[] = {"image/png", "application/octet-stream", "audio/basic",
                                         "x-private/text"};
  Entity entity;
  if (random.Chance(40)) {
    entity = make_text_entity(random);
    entity = {{"Content-Type: message/rfc822"},
              "From: inner@example.org\nSubject: inner\n" + entity.Text()};
    return entity;
  }
  entity.fields.push_back(content_type(random, random.Pick(kTypes), {"name=\"text/plain\""}));
  set_body(random, entity, std::string("\0\r\x80 attached", 12));
  return entity;
}

Entity make_bare_entity(Random& random) {
  Entity entity;
  set_body(random, entity, make_text(random, pick_charset(random)));
  if (random.Chance(40)) entity.fields.emplace_back("Content-Description: no type");
  return entity;
}

Entity make_multipart(Random& random, unsigned depth) {
  constexpr std::string_view kTypes[] = {"multipart/mixed", "multipart/alternative",
                                         "multipart/digest", "multipart/x-private"};
  constexpr std::string_view kMarks[] = {"", "-=_", "'()+", ",./:", "=?", " x"};
  // The first letter differs at each level: no boundary may be the start of another one.
  const std::string boundary = std::string(1, static_cast<char>('A' + depth)) +
                               random.Letters(1 + random.Below(20)) +
                               std::string(random.Pick(kMarks)) + random.Letters(1);
  const bool is_token = boundary.find_first_of("'()+,./:=? ") == std::string::npos;
  const bool quoted = !is_token || random.Chance(50);
  Entity entity;
  entity.fields.push_back(
      content_type(random, random.Pick(kTypes),
                   {make_parameter(random, "boundary", quoted ? "\"" + boundary + "\"" : boundary,
                                   quoted ? Comments::kAnywhere : Comments::kNotAfterValue)}));
  if (random.Chance(20)) entity.fields.emplace_back("Content-Transfer-Encoding: 8bit");
  const std::string delimiter = "--" + boundary;
  if (random.Chance(40)) entity.body = "This is a preamble.\nContent-Type: text/plain\n\n";
  // A line that only starts like a delimiter; what follows would make a text part.
  if (random.Chance(10)) entity.body += delimiter + "x: y\nContent-Type: text/plain\n\nno part\n";
  for (size_t parts = 1 + random.Below(4); parts > 0; --parts) {
    entity.body += delimiter + (random.Chance(5) ? " \t\n" : "\n");
    entity.body += make_content(random, depth + 1).Text() + "\n";
  }
  constexpr std::string_view kEnds[] = {"", "\n", "\n", " \n", "\nThis is an epilogue.\n"};
  entity.body += delimiter + "--" + std::string(random.Pick(kEnds));
  return entity;
}

}  // namespace

std::string Entity::Text() const {
  const std::string header = join(fields, "\n");
  return header + (header.empty() ? "" : "\n") + "\n" + body;
}

Entity make_content(Random& random, unsigned depth) {
  const size_t kind = random.Below(100);
  Entity entity;
  if (kind < 15) {
    entity = make_bare_entity(random);
  } else if (kind < 25) {
    entity = make_attachment(random);
  } else if (kind < 60 || depth > 2) {
    entity = make_text_entity(random);
  } else {
    entity = make_multipart(random, depth);
  }
  return entity;
}
