// What the system answers about itself.
#pragma once

#include "platform/CoreServices/MacTypes.h"

enum : OSType {
  gestaltSystemVersion = 'sysv',        ///< binary-coded decimal: 0x1048 is 10.4.8
  gestaltSystemVersionMajor = 'sys1',   ///< 10
  gestaltSystemVersionMinor = 'sys2',   ///< 4
  gestaltSystemVersionBugFix = 'sys3',  ///< 8
};

inline constexpr OSErr gestaltUnknownErr = -5550;
inline constexpr OSErr gestaltUndefSelectorErr = -5551;

/// The answer to `selector` into `response`. The version is that of the system whose interfaces
/// this layer provides, 10.4.8, never the kernel's or the distribution's. gestaltUndefSelectorErr
/// for any other selector, -50 for a null `response`; `*response` is untouched then.
OSErr Gestalt(OSType selector, SInt32* response);
