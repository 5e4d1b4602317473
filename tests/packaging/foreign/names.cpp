#include "names.h"

namespace {

int calls = 0;

template <class Result>
Result counted(Result result) {
  ++calls;
  return result;
}

}  // namespace

int foreign_calls() {
  return calls;
}

void count_call() {
  ++calls;
}

char** Rows::Next() {
  return counted<char**>(nullptr);
}

bool Rows::IsEmpty() const {
  return counted(true);
}

Statement::Statement(const char*, ...) {
  count_call();
}

const char* Statement::text() const {
  return counted(sent_ == 0 ? "foreign" : "sent");
}

LookupSession::LookupSession(st_mysql*, const char*, int) {
  count_call();
}

Pattern::Pattern(const char*) {
  count_call();
}

Pattern::~Pattern() {
  count_call();
}

Filler::Filler(char*, int, void*) {
  count_call();
}

BoundedText::BoundedText(char*, size_t) {
  count_call();
}

bool send_statement(st_mysql*, const char*, const Complaint&) {
  return counted(false);
}

void complain(const Complaint&, const char*) {
  count_call();
}

const char* first_value(st_mysql*, OwnedResult&) {
  return counted("foreign");
}

const char* read_value(char*, const Statement&, st_mysql*, const char*, const Complaint&) {
  return counted("foreign");
}

void wipe_conf() {
  count_call();
}

void* find_libidn_function(const char*) {
  return counted<void*>(nullptr);
}

void cut_conf_lines(char*, size_t) {
  count_call();
}

const char* find_conf_value(const char*, size_t, const char*) {
  return counted("foreign");
}

void call_all() {
  char text[8] = "text";
  OwnedText{text}.reset();
  OwnedFile{stdout}.reset();
  const OwnedDescriptor descriptor(1);
  if (descriptor.IsOpen()) descriptor.number();
  CloseConnection{}(nullptr);
  FreeResult{}(nullptr);
  Rows rows(nullptr);
  if (rows.IsEmpty()) rows.Next();
  const Statement statement("%s", "x");
  statement.text();
  const Complaint complaint;
  const LookupSession session(nullptr, "", 0);
  const Pattern pattern("");
  const Filler filler(text, 1, nullptr);
  const BoundedText bounded(text, 1);
  diagnose({"x"});
  write_pieces(stdout, {"x"});
  OwnedResult none;
  next_row(none);
  key_text(nullptr);
  assert_plain_params({"x"}, "", 0, "");
  send_statement(nullptr, "", complaint);
  complain(complaint, "");
  first_value(nullptr, none);
  read_value(text, statement, nullptr, "", complaint);
  wipe_conf();
  find_libidn_function("");
  cut_conf_lines(text, 1);
  find_conf_value(text, 1, "");
}
