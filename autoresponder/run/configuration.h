#pragma once

#include "autoresponder/message/switches.h"

/// The switches AUTORESPONDER_REPAIRS and AUTORESPONDER_COURTESY of the panel's configuration file,
/// each "on" or "off". An absent one is off; another value is reported on standard error and counts
/// as off.
Switches read_switches();

/// From now on `fork` overwrites the configuration's values in the child's memory.
void hide_configuration();
