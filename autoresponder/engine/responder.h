#ifndef AUTORESPONDER_ENGINE_RESPONDER_H
#define AUTORESPONDER_ENGINE_RESPONDER_H

#include <functional>
#include <memory>

#include "autoresponder/engine/answer.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/panel/panel_database.h"

/// Makes the effects of a run's answers, on its connection.
using EffectsMaker = std::function<std::unique_ptr<Effects>(PanelDatabase& database)>;

/// Finds the recipient's mailbox and lets each of its rules that fires answer the message. Returns
/// when every rule was handled, or there is no such mailbox, which is reported; throws
/// `PanelFailure` when the panel cannot be asked.
void run_responder(const IncomingMessage& message, const EffectsMaker& make_effects);

#endif
