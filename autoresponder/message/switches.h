#ifndef AUTORESPONDER_MESSAGE_SWITCHES_H
#define AUTORESPONDER_MESSAGE_SWITCHES_H

/// What the administrator wants to be other than it always was. Both are off unless the
/// configuration switches them on, because other parts of the panel rely on every oddity.
struct Switches {
  bool repairs = false;   ///< defects and holes that nobody wants for their own sake are closed
  bool courtesy = false;  ///< automatic mail gets no reply, and replies say what they are
};

#endif
