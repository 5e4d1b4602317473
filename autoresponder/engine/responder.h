#ifndef AUTORESPONDER_ENGINE_RESPONDER_H
#define AUTORESPONDER_ENGINE_RESPONDER_H

#include <functional>
#include <memory>

#include "autoresponder/engine/answer.h"
#include "autoresponder/message/incoming_message.h"
#include "autoresponder/message/switches.h"
#include "autoresponder/panel/panel_database.h"

/// Creates the effects of a run's answers, which use the connection `database`.
using EffectsMaker = std::function<std::unique_ptr<Effects>(PanelDatabase& database)>;

/// Finds the recipient's mailbox and answers the message by each of its rules that fires. Returns
/// after the last rule, or after reporting on standard error that there is no such mailbox. Throws
/// `PanelFailure` if a query fails or the panel cannot be reached.
void run_responder(const IncomingMessage& message, const Switches& switches,
                   const EffectsMaker& make_effects);

#endif
