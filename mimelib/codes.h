#pragma once

namespace DwMime {

/// Top-level media types (RFC 2046, RFC 2077). Null: the field names none.
enum MediaTypes {
  kTypeNull = 0,
  kTypeUnknown,
  kTypeText,
  kTypeMultipart,
  kTypeMessage,
  kTypeApplication,
  kTypeImage,
  kTypeAudio,
  kTypeVideo,
  kTypeModel,
};

/// Content transfer encodings (RFC 2045, 6). Null: the field names none.
enum Ctes {
  kCteNull = 0,
  kCteUnknown,
  kCte7bit,
  kCte8bit,
  kCteBinary,
  kCteQuotedPrintable,
  kCteBase64,
};

}  // namespace DwMime
