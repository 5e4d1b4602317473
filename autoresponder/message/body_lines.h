#ifndef AUTORESPONDER_MESSAGE_BODY_LINES_H
#define AUTORESPONDER_MESSAGE_BODY_LINES_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "autoresponder/message/body.h"
#include "mime/charset.h"

/// The lines of a text, without their newlines. They are not cut out of it, so that a body of a
/// hundred million empty lines takes no more memory than its bytes. The text is in UTF-8, or in
/// another charset, from which it is then converted anew whenever it is searched: for texts that
/// are far larger in UTF-8.
class BodyLines : public Body {
 public:
  /// The lines of `text`, in UTF-8: one more than it has newlines.
  explicit BodyLines(std::string text);
  /// The lines of `text`, which is in memory that `owner` keeps.
  BodyLines(std::string_view text, std::shared_ptr<const void> owner);
  /// The lines of a text that `convert_charset` takes from `charset` to UTF-8 without a failure.
  BodyLines(std::string_view text, std::shared_ptr<const void> owner, std::string charset);

  /// The number of the first line with `key`, in time linear in the text.
  size_t FirstWith(std::string_view key);
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

#endif
