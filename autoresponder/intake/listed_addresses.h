#ifndef AUTORESPONDER_INTAKE_LISTED_ADDRESSES_H
#define AUTORESPONDER_INTAKE_LISTED_ADDRESSES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The longest address, in bytes, that `add_listed_addresses` adds: the panel has no longer ones.
constexpr size_t kLongestAddress = 512;

/// Adds the addresses of a field that lists addresses (RFC 5322, 3.4), with those in groups, to
/// `addresses`, until that has `most`.
///
/// Names, routes, comments and the quotes of local parts are dropped. A malformed entry gives the
/// address that is in it, or none.
void add_listed_addresses(std::string_view list, size_t most, std::vector<std::string>& addresses);

#endif
