#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Appends the addresses of an address list (RFC 5322, 3.4), also those in groups, to `addresses`,
/// until it has `max_count`.
///
/// `list`: the body of a field, any bytes. Names, routes, comments and the quotes of local parts
/// are dropped. A malformed entry gives the address that is in it, or none. Addresses of more than
/// kMaxListedAddress bytes are left out.
void add_listed_addresses(std::string_view list, size_t max_count,
                          std::vector<std::string>& addresses);
