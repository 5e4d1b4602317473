#pragma once

/// Takes from the calling process, irrevocably, all access to files but reading the converters that
/// the C library loads (gconv). If the kernel can, also TCP, and reaching other processes by
/// signals and abstract sockets. Requires PR_SET_NO_NEW_PRIVS. False if the kernel lacks Landlock.
bool enter_file_rules();
