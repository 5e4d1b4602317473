#include "fake_database.h"

#include <string_view>

#include <mysql.h>

namespace {

FakeDatabase* server = nullptr;

// One row at a time, as the client library gives it.
struct Result {
  std::vector<FakeRow> rows;
  size_t next = 0;
  std::vector<char*> columns;
};

Result* result_of(MYSQL_RES* handle) {
  return reinterpret_cast<Result*>(handle);
}

unsigned long escape(char* to, const char* from, unsigned long length) {
  constexpr std::string_view kEscaped{"'\"\\\n\r\0\x1a", 7};
  char* const begin = to;
  for (const char c : std::string_view(from, length)) {
    const size_t place = kEscaped.find(c);
    if (place != kEscaped.npos) *to++ = '\\';
    *to++ = place != kEscaped.npos ? "'\"\\nr0Z"[place] : c;
  }
  *to = '\0';
  return static_cast<unsigned long>(to - begin);
}

}  // namespace

FakeDatabase::FakeDatabase() {
  server = this;
}

FakeDatabase::~FakeDatabase() {
  server = nullptr;
}

MYSQL* FakeDatabase::Open() {
  static MYSQL connection;
  return &connection;
}

void FakeDatabase::Answer(const std::string& part, const std::vector<FakeRow>& rows) {
  reactions_.insert(reactions_.begin(), {part, rows, 0, "", 0});
}

void FakeDatabase::Fail(const std::string& part, unsigned error, const std::string& words,
                        int times) {
  reactions_.insert(reactions_.begin(), {part, {}, error, words, times});
}

FakeDatabase::Reaction FakeDatabase::ReactionTo(const std::string& statement) {
  statements.push_back(statement);
  for (Reaction& reaction : reactions_) {
    if (statement.find(reaction.part) == std::string::npos) continue;
    if (reaction.error == 0 || reaction.times-- > 0) return reaction;
  }
  return {};
}

// The client library.
extern "C" {

int mysql_server_init(int /*count*/, char** /*values*/, char** /*groups*/) {
  return 0;
}

void mysql_close(MYSQL* /*connection*/) {}

int mysql_real_query(MYSQL* /*connection*/, const char* statement, unsigned long length) {
  server->last = server->ReactionTo(std::string(statement, length));
  return server->last.error != 0 ? 1 : 0;
}

int mysql_query(MYSQL* connection, const char* statement) {
  return mysql_real_query(connection, statement, std::string(statement).size());
}

MYSQL_RES* mysql_store_result(MYSQL* /*connection*/) {
  return reinterpret_cast<MYSQL_RES*>(new Result{server->last.rows, 0, {}});
}

MYSQL_ROW mysql_fetch_row(MYSQL_RES* handle) {
  Result& result = *result_of(handle);
  if (result.next == result.rows.size()) return nullptr;
  result.columns.clear();
  for (auto& column : result.rows[result.next]) {
    result.columns.push_back(column ? column->data() : nullptr);
  }
  ++result.next;
  return result.columns.data();
}

unsigned mysql_num_fields(MYSQL_RES* handle) {
  const Result& result = *result_of(handle);
  return result.rows.empty() ? 0 : static_cast<unsigned>(result.rows[0].size());
}

my_ulonglong mysql_num_rows(MYSQL_RES* handle) {
  return result_of(handle)->rows.size();
}

void mysql_free_result(MYSQL_RES* handle) {
  delete result_of(handle);
}

unsigned mysql_errno(MYSQL* /*connection*/) {
  return server->last.error;
}

const char* mysql_error(MYSQL* /*connection*/) {
  return server->last.words.c_str();
}

unsigned long mysql_real_escape_string(MYSQL* /*connection*/, char* to, const char* from,
                                       unsigned long length) {
  return escape(to, from, length);
}

unsigned long mysql_escape_string(char* to, const char* from, unsigned long length) {
  return escape(to, from, length);
}

}  // extern "C"
