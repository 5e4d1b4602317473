#pragma once

struct st_mysql;

/// Readers of the panel's settings and domain records.
///
/// Names, ids and values to look for are NUL-terminated keys: they go unescaped into a statement,
/// and one that holds a backslash or a quote of either kind aborts the process. A null key is
/// looked for as the text "(null)". A statement of more than 4095 bytes is cut.
///
/// `connection` may be null, unless the routine says otherwise: then one is opened for the call.
///
/// A text that is returned is NUL-terminated, has at most 4095 bytes and is in a buffer of the
/// routine's own that its next call overwrites. It is empty if there is no row or the value is
/// NULL. Null is returned, after a warning, if the query failed or there was no connection.

/// Column `value_column` of the first row of `table` whose `key_column` is `value`. The names of
/// the table and the columns go into the statement unescaped and unchecked.
const char* get_table_value(const char* value, const char* table, const char* key_column,
                            const char* value_column, st_mysql* connection);

/// The panel-wide setting `name`.
const char* get_misc_param(const char* name, st_mysql* connection);

/// The hosting type of a domain.
const char* get_domain_htype(const char* domain_id, st_mysql* connection);

/// The IP address of a domain's hosting.
const char* get_ip_address(const char* domain_id, st_mysql* connection);

/// Sets `status` to a domain's status and returns 0; or returns, after a warning, -1 if the query
/// failed, -2 if there is no such domain, -3 if its status is no number. `connection` must not be
/// null.
int get_domain_status(const char* domain_id, unsigned* status, st_mysql* connection);

/// The parameter `name` of a domain, from the table `dom_param`.
const char* get_dom_param(const char* domain_id, const char* name, st_mysql* connection);

/// The parameter `name` from a domain's own set in the table `Parameters`.
const char* get_domain_param(const char* domain_id, const char* name, st_mysql* connection);

/// The parameter `name` from the set of a domain's service of type `service`.
const char* get_service_param(const char* domain_id, const char* service, const char* name,
                              st_mysql* connection);

/// The limit `name` of a domain.
const char* get_domain_limit(const char* domain_id, const char* name, st_mysql* connection);

/// 1 if the domain's zone has an A or CNAME record for a host that begins with "www." and the
/// domain has no subdomain "www", 0 if not, -1 after a warning.
int has_www_alias(const char* domain_id, st_mysql* connection);

/// Whether a domain's setting for anonymous FTP begins with "true". False also after a warning.
bool is_anon_ftp_on(const char* domain_id, st_mysql* connection);

/// Whether a domain's frontpage setting, or with `ssl` the one for SSL, begins with "true". False
/// also after a warning.
bool is_frontpage_on(const char* domain_name, bool ssl, st_mysql* connection);

/// The e-mail address of the domain's client or, if that is not set, of the panel's administrator;
/// null after a warning if neither is set. Kept: up to 4096 bytes of the client's address are
/// returned, one more than elsewhere.
const char* get_client_email(const char* domain_id, st_mysql* connection);

/// The id of the domain's client; 0 if there is none, or after a warning. `connection` must not be
/// null.
int get_client_id(const char* domain_id, st_mysql* connection);

/// The id of the domain `domain_name`, which may be internationalised (UTF-8). If there is no such
/// domain, the result is null with `quiet`; without it the process ends with status 1. It also ends
/// for a name without an ASCII form and for a failing query. Without a connection the result is
/// null after a warning.
///
/// A name that is not ASCII is converted by libidn: if that library cannot be loaded, the process
/// ends with status 1 (see the header idn.h). No other routine here needs it.
const char* get_dom_id(const char* domain_name, st_mysql* connection, bool quiet);

/// `get_dom_id` without `quiet`, in the same buffer.
const char* get_dom_id_strict(const char* domain_name, st_mysql* connection);

/// The domain's name as it is stored, in lower case, or null if there is no such domain. Opens a
/// connection of its own; without one, or if the query fails, the process ends with status 1.
const char* get_domain_name(const char* domain_name);

/// The largest id of `table` plus one; 0 after a warning, also if that does not fit into a `long`.
long get_next_id(const char* table, st_mysql* connection);

/// The id of a domain's DNS zone.
const char* get_dns_zone_id(const char* domain_id, st_mysql* connection);

/// The number in the environment variable KEM_RUN_MODE: 1, 2 or 3, or 0 if it is not set. Any other
/// value ends the process with status 1.
int get_run_mode();
