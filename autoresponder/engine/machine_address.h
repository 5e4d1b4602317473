#pragma once

#include <string_view>

/// Whether the local part of an address, in any case, is that of a program and not of a person: a
/// mail server, a list server, a list's `owner-`, `-owner` or `-request` address, bounces, or "no
/// reply". "+" and what follows it do not count. False for an empty address.
bool is_machine_address(std::string_view address);
