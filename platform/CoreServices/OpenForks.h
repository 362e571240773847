// What is known of open forks. Internal to the file layer.
#pragma once

#include "platform/CoreServices/FileForks.h"
#include "platform/CoreServices/ObjectIdentity.h"

namespace lumivane::files {

/// The node flags that say which forks of the object this process has open.
UInt16 OpenForkFlags(const Identity& object);

/// Which fork a name means; errFSBadForkName for none.
OSErr ForkOfName(UInt32 length, const UniChar* name, bool* isResourceFork);

OSErr OpenForkByReference(const FSRef* ref, bool isResourceFork, SInt8 permissions,
                          FSIORefNum* number);

/// Replaces an open resource fork's bytes, all in one step.
OSErr ReplaceResourceFork(FSIORefNum number, const void* bytes, UInt64 size);

}  // namespace lumivane::files
