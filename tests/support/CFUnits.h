// Strings as their UTF-16 units, for tests in which UTF-8 would hide what matters.
#pragma once

#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "tests/support/CFOwned.h"

namespace test {

inline std::u16string Units(CFStringRef string) {
  std::u16string units(static_cast<std::size_t>(CFStringGetLength(string)), u'\0');
  CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)),
                        reinterpret_cast<UniChar*>(units.data()));
  return units;
}

/// A new string of the units.
inline CFStringRef NewString(const std::u16string& units) {
  return CFStringCreateWithCharacters(kCFAllocatorDefault,
                                      reinterpret_cast<const UniChar*>(units.data()),
                                      static_cast<CFIndex>(units.size()));
}

/// The units of a new string, which is released.
inline std::u16string TakeUnits(CFStringRef string) {
  return Units(CFOwned<CFStringRef>(string));
}

}  // namespace test
