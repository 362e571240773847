// Texts, paths and numbers between Core Foundation and the standard library.
#pragma once

#include <optional>
#include <string>

#include "platform/CoreFoundation/CFBase.h"

namespace imageio {

/// The object as UTF-8; none when it is no string or has no UTF-8 form (half a surrogate pair).
std::optional<std::string> UTF8Of(CFTypeRef string);
/// A new string; what is not valid UTF-8 is read as ISO Latin 1.
CFStringRef CreateString(const std::string& utf8);
/// The path of a file URL; none for any other.
std::optional<std::string> PathOf(CFURLRef url);
/// The dictionary's number (or boolean) under `key`; none when there is none. Null is empty.
std::optional<double> NumberAt(CFDictionaryRef dictionary, CFStringRef key);

}  // namespace imageio
