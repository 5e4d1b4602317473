#ifndef AUTORESPONDER_INTAKE_AUTOMATIC_MAIL_H
#define AUTORESPONDER_INTAKE_AUTOMATIC_MAIL_H

#include <string_view>

#include "autoresponder/message/courtesy_facts.h"

/// What the header of a message says about whether it may be answered. `header`: its text, any
/// bytes. Names of fields and words in them count in any case; of repeated fields any counts, but
/// of Message-ID, References and In-Reply-To the first. Takes time linear in the header, and no
/// memory in proportion to it.
CourtesyFacts gather_courtesy_facts(std::string_view header);

#endif
