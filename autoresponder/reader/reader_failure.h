// The parent's side: the exceptions. In the child they only end the process.
#pragma once

#include <exception>

/// Thrown if the child died, takes too long, or sends what the intake cannot produce, or if there
/// is no memory for what it sends.
class ReaderFailure : public std::exception {
 public:
  const char* what() const noexcept override {
    return "autoresponder: the message could not be read";
  }
};

/// Thrown if no child can be started, whatever the message is.
class ReaderNotStarted : public ReaderFailure {};
