// Where a module in somebody else's program finds the plug-in.
#pragma once

#include "platform/CoreImage/CIPlugIn.h"

namespace lumivane::source {

/// Loads CILumivaneInput.plugin from the first image-unit folder that has it: the user's, the local
/// one's, the system's, then the folder ImageUnits beside this library, which is where it lies in
/// an installation below another prefix. On failure `error` says in one line where was looked.
CIPlugInStatus LoadPlugIn();

}  // namespace lumivane::source
