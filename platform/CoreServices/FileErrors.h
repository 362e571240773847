// The File Manager's code for a system error. Internal to the file layer.
#pragma once

#include "platform/CoreServices/MacTypes.h"

namespace lumivane::files {

/// The published code that says what `error` (an errno, not 0) says; ioErr for the rest.
OSErr ErrorOf(int error);

}  // namespace lumivane::files
