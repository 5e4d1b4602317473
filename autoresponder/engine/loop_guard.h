#pragma once

#include "autoresponder/message/incoming_message.h"

/// Why a message must not be answered: the reply would go to the program itself or to a machine.
enum class LoopGuard { kPassed, kSenderIsRecipient, kMailerDaemon };

/// The first reason not to answer the message, or kPassed.
LoopGuard loop_guard(const IncomingMessage& message);

/// The diagnostic for a refused message, NUL-terminated; "" for kPassed.
const char* loop_guard_diagnostic(LoopGuard guard);
