#ifndef AUTORESPONDER_CONFINEMENT_FILE_RULES_H
#define AUTORESPONDER_CONFINEMENT_FILE_RULES_H

/// Takes all access to the file system from the calling process, for ever, but for reading the
/// converters that the C library loads (gconv). Also TCP, and signals and abstract sockets of other
/// processes, where the kernel can. Requires PR_SET_NO_NEW_PRIVS. False where the kernel cannot.
bool enter_file_rules();

#endif
