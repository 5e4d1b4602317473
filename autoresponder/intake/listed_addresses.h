#ifndef AUTORESPONDER_INTAKE_LISTED_ADDRESSES_H
#define AUTORESPONDER_INTAKE_LISTED_ADDRESSES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Adds the addresses of a field that lists addresses (RFC 5322, 3.4), with those in groups, to
/// `addresses`, until that has `max_count`.
///
/// Names, routes, comments and the quotes of local parts are dropped. A malformed entry gives the
/// address that is in it, or none. Longer ones than kMaxListedAddress are left out.
void add_listed_addresses(std::string_view list, size_t max_count,
                          std::vector<std::string>& addresses);

#endif
