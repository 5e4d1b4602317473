#ifndef KEM_PUT_H
#define KEM_PUT_H

struct st_mysql;

/// Writers of the panel's settings and domain records.
///
/// Names and ids are NUL-terminated keys: they go unescaped into a statement, and one that holds a
/// backslash or a quote of either kind aborts the process. A null key is written as the text
/// "(null)". Values are NUL-terminated and escaped. A statement of more than 4095 bytes is cut,
/// except that of `put_misc_param`.
///
/// `connection` may be null; then one is opened for the call. All return 0, or -1 after a warning.

/// Sets a domain's status. `connection` must not be null.
int set_domain_status(const char* domain_id, unsigned status, st_mysql* connection);

/// Sets the panel-wide setting `name`; a null value leaves the column to its default.
int put_misc_param(const char* name, const char* value, st_mysql* connection);

/// Sets a parameter of a domain, or one of the set of parameters `id`. A null value is not written:
/// -1 after a warning.
int put_dom_param(const char* domain_id, const char* name, const char* value, st_mysql* connection);
int put_parameter(const char* id, const char* name, const char* value, st_mysql* connection);

/// Deletes what the above set.
int del_misc_param(const char* name, st_mysql* connection);
int del_dom_param(const char* domain_id, const char* name, st_mysql* connection);
/// With a value that is not null, only where the parameter has that value.
int del_parameter(const char* id, const char* name, const char* value, st_mysql* connection);

#endif
