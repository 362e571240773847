// Names on disk as the calls' UTF-16 units and as Mac Roman Pascal text. Internal to the file
// layer.
//
// A byte of a name on disk that is not part of valid UTF-8 is the lone low surrogate 0xDC00 + byte,
// as Python's file-name handling has it: every name on disk has units, and the units lead back to
// it.
#pragma once

#include <string>

#include "platform/CoreServices/Files.h"

namespace lumivane::files {

enum class NameUse { kFind, kGive };

/// The name on disk for a call's name. 255 units at most (errFSNameTooLong) and not empty
/// (errFSMissingName). Names that no object can have: fnfErr to find, bdNamErr to give.
OSErr NameFromUnits(UInt32 length, const UniChar* units, NameUse use, std::string* name);

HFSUniStr255 UnitsOfName(const std::string& name);

/// The name in Mac Roman; false when Mac Roman lacks a character of it, or when the Mac Roman text
/// would not lead back to these bytes (a decomposed accent).
bool MacRomanOfName(const std::string& name, std::string* roman);
std::string NameFromMacRoman(const std::string& roman);

}  // namespace lumivane::files
