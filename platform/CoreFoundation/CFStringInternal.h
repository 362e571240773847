// What the platform's own sources may know about a string's inside.
#pragma once

#include <string>
#include <string_view>

#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreFoundation/CFString.h"

struct __CFString final : CFRuntimeObject {
  /// `limit` is the most units a mutable string may have; 0 means any number.
  explicit __CFString(std::u16string content, bool isMutable = false, CFIndex limit = 0,
                      bool constant = false);

  bool isEqualTo(const CFRuntimeObject& other) const override;
  CFHashCode hashValue() const override;
  CFStringRef copyDescriptionText() const override;
  CFStringRef copyFormattingText() const override;

  std::u16string text;
  const bool isMutable;
  const CFIndex limit;
};

namespace cftext {

/// The units of a string; none for null and for objects of other types.
std::u16string_view View(CFTypeRef string);

/// A new string, owned by the caller; null when the text has more units than a CFIndex can count.
CFStringRef Make(std::u16string text);
/// The same from UTF-8 that the platform wrote itself; bytes that are not UTF-8 become U+FFFD.
CFStringRef MakeFromUTF8(std::string_view text);

std::string ToUTF8(std::u16string_view text);  ///< a lone surrogate becomes U+FFFD
std::u16string FromUTF8(std::string_view text);

/// `range` cut at `length`; empty when it lies outside or is negative.
CFRange Clip(CFRange range, std::size_t length);

/// "Name 0xADDRESS [0x0]", the opening of every description.
std::u16string DescriptionHead(const CFRuntimeObject& object);
/// The description of a collection's value by its callback (null: as an address).
std::u16string DescribeValue(CFStringRef (*copyDescription)(const void*), const void* value);

/// The text of a format with its arguments.
std::u16string Format(std::u16string_view format, va_list arguments);
/// As "%.*g" prints it, whatever locale is set.
std::string DoubleText(double value, int digits);

}  // namespace cftext

/// The name a type was registered under; empty for an identifier that nothing bears.
std::string CFRuntimeTypeName(CFTypeID typeID);
