// What the log itself needs to know about a file reference. Kept apart from the file wrappers,
// which report through the log.
#pragma once

#include "platform/CoreServices/Files.h"

/// Whether the reference names an object that exists now. Logs nothing.
bool bool_FSRef_IsValid(const FSRef& fileRef);

/// Empties `path`, then writes the object's absolute POSIX path into it: UTF-8, NUL-terminated.
/// False when the reference names no existing object (one log line) or the path does not fit
/// (none); `path` is then empty.
bool bool_FSRef_GetUnixPath(const FSRef& fileRef, char (&path)[1024]);
