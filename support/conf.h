#pragma once

/// The panel's configuration file: one setting a line, a key, white space, and the value up to the
/// end of the line. White space around key and value is dropped, inside the value it is kept. There
/// are no comments and no quotes; of two lines with one key the first counts.
constexpr const char* kConfFile = "/etc/kem/kem.conf";

/// The keys that every program of the panel requires, in the order in which they are looked up.
#define KEM_CONF_KEYS(KEY) \
  KEY(PRODUCT_ROOT_D)      \
  KEY(HTTPD_VHOSTS_D)      \
  KEY(HTTPD_CONF_D)        \
  KEY(HTTPD_INCLUDE_D)     \
  KEY(HTTPD_BIN_D)         \
  KEY(HTTPD_LOG_D)         \
  KEY(QMAIL_ROOT_D)        \
  KEY(QMAIL_MAILNAMES_D)   \
  KEY(FTPD_CONF)           \
  KEY(FTPD_CONF_INC)       \
  KEY(FTPD_BIN_D)          \
  KEY(NAMED_RUN_ROOT_D)    \
  KEY(WEB_STAT)            \
  KEY(LOGROTATE)           \
  KEY(MYSQL_VAR_D)         \
  KEY(MYSQL_BIN_D)         \
  KEY(PGSQL_BIN_D)         \
  KEY(PGSQL_DATA_D)        \
  KEY(MAILMAN_ROOT_D)      \
  KEY(MAILMAN_VAR_D)       \
  KEY(PRODUCT_RC_D)        \
  KEY(DUMP_D)              \
  KEY(CATALINA_HOME)       \
  KEY(DRWEB_ROOT_D)        \
  KEY(DRWEB_ETC_D)         \
  KEY(CURL_CA_BUNDLE_FILE) \
  KEY(AWSTATS_ETC_D)       \
  KEY(AWSTATS_BIN_D)       \
  KEY(AWSTATS_TOOLS_D)     \
  KEY(AWSTATS_DOC_D)

/// The values, one process-wide NUL-terminated string per key and named after it; null until
/// `load_conf_paths` has run. They point into the image of the file: never freed.
#define KEM_DECLARE_CONF_VALUE(key) extern const char* key;
KEM_CONF_KEYS(KEM_DECLARE_CONF_VALUE)
#undef KEM_DECLARE_CONF_VALUE

/// The panel's certificates directory, set by `load_conf_paths`; NUL-terminated, cut at 4095 bytes.
extern char certificates_dir[4096];

/// The value of `key` (both NUL-terminated), or null if the file cannot be read or has no line with
/// the key and white space after it. The file is read once; after a failed read the next call tries
/// again. The result lives as long as the process and must not be freed.
const char* conf_lookup(const char* key);

/// Like `conf_lookup`, but a null or empty value ends the process with status 1 and
/// "Error: %s not defined".
const char* conf_require(const char* key);

/// Sets the value of every key of KEM_CONF_KEYS, in that order, then `certificates_dir`. A missing
/// or empty value ends the process with status 1 and "Error: %s not defined".
void load_conf_paths();
