#include "platform/Foundation/Text.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane::foundation {

std::string Utf8(NSString* text) {
  if (text == nullptr) return {};
  const CFRange whole = CFRangeMake(0, CFStringGetLength(text));
  CFIndex size = 0;
  CFStringGetBytes(text, whole, kCFStringEncodingUTF8, '?', false, nullptr, 0, &size);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  CFStringGetBytes(text, whole, kCFStringEncodingUTF8, '?', false,
                   reinterpret_cast<UInt8*>(bytes.data()), size, &size);
  bytes.resize(static_cast<std::size_t>(size));
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
