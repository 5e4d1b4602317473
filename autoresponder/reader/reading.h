#ifndef AUTORESPONDER_READER_READING_H
#define AUTORESPONDER_READER_READING_H

#include "autoresponder/message/switches.h"
#include "autoresponder/reader/message_buffer.h"

/// What the reader's process does: takes the message apart, sends diagnostics and result into
/// `channel`, a descriptor, and then, if the message can be answered, the lines of the body that
/// have the keys that come from there. Returns, or throws `ReaderFailure`, when there is nothing
/// more to do or nobody to do it for.
void read_for_parent(int channel, MessageBuffer& message, bool has_delivery,
                     const Switches& switches);

#endif
