// Opening files as streams by reference, name or file spec, with type and creator.
//
// The creator comes before the file type. A stream is the caller's to close; null, with a log line,
// on failure. Opening stamps type and creator in every mode, reading too; a stream whose file
// cannot be stamped is returned all the same.
#pragma once

#include <cstdio>

#include "platform/CoreServices/Files.h"

class LFSRef;
class XFileName;

std::FILE* fopen(const LFSRef& ref, const char* open_mode, OSType creator, OSType file_type);
std::FILE* fopen(const XFileName& filename, const char* open_mode, OSType creator,
                 OSType file_type);
std::FILE* fopen(const FSSpec* spec, const char* open_mode, OSType creator, OSType file_type);

/// Here the file type comes first.
std::FILE* FSp_fopen_TypeCreator(const FSSpec* spec, const char* open_mode, OSType file_type,
                                 OSType creator);

/// With a `resRefNum`, opens the resource fork first, as a resource file whose number goes there
/// and which the caller closes (CloseResFile): for reading when the mode has an 'r', for writing
/// when it has a 'w' or an 'a', so that "r+" reads resources only. Without an 'r', a file that is
/// missing is made, with a resource fork; a file that exists without resources is refused. -1 until
/// the resource fork is open; when the stream alone fails, it stays open.
std::FILE* MAC_fopen(const FSSpec* spec, const char* open_mode, OSType creator, OSType file_type,
                     SInt16* resRefNum);
std::FILE* MAC_fopen(const LFSRef& ref, const char* open_mode, OSType creator, OSType file_type,
                     SInt16* resRefNum);
std::FILE* MAC_fopen(const XFileName& filename, const char* open_mode, OSType creator,
                     OSType file_type, SInt16* resRefNum);
