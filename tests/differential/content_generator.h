#pragma once

#include <string>
#include <vector>

#include "random.h"

/// A message or body part whose lines end in "\n".
struct Entity {
  std::vector<std::string> fields;  ///< without their line ends
  std::string body;

  std::string Text() const;
};

/// A well-formed entity of any kind, with the fields that describe its content and no others
/// (RFC 2045, 2046). `depth`: how many multipart entities contain it.
Entity make_content(Random& random, unsigned depth);
