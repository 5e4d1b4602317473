#include "autoresponder/reply/pipe_stream.h"

opipestream::opipestream(const ShellCommand& command) : opipestream(hand_to_shell(command)) {}

opipestream::opipestream(ShellOutcome outcome)
    : basic_handlestream(outcome.pipe), refused_(outcome.refused) {}
