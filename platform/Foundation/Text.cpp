#include "platform/Foundation/Text.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane::foundation {

namespace {

constexpr UInt32 kReplacement = 0xFFFD;

bool IsHighSurrogate(UInt32 c) {
  return c >= 0xD800 && c < 0xDC00;
}
bool IsLowSurrogate(UInt32 c) {
  return c >= 0xDC00 && c < 0xE000;
}

void AppendUtf8(std::string& bytes, UInt32 c) {
  const auto tail = [&](int shift) { bytes += static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    bytes += static_cast<char>(c);
  } else if (c < 0x800) {
    bytes += static_cast<char>(0xC0 | (c >> 6));
    tail(0);
  } else if (c < 0x10000) {
    bytes += static_cast<char>(0xE0 | (c >> 12));
    tail(6);
    tail(0);
  } else {
    bytes += static_cast<char>(0xF0 | (c >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

std::string Utf8(NSString* text) {
  if (text == nullptr) return {};
  std::vector<UniChar> units(static_cast<std::size_t>(CFStringGetLength(text)));
  CFStringGetCharacters(text, CFRangeMake(0, static_cast<CFIndex>(units.size())), units.data());
  std::string bytes;
  bytes.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    UInt32 c = units[i];
    if (IsHighSurrogate(c) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00U);
    } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
      c = kReplacement;
    }
    AppendUtf8(bytes, c);
  }
  return bytes;
}

NSString* CreateString(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(INT32_MAX)) return nullptr;
  return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                 static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false);
}

namespace {

template <typename T>
T* TypedValue(NSDictionary* dictionary, NSString* key, bool (*isType)(CFTypeRef)) {
  if (dictionary == nullptr || key == nullptr) return nullptr;
  const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
  return isType(value) ? static_cast<T*>(value) : nullptr;
}

}  // namespace

NSString* StringValue(NSDictionary* dictionary, NSString* key) {
  return TypedValue<NSString>(dictionary, key, NSIsString);
}
NSArray* ArrayValue(NSDictionary* dictionary, NSString* key) {
  return TypedValue<NSArray>(dictionary, key, NSIsArray);
}
NSDictionary* DictionaryValue(NSDictionary* dictionary, NSString* key) {
  return TypedValue<NSDictionary>(dictionary, key, NSIsDictionary);
}

std::string TypeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> text(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  return status == 0 && text != nullptr ? std::string(text.get()) : std::string();
}

}  // namespace lumivane::foundation
