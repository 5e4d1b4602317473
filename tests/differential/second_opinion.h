#pragma once

#include <gmime/gmime.h>
#include <string>
#include <vector>

#include "reading.h"

/// A part of a Subject field that is decoded by itself, and the text after it, undecoded.
struct SubjectPiece {
  std::string text;
  std::string joint;
};

/// GMime's reading of a message, and the texts by which the rules decide.
struct SecondOpinion {
  Reading reading;

  // Bodies of fields, undecoded; "" for a missing field.
  std::string sender_field;           ///< the one that gave the sender
  std::string recipient_field;        ///< To
  std::vector<SubjectPiece> subject;  ///< one piece, until a rule cuts it
  std::string type_field;             ///< Content-Type of the text part
  std::string encoding_field;         ///< Content-Transfer-Encoding of the text part

  std::string encoded_body;  ///< of the text part
  GMimeContentEncoding encoding = GMIME_CONTENT_ENCODING_DEFAULT;
  bool has_text = false;
  bool is_whole_message = false;  ///< the text part is the message itself
  bool ends_in_line_end = false;  ///< the message
};

/// GMime's reading of `message`, which selects sender, recipient and text part as the intake does.
SecondOpinion read_with_gmime(const std::string& message);

/// `value`, without line ends, with its encoded words in UTF-8.
std::string gmime_decode_words(const std::string& value);

/// `text` without its transfer encoding.
std::string gmime_decode_body(const std::string& text, GMimeContentEncoding encoding);
