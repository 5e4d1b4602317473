#pragma once

// Classes and functions as another program may have them, with the names of the library's internal
// ones. Each counts its calls, and does nothing else.

#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string_view>

struct st_mysql;
struct st_mysql_res;

/// How many of the functions here were called.
int foreign_calls();
/// Counts one call.
void count_call();

struct FreeMemory {
  void operator()(void*) const { count_call(); }
};
using OwnedText = std::unique_ptr<char, FreeMemory>;

struct CloseFile {
  void operator()(FILE*) const { count_call(); }
};
using OwnedFile = std::unique_ptr<FILE, CloseFile>;

class OwnedDescriptor {
 public:
  explicit OwnedDescriptor(int) { count_call(); }
  ~OwnedDescriptor() { count_call(); }
  bool IsOpen() const { return (count_call(), true); }
  int number() const { return (count_call(), 4711); }

 private:
  double padding_[16] = {};
};

struct CloseConnection {
  void operator()(st_mysql*) const { count_call(); }
};
struct FreeResult {
  void operator()(st_mysql_res*) const { count_call(); }
};
using OwnedResult = std::unique_ptr<st_mysql_res, FreeResult>;

class Rows {
 public:
  explicit Rows(st_mysql_res*) { count_call(); }
  char** Next();
  bool IsEmpty() const;
};

class Statement {
 public:
  explicit Statement(const char* format, ...);
  const char* text() const;

 private:
  int sent_ = 0;
};

struct Complaint {
  double urgency = 0;
};

class LookupSession {
 public:
  LookupSession(st_mysql* given, const char* connect_text, int status);

 private:
  char padding_[100] = {};
};

class Pattern {
 public:
  explicit Pattern(const char* expression);
  ~Pattern();
};

class Filler {
 public:
  Filler(char* output, int capacity, void* result);
};

class BoundedText {
 public:
  BoundedText(char* buffer, size_t size);
};

inline void diagnose(std::initializer_list<std::string_view>) {
  count_call();
}
inline void write_pieces(FILE*, std::initializer_list<std::string_view>) {
  count_call();
}
inline char** next_row(const OwnedResult&) {
  return (count_call(), nullptr);
}
inline const char* key_text(const char*) {
  return (count_call(), "foreign");
}
inline void assert_plain_params(std::initializer_list<const char*>, const char*, unsigned,
                                const char*) {
  count_call();
}

bool send_statement(st_mysql* connection, const char* statement, const Complaint& complaint);
void complain(const Complaint& complaint, const char* reason);
const char* first_value(st_mysql* connection, OwnedResult& result);
const char* read_value(char* result, const Statement& statement, st_mysql* given,
                       const char* connect_text, const Complaint& complaint);
void wipe_conf();
void* find_libidn_function(const char* name);
void cut_conf_lines(char* text, size_t length);
const char* find_conf_value(const char* text, size_t length, const char* key);

/// Calls every one of them once.
void call_all();
