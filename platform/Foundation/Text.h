// Between NSString and UTF-8 std::string. Internal to the object layer.
#pragma once

#include <string>
#include <string_view>

#include "platform/Foundation/NSObject.h"

namespace lumivane::foundation {

/// UTF-8; empty for null. Unpaired surrogates become U+FFFD.
std::string Utf8(NSString* text);
/// A new string, owned by the caller; null when `text` is not valid UTF-8.
NSString* CreateString(std::string_view text);
/// The dictionary's value if it is a string, an array, a dictionary; else null. Null is passed on.
NSString* StringValue(NSDictionary* dictionary, NSString* key);
NSArray* ArrayValue(NSDictionary* dictionary, NSString* key);
NSDictionary* DictionaryValue(NSDictionary* dictionary, NSString* key);
/// A C++ type's name as the source has it; empty when it has none of its own.
std::string TypeName(const std::type_info& type);

}  // namespace lumivane::foundation
