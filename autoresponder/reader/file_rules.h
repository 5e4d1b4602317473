#ifndef AUTORESPONDER_READER_FILE_RULES_H
#define AUTORESPONDER_READER_FILE_RULES_H

/// Takes all access to the file system from the calling process, for ever, but for reading the
/// converters that the C library loads (gconv). Also TCP, and signals and abstract sockets of other
/// processes, where the kernel can. Needs that the process gained no privilege any more. False
/// where the kernel cannot.
bool enter_file_rules();

#endif
