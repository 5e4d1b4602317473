#ifndef AUTORESPONDER_ENGINE_MACHINE_ADDRESS_H
#define AUTORESPONDER_ENGINE_MACHINE_ADDRESS_H

#include <string_view>

/// Whether an address by its local part, in any case, belongs to a program and not to a person:
/// mail servers, list servers and their owner- and -request addresses, bounces, and those that say
/// that they take no reply. "+" and what follows it do not count. False for an empty address.
bool is_machine_address(std::string_view address);

#endif
