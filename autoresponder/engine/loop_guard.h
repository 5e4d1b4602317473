#ifndef AUTORESPONDER_ENGINE_LOOP_GUARD_H
#define AUTORESPONDER_ENGINE_LOOP_GUARD_H

#include "autoresponder/message/incoming_message.h"

/// What keeps the program from answering itself or a machine.
enum class LoopGuard { kPassed, kSenderIsRecipient, kMailerDaemon };

/// The first guard that refuses the message, or kPassed.
LoopGuard loop_guard(const IncomingMessage& message);

/// The line that tells of a refusal, NUL-terminated; "" for kPassed.
const char* loop_guard_diagnostic(LoopGuard guard);

#endif
