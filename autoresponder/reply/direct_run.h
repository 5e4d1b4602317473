#pragma once

#include "autoresponder/reply/plain_command.h"

/// Runs a command as `system` does, but without a shell between, and waits for its end. False if it
/// could not be started, or if a shell would have said or done something of its own: then nothing
/// has happened. The shell that is saved is dash, Debian's /bin/sh.
bool run_directly(PlainCommand command);
