#ifndef MIMELIB_ADDRESS_H
#define MIMELIB_ADDRESS_H

#include <cstddef>

#include "mimelib/component.h"
#include "mimelib/kept_items.h"

class DwAddressSequence;

/// An entry of an address list: a mailbox or a group (RFC 822, 6.1).
class DwAddress : public DwMessageComponent {
 public:
  /// `sequence`: the list that it was found in, which owns it; `resume`: where its successor is
  /// looked for.
  DwAddress(DwString entry, DwAddressSequence* sequence, size_t resume);

  /// Whether the text could be read as what the entry is.
  virtual bool IsValid() const = 0;
  virtual bool IsGroup() const { return false; }
  virtual bool IsMailbox() const { return false; }

  /// The next entry of the list, or null.
  DwAddress* Next() const;

 private:
  DwAddressSequence* sequence_;
  size_t resume_;
  mutable DwAddress* next_ = nullptr;  // younger than this entry, so kept at least as long
};

/// A group, whose members are not looked at.
class DwGroup : public DwAddress {
 public:
  using DwAddress::DwAddress;
  bool IsValid() const override { return true; }
  bool IsGroup() const override { return true; }
};

/// One mailbox. Display name, route and comments are dropped; whatever else cannot stand where it
/// stands is dropped too, so that most malformed addresses still give one.
class DwMailbox : public DwAddress {
 public:
  DwMailbox(const DwString& entry, DwAddressSequence* sequence, size_t resume);

  /// Whether there is a local part; the domain may be empty.
  bool IsValid() const override { return local_part_.length() > 0; }
  bool IsMailbox() const override { return true; }

  /// Up to the "@", quotes included. Line ends between the quotes have become blanks.
  const DwString& LocalPart() const { return local_part_; }
  /// After the "@", brackets of a literal included. Kept: so are line ends between the brackets. In
  /// a header they are CR alone, or a fold: a blank or TAB follows.
  const DwString& Domain() const { return domain_; }

 private:
  DwString local_part_;
  DwString domain_;
};

/// The body of a field that lists addresses, whose entries are found one by one.
class DwAddressSequence : public DwMessageComponent {
 protected:
  DwAddressSequence(const DwString& list, bool with_groups)
      : DwMessageComponent(list), with_groups_(with_groups) {}

  /// The first entry at or after `position`, or null.
  DwAddress* ParseAt(size_t position);

 private:
  friend class DwAddress;

  bool with_groups_;
  KeptItems<DwAddress> kept_;
};

/// The body of a field that lists mailboxes and groups: Reply-To, To.
class DwAddressList : public DwAddressSequence {
 public:
  explicit DwAddressList(const DwString& list) : DwAddressSequence(list, /*with_groups=*/true) {}

  /// The first entry, or null.
  DwAddress* FirstAddress() { return ParseAt(0); }
};

/// The body of a field that lists mailboxes only: From. A colon does not make a group here.
class DwMailboxList : public DwAddressSequence {
 public:
  explicit DwMailboxList(const DwString& list) : DwAddressSequence(list, /*with_groups=*/false) {}

  /// The first mailbox, or null. What follows it are mailboxes too.
  DwMailbox* FirstMailbox() { return static_cast<DwMailbox*>(ParseAt(0)); }
};

#endif
