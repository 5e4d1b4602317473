#ifndef AUTORESPONDER_RUN_CONFIGURATION_H
#define AUTORESPONDER_RUN_CONFIGURATION_H

#include "autoresponder/message/switches.h"

/// The switches of the panel's configuration file: AUTORESPONDER_REPAIRS and
/// AUTORESPONDER_COURTESY, each "on" or "off". An absent one is off; another value is reported on
/// standard error and counts as off.
Switches read_switches();

/// Keeps the configuration out of the processes that this one forks from now on: in their memory
/// its values are overwritten.
void hide_configuration();

#endif
