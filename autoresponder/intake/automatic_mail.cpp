#include "autoresponder/intake/automatic_mail.h"

#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>

#include "autoresponder/intake/field_reader.h"
#include "autoresponder/intake/listed_addresses.h"
#include "autoresponder/message/well_formed.h"
#include "support/base/letter_case.h"
#include "support/base/text.h"

namespace {

void add(std::string id, size_t max_count, std::vector<std::string>& ids) {
  if (!is_message_id(id)) return;
  if (ids.size() == max_count) ids.erase(ids.begin() + 1);
  ids.push_back(std::move(id));
}

// Whether one of the words in `body`, which blanks, commas and semicolons separate, is in `wanted`.
bool has_word(std::string_view body, std::initializer_list<std::string_view> wanted) {
  FieldReader reader(body);
  for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
    const std::string_view word = reader.Word(",;");
    if (word.empty()) reader.Skip(reader.Peek());
    for (const std::string_view lower : wanted) {
      if (equal_ignoring_case(word, lower)) return true;
    }
  }
  return false;
}

// RFC 3834, 5: a keyword, and parameters after a semicolon.
bool is_no(std::string_view auto_submitted) {
  FieldReader reader(auto_submitted);
  reader.SkipBlanks();
  const std::string_view keyword = reader.Word(";");
  reader.SkipBlanks();
  return equal_ignoring_case(keyword, "no") && (reader.IsAtEnd() || reader.Peek() == ';');
}

bool is_null_path(std::string_view return_path) {
  FieldReader reader(return_path);
  reader.SkipBlanks();
  if (!reader.Skip('<')) return false;
  reader.SkipBlanks();
  return reader.Skip('>');
}

using Text = std::string_view;

// What was read so far.
struct Gatherer {
  void Add(const HeaderField& field);
  void AddReturnPath(Text body);
  void AddListField(Text name);
  CourtesyFacts Take();
  void TakeThread();

  CourtesyFacts facts;
  size_t list_field = std::size(kListFields);
  std::vector<std::string> return_path;
  std::optional<Text> message_id;
  std::optional<Text> references;
  std::optional<Text> in_reply_to;
};

void Gatherer::Add(const HeaderField& field) {
  const Text body = field.body;
  const auto is = [&field](Text name) { return equal_ignoring_case(field.name, name); };
  if (is("return-path")) AddReturnPath(body);
  if (is("auto-submitted")) facts.is_auto_submitted |= !is_no(body);
  if (is("precedence")) facts.is_bulk |= has_word(body, {"bulk", "list", "junk"});
  if (is("x-auto-response-suppress")) {
    facts.suppresses_replies |= has_word(body, {"all", "autoreply", "oof"});
  }
  if (is("x-spam-flag")) facts.is_spam |= has_word(body, {"yes"});
  if (is("x-spam-status")) facts.is_spam |= equal_ignoring_case(body.substr(0, 3), "yes");
  if (is("to") || is("cc") || is("bcc") || is("resent-to") || is("resent-cc") || is("resent-bcc")) {
    add_listed_addresses(body, kMaxAddressees, facts.addressees);
  }
  if (is("message-id")) message_id = message_id.value_or(body);
  if (is("references")) references = references.value_or(body);
  if (is("in-reply-to")) in_reply_to = in_reply_to.value_or(body);
  if (equal_ignoring_case(field.name.substr(0, 5), "list-")) AddListField(field.name);
}

void Gatherer::AddReturnPath(Text body) {
  facts.has_null_return_path |= is_null_path(body);
  if (return_path.empty()) add_listed_addresses(body, 1, return_path);
}

void Gatherer::AddListField(Text name) {
  for (size_t i = 0; i < list_field; ++i) {
    if (equal_ignoring_case(name, kListFields[i])) list_field = i;
  }
}

// RFC 5322, 3.6.4: the message's References, or its In-Reply-To if that names one message.
void Gatherer::TakeThread() {
  auto ids = message_ids(message_id.value_or(""), 2);
  if (!ids.empty()) facts.message_id = std::move(ids[0]);
  facts.references = message_ids(references.value_or(""), kMaxReferences);
  if (references || !in_reply_to) return;
  ids = message_ids(*in_reply_to, 2);
  if (ids.size() == 1) facts.references = std::move(ids);
}

CourtesyFacts Gatherer::Take() {
  if (list_field < std::size(kListFields)) facts.list_field = kListFields[list_field];
  if (!return_path.empty()) facts.return_path = std::move(return_path[0]);
  TakeThread();
  return std::move(facts);
}

}  // namespace

std::vector<std::string> message_ids(std::string_view body, size_t max_count) {
  std::vector<std::string> ids;
  FieldReader reader(body);
  for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
    if (reader.Skip('<')) {
      const std::string_view inside = reader.Word("<>");
      if (reader.Skip('>')) add(joined({"<", inside, ">"}), max_count, ids);
    } else if (reader.Skip('"')) {
      reader.Enclosed('"', 0);
    } else if (reader.Word("<\"").empty()) {
      reader.Skip(reader.Peek());
    }
  }
  return ids;
}

CourtesyFacts gather_courtesy_facts(std::string_view header) {
  Gatherer gatherer;
  HeaderFields fields(header);
  for (HeaderField field; fields.Next(field);) gatherer.Add(field);
  return gatherer.Take();
}
