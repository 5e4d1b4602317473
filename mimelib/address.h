#pragma once

#include <cstddef>

#include "mimelib/component.h"

class DwAddressSequence;

/// An entry of an address list: a mailbox or a group (RFC 822, 6.1).
class DwAddress : public DwMessageComponent {
 public:
  /// `entry`: its text; `sequence`: the list that holds it and owns this object; `resume`: the
  /// position in the list from which the next entry is searched for.
  DwAddress(DwString entry, DwAddressSequence* sequence, size_t resume);

  /// Whether an address was found in the text. A group is always valid.
  virtual bool IsValid() const = 0;
  /// Each entry is either a group or a mailbox.
  virtual bool IsGroup() const { return false; }
  virtual bool IsMailbox() const { return false; }

  /// The next entry of the list, or null. Owned by the list.
  DwAddress* Next() const;

 private:
  DwAddressSequence* sequence_;
  size_t resume_;
  mutable DwAddress* next_ = nullptr;  // made later, so also deleted later
};

/// A group. Its members are not parsed.
class DwGroup : public DwAddress {
 public:
  using DwAddress::DwAddress;
  bool IsValid() const override { return true; }
  bool IsGroup() const override { return true; }
};

/// One mailbox. Display name, route and comments are dropped, and so is every token that is not
/// allowed where it is: most malformed addresses still give a mailbox.
class DwMailbox : public DwAddress {
 public:
  DwMailbox(const DwString& entry, DwAddressSequence* sequence, size_t resume);

  /// Whether there is a local part; the domain may be empty.
  bool IsValid() const override { return local_part_.length() > 0; }
  bool IsMailbox() const override { return true; }

  /// What precedes the "@", with quotes. A line end between the quotes has become a blank.
  const DwString& LocalPart() const { return local_part_; }
  /// What follows the "@", with the brackets of a domain literal. Kept: line ends between the
  /// brackets stay. In a header they are a CR alone, or a fold, which a blank or TAB follows.
  const DwString& Domain() const { return domain_; }

 private:
  DwString local_part_;
  DwString domain_;
};

/// The body of a field that lists addresses. It is parsed while it is walked.
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

/// The body of a field that lists only mailboxes: From. A colon does not make a group here.
class DwMailboxList : public DwAddressSequence {
 public:
  explicit DwMailboxList(const DwString& list) : DwAddressSequence(list, /*with_groups=*/false) {}

  /// The first mailbox, or null. Each `Next` gives a mailbox too.
  DwMailbox* FirstMailbox() { return static_cast<DwMailbox*>(ParseAt(0)); }
};
