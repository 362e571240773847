#include "platform/CoreServices/UnicodeConverter.h"

#include <algorithm>
#include <new>
#include <vector>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/TextConversion.h"
#include "platform/CoreServices/TextMatcher.h"
#include "platform/CoreServices/UnicodeForms.h"

using lumivane::text::Form;

struct OpaqueTextToUnicodeInfo {
  const cftext::EncodingInfo* encoding;
  Form form;
  bool utf8;
};

struct OpaqueUnicodeToTextInfo {
  const cftext::EncodingInfo* encoding;
  bool utf8;
};

namespace {

using lumivane::text::Decoded;

Form FormOf(TextEncodingVariant variant, UnicodeMapVersion version) {
  const bool hfs = version == kUnicodeUseHFSPlusMapping;
  switch (variant) {
    case kUnicodeCanonicalDecompVariant:
      return hfs ? Form::kHFSDecomposed : Form::kDecomposed;
    case kUnicodeHFSPlusDecompVariant:
      return Form::kHFSDecomposed;
    case kUnicodeCanonicalCompVariant:
      return hfs ? Form::kHFSComposed : Form::kComposed;
    case kUnicodeHFSPlusCompVariant:
      return Form::kHFSComposed;
    default:
      return Form::kAsIs;
  }
}

OSStatus Examine(const UnicodeMapping& mapping, OpaqueTextToUnicodeInfo& info) {
  using namespace lumivane::text;
  const TextEncodingFormat format = GetTextEncodingFormat(mapping.unicodeEncoding);
  if (!IsUnicodeBase(GetTextEncodingBase(mapping.unicodeEncoding)) ||
      (format != kUnicode16BitFormat && format != kUnicodeUTF8Format) ||
      IsUnicodeBase(GetTextEncodingBase(mapping.otherEncoding))) {
    return kTextUnsupportedEncodingErr;
  }
  info.encoding = EncodingOf(mapping.otherEncoding);
  info.form = FormOf(GetTextEncodingVariant(mapping.unicodeEncoding), mapping.mappingVersion);
  info.utf8 = format == kUnicodeUTF8Format;
  return info.encoding != nullptr ? noErr : kTextUnsupportedEncodingErr;
}

std::span<const UInt8> Bytes(const void* start, ByteCount size) {
  return {static_cast<const UInt8*>(start), size};
}

std::size_t SizeIn(const OpaqueTextToUnicodeInfo& info, std::u16string_view text) {
  return info.utf8 ? lumivane::text::UTF8Size(text) : 2 * text.size();
}

// As many of the characters as have room, by the size each has alone: what is decomposed does not
// grow or shrink when it meets, and composed text is no longer than this.
Decoded Fit(const OpaqueTextToUnicodeInfo& info, std::span<const UInt8> bytes, std::size_t limit) {
  Decoded fitting;
  fitting.status = kTECOutputBufferFullStatus;
  std::size_t size = 0;
  while (fitting.bytes < bytes.size()) {
    std::u16string character;
    const std::size_t taken =
        lumivane::text::DecodeCharacter(*info.encoding, bytes.subspan(fitting.bytes), character);
    if (taken == 0) break;
    size += SizeIn(info, Normalize(info.form, character));
    if (size > limit) break;
    fitting.bytes += taken;
    fitting.text += character;
  }
  fitting.text = Normalize(info.form, fitting.text);
  return fitting;
}

}  // namespace

OSStatus CreateTextToUnicodeInfo(ConstUnicodeMappingPtr mapping, TextToUnicodeInfo* info) {
  if (info == nullptr) return paramErr;
  *info = nullptr;
  if (mapping == nullptr) return paramErr;
  OpaqueTextToUnicodeInfo parts = {};
  const OSStatus status = Examine(*mapping, parts);
  if (status == noErr) *info = new OpaqueTextToUnicodeInfo(parts);
  return status;
}

OSStatus CreateUnicodeToTextInfo(ConstUnicodeMappingPtr mapping, UnicodeToTextInfo* info) {
  if (info == nullptr) return paramErr;
  *info = nullptr;
  if (mapping == nullptr) return paramErr;
  OpaqueTextToUnicodeInfo parts = {};
  const OSStatus status = Examine(*mapping, parts);
  if (status == noErr) *info = new OpaqueUnicodeToTextInfo{parts.encoding, parts.utf8};
  return status;
}

OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* info) {
  if (info == nullptr || *info == nullptr) return paramErr;
  delete *info;
  *info = nullptr;
  return noErr;
}

OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* info) {
  if (info == nullptr || *info == nullptr) return paramErr;
  delete *info;
  *info = nullptr;
  return noErr;
}

OSStatus ConvertFromTextToUnicode(TextToUnicodeInfo info, ByteCount sourceLength,
                                  ConstLogicalAddress source, OptionBits /*controlFlags*/,
                                  ItemCount /*offsetCount*/, const ByteOffset /*offsets*/[],
                                  ItemCount* outOffsetCount, ByteOffset /*outOffsets*/[],
                                  ByteCount outputSize, ByteCount* sourceRead,
                                  ByteCount* unicodeLength, UniChar unicode[]) {
  if (outOffsetCount != nullptr) *outOffsetCount = 0;
  if (sourceRead == nullptr || unicodeLength == nullptr) return paramErr;
  *sourceRead = 0;
  *unicodeLength = 0;
  if (info == nullptr || (source == nullptr && sourceLength != 0) ||
      (unicode == nullptr && outputSize != 0)) {
    return paramErr;
  }
  const std::span<const UInt8> bytes = Bytes(source, sourceLength);
  Decoded decoded = lumivane::text::DecodeText(*info->encoding, bytes);
  decoded.text = Normalize(info->form, decoded.text);
  if (SizeIn(*info, decoded.text) > outputSize) {
    decoded = Fit(*info, bytes.first(decoded.bytes), outputSize);
  }
  if (info->utf8) {
    const std::string utf8 = lumivane::text::ToUTF8(decoded.text);
    std::copy_n(utf8.data(), utf8.size(), reinterpret_cast<char*>(unicode));
    *unicodeLength = static_cast<ByteCount>(utf8.size());
  } else {
    const std::size_t size = 2 * decoded.text.size();
    std::copy_n(reinterpret_cast<const char*>(decoded.text.data()), size,
                reinterpret_cast<char*>(unicode));
    *unicodeLength = static_cast<ByteCount>(size);
  }
  *sourceRead = static_cast<ByteCount>(decoded.bytes);
  return decoded.status;
}

OSStatus ConvertFromUnicodeToText(UnicodeToTextInfo info, ByteCount unicodeLength,
                                  const UniChar unicode[], OptionBits controlFlags,
                                  ItemCount /*offsetCount*/, const ByteOffset /*offsets*/[],
                                  ItemCount* outOffsetCount, ByteOffset /*outOffsets*/[],
                                  ByteCount outputSize, ByteCount* inputRead,
                                  ByteCount* outputLength, LogicalAddress output) {
  if (outOffsetCount != nullptr) *outOffsetCount = 0;
  if (inputRead == nullptr || outputLength == nullptr) return paramErr;
  *inputRead = 0;
  *outputLength = 0;
  if (info == nullptr || (unicode == nullptr && unicodeLength != 0) ||
      (output == nullptr && outputSize != 0)) {
    return paramErr;
  }
  const cftext::EncodingInfo* form = lumivane::text::EncodingOf(CreateTextEncoding(
      kTextEncodingUnicodeDefault, 0, info->utf8 ? kUnicodeUTF8Format : kUnicode16BitFormat));
  const Decoded input = lumivane::text::DecodeText(*form, Bytes(unicode, unicodeLength));
  const lumivane::text::Matcher matcher(*info->encoding, input.text);

  OSStatus status = input.status;
  bool usedFallbacks = false;
  std::string bytes;
  std::size_t at = 0;
  while (at < input.text.size()) {
    std::string form8;
    std::size_t end = matcher.Match(at, (controlFlags & kUnicodeLooseMappingsMask) != 0, form8);
    if (end == at) {
      if ((controlFlags & kUnicodeUseFallbacksMask) == 0) {
        status = kTECUnmappableElementErr;
        break;
      }
      form8 = "?";
      end = matcher.ClusterEnd(at);
      usedFallbacks = true;
    }
    if (form8.size() > outputSize - bytes.size()) {
      status = kTECOutputBufferFullStatus;
      break;
    }
    bytes += form8;
    at = end;
  }
  if (status == noErr && usedFallbacks) status = kTECUsedFallbacksStatus;
  std::copy_n(bytes.data(), bytes.size(), static_cast<char*>(output));
  const std::u16string_view read = std::u16string_view(input.text).substr(0, at);
  *inputRead =
      static_cast<ByteCount>(info->utf8 ? lumivane::text::UTF8Size(read) : 2 * read.size());
  *outputLength = static_cast<ByteCount>(bytes.size());
  return status;
}
