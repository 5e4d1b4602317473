#pragma once

#include <cstring>
#include <functional>
#include <string>

#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/reader/transfer.h"

/// Gives these bytes to a `Receiver`; fails if it wants more.
inline ByteSource source_of(std::string bytes) {
  return [bytes = std::move(bytes), at = size_t{0}](char* to, size_t length) mutable {
    if (length > bytes.size() - at) throw ReaderFailure();
    if (length > 0) memcpy(to, &bytes[at], length);
    at += length;
  };
}

/// The bytes that `send` hands to a `Sender`.
inline std::string sent(const std::function<void(Sender&)>& send) {
  std::string bytes;
  Sender sender([&bytes](const char* part, size_t length) { bytes.append(part, length); });
  send(sender);
  return bytes;
}
