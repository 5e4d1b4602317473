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
  return send_statement(connection, statement, complaint) ? 0 : -1;
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
  return send_text(session.handle(), statement.get(), complaint) ? 0 : -1;
}

int put_dom_param(const char* domain_id, const char* name, const char* value,
                  st_mysql* connection) {
  CHECK_KEYS(domain_id, name);
  const Complaint complaint{"Unable to put parameter %s into dom_param: %s", name};
  if (value == nullptr) return refuse_null(complaint);
  const LookupSession session(connection, kConnectTextA);
  if (!session) return -1;
  const OwnedText escaped(sql_escape(session.handle(), value));
  const Statement statement("replace into dom_param (dom_id, param, val) values('%s', '%s', '%s')",
                            domain_id, name, escaped.get());
  return write(session.handle(), statement, complaint);
}

int put_parameter(const char* id, const char* name, const char* value, st_mysql* connection) {
  CHECK_KEYS(id, name);
  const Complaint complaint{"Unable to put parameter %s into Parameters: %s", name};
  if (value == nullptr) return refuse_null(complaint);
  const LookupSession session(connection, kConnectTextA);
  if (!session) return -1;
  const OwnedText escaped(sql_escape(session.handle(), value));
  const Statement statement(
      "replace into Parameters (id, parameter, value) values('%s', '%s', '%s')", id, name,
      escaped.get());
  return write(session.handle(), statement, complaint);
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
  const LookupSession session(connection, kConnectTextA);
  if (!session) return -1;
  const Statement statement("delete from dom_param where dom_id='%s' and param='%s'", domain_id,
                            name);
  return write(session.handle(), statement,
               {"Unable to delete parameter %s from dom_param: %s", name});
}

int del_parameter(const char* id, const char* name, const char* value, st_mysql* connection) {
  CHECK_KEYS(id, name);
  const LookupSession session(connection, kConnectTextA);
  if (!session) return -1;
  const Complaint complaint{"Unable to delete parameter %s from Parameters: %s", name};
  if (value == nullptr) {
    const Statement any("delete from Parameters where id='%s' and parameter='%s'", id, name);
    return write(session.handle(), any, complaint);
  }
  const OwnedText escaped(sql_escape(session.handle(), value));
  const Statement equal("delete from Parameters where id='%s' and parameter='%s' and value='%s'",
                        id, name, escaped.get());
  return write(session.handle(), equal, complaint);
}
