#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/incoming_message.h"
#include "mime/charset.h"

/// Where `key` first occurs in `text`, byte for byte, or null; an empty key occurs at the start.
/// Takes linear time on any input, unlike `std::string_view::find`.
const char* find_text(std::string_view text, std::string_view key);

/// The lines of a text, without their newlines. The text stays in one piece, so that a hundred
/// million empty lines take no more memory than their bytes. It is in UTF-8; a text that is far
/// larger in UTF-8 is in its own charset, and is converted whenever it is searched.
class BodyLines : public Body {
 public:
  /// `text`: UTF-8; it has one line more than newlines.
  explicit BodyLines(std::string text);
  /// `text`: UTF-8, or in `charset`, from which `convert_charset` can convert it to UTF-8 without
  /// an exception; in memory that `owner` keeps.
  BodyLines(std::string_view text, std::shared_ptr<const void> owner, std::string charset = "");

  /// Takes time linear in the text for each key.
  std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) override;

  /// Hands the text, in UTF-8 and with its newlines, to `sink`.
  void WriteTo(const TextSink& sink) const;

 private:
  std::vector<size_t> FindEach(const std::vector<std::string_view>& keys) const;
  std::vector<size_t> FindTogether(const std::vector<std::string_view>& keys) const;

  std::shared_ptr<const void> owner_;
  std::string_view text_;
  std::string charset_;  // empty: UTF-8
};
