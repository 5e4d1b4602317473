#include "autoresponder/intake/addresses.h"

#include <cstring>

const DwMailbox* first_listed_mailbox(DwAddressList& addresses) {
  for (const DwAddress* entry = addresses.FirstAddress(); entry != nullptr; entry = entry->Next()) {
    const bool usable = entry->IsValid() && !entry->IsGroup() && entry->IsMailbox();
    if (usable) return static_cast<const DwMailbox*>(entry);
  }
  return nullptr;
}

const DwMailbox* first_valid_mailbox(DwMailboxList& mailboxes) {
  const DwAddress* entry = mailboxes.FirstMailbox();
  while (entry != nullptr && !entry->IsValid()) entry = entry->Next();
  return static_cast<const DwMailbox*>(entry);
}

std::string mailbox_address(const DwMailbox& mailbox) {
  const DwString& local_part = mailbox.LocalPart();
  const DwString& domain = mailbox.Domain();
  std::string address;
  address.reserve(local_part.length() + 1 + domain.length());
  address.append(local_part.data(), local_part.length()).append("@");
  address.append(domain.data(), domain.length());
  address.resize(strlen(address.c_str()));
  return address;
}
