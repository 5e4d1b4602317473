#include "autoresponder/intake/automatic_mail.h"

#include <algorithm>
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

class Gatherer {
 public:
  void Add(const HeaderField& field);
  CourtesyFacts Take();

 private:
  using Text = std::string_view;

  void ReturnPath(Text body) {
    facts_.has_null_return_path = facts_.has_null_return_path || is_null_path(body);
    if (!return_path_.empty()) return;
    add_listed_addresses(body, 1, return_path_);
  }
  void AutoSubmitted(Text body) {
    facts_.is_auto_submitted = facts_.is_auto_submitted || !is_no(body);
  }
  void Precedence(Text body) {
    facts_.is_bulk = facts_.is_bulk || has_word(body, {"bulk", "list", "junk"});
  }
  void Suppress(Text body) {
    facts_.suppresses_replies =
        facts_.suppresses_replies || has_word(body, {"all", "autoreply", "oof"});
  }
  void SpamFlag(Text body) { facts_.is_spam = facts_.is_spam || has_word(body, {"yes"}); }
  void SpamStatus(Text body) {
    facts_.is_spam = facts_.is_spam || equal_ignoring_case(body.substr(0, 3), "yes");
  }
  void Addressees(Text body) { add_listed_addresses(body, kMaxAddressees, facts_.addressees); }
  void MessageId(Text body) { message_id_ = message_id_.value_or(body); }
  void References(Text body) { references_ = references_.value_or(body); }
  void InReplyTo(Text body) { in_reply_to_ = in_reply_to_.value_or(body); }

  void ListField(Text name);
  void Thread();

  struct Reader {
    Text name;  // in lower case
    void (Gatherer::*read)(Text body);
  };
  static const Reader kReaders[];

  CourtesyFacts facts_;
  size_t list_field_ = std::size(kListFields);
  std::vector<std::string> return_path_;
  std::optional<Text> message_id_;
  std::optional<Text> references_;
  std::optional<Text> in_reply_to_;
};

const Gatherer::Reader Gatherer::kReaders[] = {
    {"return-path", &Gatherer::ReturnPath}, {"auto-submitted", &Gatherer::AutoSubmitted},
    {"precedence", &Gatherer::Precedence},  {"x-auto-response-suppress", &Gatherer::Suppress},
    {"x-spam-flag", &Gatherer::SpamFlag},   {"x-spam-status", &Gatherer::SpamStatus},
    {"to", &Gatherer::Addressees},          {"cc", &Gatherer::Addressees},
    {"bcc", &Gatherer::Addressees},         {"resent-to", &Gatherer::Addressees},
    {"resent-cc", &Gatherer::Addressees},   {"resent-bcc", &Gatherer::Addressees},
    {"message-id", &Gatherer::MessageId},   {"references", &Gatherer::References},
    {"in-reply-to", &Gatherer::InReplyTo},
};

void Gatherer::Add(const HeaderField& field) {
  for (const Reader& reader : kReaders) {
    if (equal_ignoring_case(field.name, reader.name)) (this->*reader.read)(field.body);
  }
  if (equal_ignoring_case(field.name.substr(0, 5), "list-")) ListField(field.name);
}

void Gatherer::ListField(Text name) {
  for (size_t i = 0; i < list_field_; ++i) {
    if (equal_ignoring_case(name, lower_case(kListFields[i]))) list_field_ = i;
  }
}

// RFC 5322, 3.6.4: the message's References, or its In-Reply-To if that names one message.
void Gatherer::Thread() {
  auto ids = message_ids(message_id_.value_or(""), 2);
  if (!ids.empty()) facts_.message_id = std::move(ids[0]);
  facts_.references = message_ids(references_.value_or(""), kMaxReferences);
  if (references_ || !in_reply_to_) return;
  ids = message_ids(*in_reply_to_, 2);
  if (ids.size() == 1) facts_.references = std::move(ids);
}

CourtesyFacts Gatherer::Take() {
  if (list_field_ < std::size(kListFields)) facts_.list_field = kListFields[list_field_];
  if (!return_path_.empty()) facts_.return_path = std::move(return_path_[0]);
  Thread();
  return std::move(facts_);
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
