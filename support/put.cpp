#include "support/put.h"

#include "support/base/owned.h"
#include "support/lookup.h"
#include "support/report.h"
#include "support/strings.h"

using namespace kem;

namespace {

// Aborts the process on a key that would end its quotes in the statement.
#define CHECK_KEYS(...) assert_plain_params({__VA_ARGS__}, "put", __LINE__, __func__)

int write(MYSQL* connection, const Statement& statement, const Complaint& complaint) {
  return send_statement(connection, statement.text(), complaint) ? 0 : -1;
}

// The format takes the id, the name and, unless it is null, the escaped value.
int send_with_value(MYSQL* given, const Complaint& complaint, const char* format, const char* id,
                    const char* name, const char* value) {
  const LookupSession session(given, kConnectTextA);
  if (!session) return -1;
  const OwnedText escaped(sql_escape(session.handle(), value));
  return write(session.handle(), Statement(format, id, name, escaped.get()), complaint);
}

int refuse_null(const Complaint& complaint) {
  complain(complaint, "there is no value");
  return -1;
}

}  // namespace

int set_domain_status(const char* domain_id, unsigned status, st_mysql* connection) {
  CHECK_KEYS(domain_id);
  const Statement statement("update domains set status=%u where id=\"%s\"", status, domain_id);
  return write(connection, statement,
               {"Unable to update status for domain with id=\"%s\": %s.", domain_id});
}

int put_misc_param(const char* name, const char* value, st_mysql* connection) {
  CHECK_KEYS(name);
  const LookupSession session(connection, kConnectTextD);
  if (!session) return -1;
  const OwnedText escaped(sql_escape(session.handle(), value));
  const OwnedText statement(
      escaped ? xasprintf("replace into misc (param, val) values('%s', '%s')", name, escaped.get())
              : xasprintf("replace into misc (param) values('%s')", name));
  const Complaint complaint{"Unable to put parameter %s into misc: %s", name};
  return send_statement(session.handle(), statement.get(), complaint) ? 0 : -1;
}

int put_dom_param(const char* domain_id, const char* name, const char* value,
                  st_mysql* connection) {
  CHECK_KEYS(domain_id, name);
  const Complaint complaint{"Unable to put parameter %s into dom_param: %s", name};
  if (value == nullptr) return refuse_null(complaint);
  return send_with_value(connection, complaint,
                         "replace into dom_param (dom_id, param, val) values('%s', '%s', '%s')",
                         domain_id, name, value);
}

int put_parameter(const char* id, const char* name, const char* value, st_mysql* connection) {
  CHECK_KEYS(id, name);
  const Complaint complaint{"Unable to put parameter %s into Parameters: %s", name};
  if (value == nullptr) return refuse_null(complaint);
  return send_with_value(connection, complaint,
                         "replace into Parameters (id, parameter, value) values('%s', '%s', '%s')",
                         id, name, value);
}

int del_misc_param(const char* name, st_mysql* connection) {
  CHECK_KEYS(name);
  const LookupSession session(connection, kConnectTextA);
  if (!session) return -1;
  const Statement statement("delete from misc where param='%s'", name);
  return write(session.handle(), statement, {"Unable to delete parameter %s from misc: %s", name});
}

int del_dom_param(const char* domain_id, const char* name, st_mysql* connection) {
  CHECK_KEYS(domain_id, name);
  return send_with_value(connection, {"Unable to delete parameter %s from dom_param: %s", name},
                         "delete from dom_param where dom_id='%s' and param='%s'", domain_id, name,
                         nullptr);
}

int del_parameter(const char* id, const char* name, const char* value, st_mysql* connection) {
  CHECK_KEYS(id, name);
  const char* const format =
      value == nullptr ? "delete from Parameters where id='%s' and parameter='%s'"
                       : "delete from Parameters where id='%s' and parameter='%s' and value='%s'";
  return send_with_value(connection, {"Unable to delete parameter %s from Parameters: %s", name},
                         format, id, name, value);
}
