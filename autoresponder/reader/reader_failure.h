#ifndef AUTORESPONDER_READER_READER_FAILURE_H
#define AUTORESPONDER_READER_READER_FAILURE_H

#include <exception>

/// Thrown where the reader of a message does not give what it has to: because it died, takes too
/// long, or answers in another form.
class ReaderFailure : public std::exception {
 public:
  const char* what() const noexcept override {
    return "autoresponder: the message could not be read";
  }
};

/// Where the system does not let a reader be started, whatever the message is.
class ReaderNotStarted : public ReaderFailure {};

#endif
