// CFString to and from UTF-8 bytes, for the platform's own code.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/CoreFoundation/CFBase.h"

/// The string's characters; nothing for a null string or one with a lone surrogate.
std::optional<std::string> CFUTF8Text(CFStringRef string);
/// A new string, owned by the caller; null when `bytes` is not UTF-8 or exceeds a CFIndex.
CFStringRef CFUTF8CreateString(std::string_view bytes);
