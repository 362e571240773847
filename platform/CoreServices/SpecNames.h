// File specs of located objects, and the short names in them. Internal to the file layer.
#pragma once

#include <string>

#include "platform/CoreServices/FileReference.h"
#include "platform/CoreServices/FileSpecs.h"
#include "platform/CoreServices/FileVolumes.h"

namespace lumivane::files {

inline constexpr std::size_t kSpecNameLength = 63;

FSSpec SpecOf(const Located& located);

/// The Mac Roman name of an object in a file spec, cut short with its number where need be.
std::string SpecNameOf(const std::string& name, UInt32 number);

/// Finds the object that a name in a file spec means, in `folder`; 0 or an errno.
int LocateBySpecName(const Located& folder, const std::string& specName, Located* located);

/// Sets a Pascal string; what is longer than `room` - 1 is cut.
void SetPascal(unsigned char* pascal, std::size_t room, const std::string& text);
std::string TextOfPascal(ConstStr255Param pascal);

}  // namespace lumivane::files
