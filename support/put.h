#pragma once

struct st_mysql;

/// Writers of the panel's settings and domain records.
///
/// Names and ids are NUL-terminated keys: they go unescaped into a statement, and one that holds a
/// backslash or a quote of either kind aborts the process. A null key is written as the text
/// "(null)". Values are NUL-terminated and escaped. A statement of more than 4095 bytes is cut,
/// except that of `put_misc_param`.
///
/// `connection` may be null, unless the routine says otherwise: then one is opened for the call.
/// All return 0, or -1 after a warning.

/// Sets a domain's status. `connection` must not be null.
int set_domain_status(const char* domain_id, unsigned status, st_mysql* connection);

/// Sets the panel-wide setting `name`; a null value leaves the column to its default.
int put_misc_param(const char* name, const char* value, st_mysql* connection);

/// Sets the parameter `name` of a domain in the table `dom_param`. A null value is refused.
int put_dom_param(const char* domain_id, const char* name, const char* value, st_mysql* connection);

/// Sets the parameter `name` of the set `id` in the table `Parameters`. A null value is refused.
int put_parameter(const char* id, const char* name, const char* value, st_mysql* connection);

/// Deletes the panel-wide setting `name`.
int del_misc_param(const char* name, st_mysql* connection);

/// Deletes the parameter `name` of a domain from the table `dom_param`.
int del_dom_param(const char* domain_id, const char* name, st_mysql* connection);

/// Deletes the parameter `name` of the set `id` from the table `Parameters`; unless `value` is
/// null, only if it has that value.
int del_parameter(const char* id, const char* name, const char* value, st_mysql* connection);
