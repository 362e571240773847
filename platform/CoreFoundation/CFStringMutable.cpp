// Mutable strings.
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFStringFold.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

namespace {

__CFString* Mutable(CFMutableStringRef string) {
  auto* object = CFRuntimeCast<__CFString>(static_cast<void*>(string), CFStringGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

// Takes the new content, unless it is longer than the string may be.
void Become(__CFString& string, std::u16string text) {
  const std::size_t most = string.limit > 0
                               ? static_cast<std::size_t>(string.limit)
                               : static_cast<std::size_t>(std::numeric_limits<CFIndex>::max());
  if (text.size() <= most) string.text = std::move(text);
}

bool IsInside(const __CFString& string, CFRange range) {
  return range.location >= 0 && range.length >= 0 &&
         std::int64_t{range.location} + range.length <=
             static_cast<std::int64_t>(string.text.size());
}

void Replace(__CFString& string, CFRange range, std::u16string_view replacement) {
  if (!IsInside(string, range)) return;
  // At the end, where most changes are, the text need not be copied.
  const std::size_t size = string.text.size();
  const bool atEnd = static_cast<std::size_t>(range.location) == size;
  const bool isOwn = replacement.data() == string.text.data();
  if (atEnd && string.limit == 0 && !isOwn &&
      size + replacement.size() <= static_cast<std::size_t>(std::numeric_limits<CFIndex>::max())) {
    string.text += replacement;
    return;
  }
  const std::u16string_view text = string.text;
  std::u16string changed(text.substr(0, static_cast<std::size_t>(range.location)));
  changed += replacement;
  changed += text.substr(static_cast<std::size_t>(range.location) +
                         static_cast<std::size_t>(range.length));
  Become(string, std::move(changed));
}

void Append(CFMutableStringRef string, std::u16string_view text) {
  if (__CFString* object = Mutable(string)) {
    Replace(*object, {static_cast<CFIndex>(object->text.size()), 0}, text);
  }
}

void AppendAndRelease(CFMutableStringRef string, CFStringRef appended) {
  Append(string, cftext::View(appended));
  CFRelease(appended);
}

using CaseFunction = std::int32_t (*)(UChar*, std::int32_t, const UChar*, std::int32_t, const char*,
                                      UErrorCode*);

// The root locale's rules: language-neutral.
void MapCase(CFMutableStringRef string, CaseFunction function) {
  __CFString* object = Mutable(string);
  if (object == nullptr) return;
  const std::u16string& source = object->text;
  // No character becomes more than three.
  std::u16string target(3 * source.size() + 1, u'\0');
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t length =
      function(target.data(), static_cast<std::int32_t>(target.size()), source.data(),
               static_cast<std::int32_t>(source.size()), "", &error);
  if (U_FAILURE(error)) return;
  target.resize(static_cast<std::size_t>(length));
  Become(*object, std::move(target));
}

}  // namespace

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef, CFIndex maxLength) {
  return maxLength >= 0 ? new __CFString(std::u16string(), true, maxLength) : nullptr;
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex maxLength,
                                             CFStringRef string) {
  if (CFGetTypeID(string) != CFStringGetTypeID() || maxLength < 0) return nullptr;
  const std::u16string_view text = cftext::View(string);
  if (maxLength > 0 && text.size() > static_cast<std::size_t>(maxLength)) return nullptr;
  return new __CFString(std::u16string(text), true, maxLength);
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended) {
  Append(string, cftext::View(appended));
}

void CFStringAppendCharacters(CFMutableStringRef string, const UniChar* characters,
                              CFIndex length) {
  AppendAndRelease(string, CFStringCreateWithCharacters(kCFAllocatorDefault, characters, length));
}

void CFStringAppendCString(CFMutableStringRef string, const char* text, CFStringEncoding encoding) {
  AppendAndRelease(string, CFStringCreateWithCString(kCFAllocatorDefault, text, encoding));
}

void CFStringAppendPascalString(CFMutableStringRef string, ConstStr255Param text,
                                CFStringEncoding encoding) {
  AppendAndRelease(string, CFStringCreateWithPascalString(kCFAllocatorDefault, text, encoding));
}

void CFStringAppendFormat(CFMutableStringRef string, CFDictionaryRef options, CFStringRef format,
                          ...) {
  va_list arguments;
  va_start(arguments, format);
  CFStringAppendFormatAndArguments(string, options, format, arguments);
  va_end(arguments);
}

void CFStringAppendFormatAndArguments(CFMutableStringRef string, CFDictionaryRef,
                                      CFStringRef format, va_list arguments) {
  Append(string, cftext::Format(cftext::View(format), arguments));
}

void CFStringInsert(CFMutableStringRef string, CFIndex index, CFStringRef inserted) {
  CFStringReplace(string, {index, 0}, inserted);
}

void CFStringDelete(CFMutableStringRef string, CFRange range) {
  CFStringReplace(string, range, nullptr);
}

void CFStringReplace(CFMutableStringRef string, CFRange range, CFStringRef replacement) {
  if (__CFString* object = Mutable(string)) Replace(*object, range, cftext::View(replacement));
}

void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement) {
  if (__CFString* object = Mutable(string)) {
    Become(*object, std::u16string(cftext::View(replacement)));
  }
}

CFIndex CFStringFindAndReplace(CFMutableStringRef string, CFStringRef stringToFind,
                               CFStringRef replacement, CFRange range,
                               CFOptionFlags compareOptions) {
  __CFString* object = Mutable(string);
  if (object == nullptr) return 0;
  const CFArrayRef places = CFStringCreateArrayWithFindResults(
      kCFAllocatorDefault, string, stringToFind, range, compareOptions & ~kCFCompareBackwards);
  const CFIndex count = CFArrayGetCount(places);
  if (count == 0) return 0;
  const std::u16string_view text = object->text;
  std::u16string changed;
  std::size_t from = 0;
  for (CFIndex i = 0; i < count; ++i) {
    const auto& place = *static_cast<const CFRange*>(CFArrayGetValueAtIndex(places, i));
    changed += text.substr(from, static_cast<std::size_t>(place.location) - from);
    changed += cftext::View(replacement);
    from = static_cast<std::size_t>(place.location) + static_cast<std::size_t>(place.length);
  }
  CFRelease(places);
  changed += text.substr(from);
  const bool fits = object->limit == 0 || changed.size() <= static_cast<std::size_t>(object->limit);
  Become(*object, std::move(changed));
  return fits ? count : 0;
}

void CFStringPad(CFMutableStringRef string, CFStringRef padString, CFIndex length,
                 CFIndex indexIntoPad) {
  __CFString* object = Mutable(string);
  if (object == nullptr || length < 0 || (object->limit > 0 && length > object->limit)) return;
  const auto size = static_cast<std::size_t>(length);
  if (size <= object->text.size()) {
    object->text.resize(size);
    return;
  }
  const std::u16string pad(cftext::View(padString));
  if (pad.empty() || indexIntoPad < 0 || static_cast<std::size_t>(indexIntoPad) >= pad.size()) {
    return;
  }
  for (auto at = static_cast<std::size_t>(indexIntoPad); object->text.size() < size;
       at = (at + 1) % pad.size()) {
    object->text += pad[at];
  }
}

void CFStringTrim(CFMutableStringRef string, CFStringRef trimString) {
  __CFString* object = Mutable(string);
  const std::u16string trim(cftext::View(trimString));
  if (object == nullptr || trim.empty()) return;
  std::u16string_view text = object->text;
  while (text.starts_with(trim)) text.remove_prefix(trim.size());
  while (text.ends_with(trim)) text.remove_suffix(trim.size());
  object->text = std::u16string(text);
}

void CFStringTrimWhitespace(CFMutableStringRef string) {
  __CFString* object = Mutable(string);
  if (object == nullptr) return;
  const auto isSpace = [](char16_t unit) { return u_isUWhiteSpace(unit) != 0; };
  std::u16string_view text = object->text;
  while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
  object->text = std::u16string(text);
}

void CFStringLowercase(CFMutableStringRef string, const void*) {
  MapCase(string, u_strToLower);
}

void CFStringUppercase(CFMutableStringRef string, const void*) {
  MapCase(string, u_strToUpper);
}

void CFStringCapitalize(CFMutableStringRef string, const void*) {
  MapCase(string, [](UChar* target, std::int32_t capacity, const UChar* source, std::int32_t length,
                     const char* locale, UErrorCode* error) {
    return u_strToTitle(target, capacity, source, length, nullptr, locale, error);
  });
}

void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form) {
  __CFString* object = Mutable(string);
  std::u16string text;
  if (object != nullptr && form >= kCFStringNormalizationFormD &&
      form <= kCFStringNormalizationFormKC && cftext::Normalize(object->text, form, text)) {
    Become(*object, std::move(text));
  }
}

void CFStringFold(CFMutableStringRef string, CFOptionFlags foldOptions, const void*) {
  if (__CFString* object = Mutable(string)) {
    Become(*object, cftext::Fold(object->text, foldOptions).text);
  }
}
