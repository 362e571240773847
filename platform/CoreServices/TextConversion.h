// What the converters share: text up to the first error, and where in the source a part of it ends.
// Internal to the text converters; the encodings themselves are Core Foundation's.
#pragma once

#include <span>
#include <string>

#include "platform/CoreFoundation/CFStringTranscoder.h"
#include "platform/CoreServices/TextCommon.h"

namespace lumivane::text {

/// Null where there is no table. A Unicode base may have any format, others have none.
const cftext::EncodingInfo* EncodingOf(TextEncoding encoding);
bool IsUnicodeBase(TextEncodingBase base);

struct Decoded {
  std::u16string text;
  std::size_t bytes = 0;  ///< what the text was
  OSStatus status =
      noErr;  ///< of what comes after that: kTextMalformedInputErr, kTECPartialCharErr
};

/// The text up to the first error. Half pairs of UTF-16 are one.
Decoded DecodeText(const cftext::EncodingInfo& info, std::span<const UInt8> bytes);

/// Appends the character at the start of `bytes` to `text` and returns its size; 0 when there is
/// none, or its size cannot be told because the encoding has shifts.
std::size_t DecodeCharacter(const cftext::EncodingInfo& info, std::span<const UInt8> bytes,
                            std::u16string& text);

/// The bytes that became the first `units` units of their text, or fewer units where those end
/// within a character; 0 where the encoding has shifts.
std::size_t SourceSize(const cftext::EncodingInfo& info, std::span<const UInt8> bytes,
                       std::size_t units);

std::size_t UTF8Size(std::u16string_view text);
std::string ToUTF8(std::u16string_view text);

}  // namespace lumivane::text
