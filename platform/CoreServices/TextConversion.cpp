#include "platform/CoreServices/TextConversion.h"

#include <algorithm>
#include <array>
#include <vector>

namespace lumivane::text {

namespace {

using cftext::EncodingInfo;
using cftext::Scheme;

constexpr std::size_t kMostCharacterSize = 8;

bool IsHigh(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
bool IsLow(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

bool HasShifts(const EncodingInfo& info) {
  switch (info.encoding) {
    case kCFStringEncodingHZ_GB_2312:
    case kCFStringEncodingUTF7:
    case kCFStringEncodingUTF7_IMAP:
    case kCFStringEncodingNonLossyASCII:
      return true;
    default:
      return (info.encoding & 0xFFFFFF00) == 0x0800;
  }
}

bool IsText(const EncodingInfo& info, std::span<const UInt8> bytes) {
  std::u16string ignored;
  return cftext::Decode(info, bytes, false, ignored);
}

// Whether more bytes could make a character of these few.
bool IsPartial(const EncodingInfo& info, std::span<const UInt8> bytes) {
  if (info.scheme == Scheme::kUTF16) return bytes.size() == 1 || bytes.size() == 2;
  if (info.scheme == Scheme::kUTF32) return bytes.size() < 4;
  const std::size_t most = info.scheme == Scheme::kTable ? cftext::MaximumSize(info, 1) : 4;
  if (bytes.empty() || bytes.size() >= most) return false;
  std::vector<UInt8> tried(bytes.begin(), bytes.end());
  tried.push_back(0);
  for (unsigned byte = 0x21; byte < 0x100; ++byte) {
    tried[bytes.size()] = static_cast<UInt8>(byte);
    if (IsText(info, tried)) return true;
  }
  // Characters of up to four bytes: all that follow the second may be these.
  for (const UInt8 second : {0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0x30}) {
    for (const UInt8 rest : {0x80, 0x30, 0x81}) {
      std::vector<UInt8> longer(bytes.begin(), bytes.end());
      if (longer.size() == 1) longer.push_back(second);
      while (longer.size() < 4) {
        longer.push_back(rest);
        if (rest == 0x81) longer.push_back(0x30);
        if (IsText(info, longer)) return true;
      }
    }
  }
  return false;
}

// The first half pair of UTF-16, in units; the number of units when there is none.
std::size_t FirstHalfPair(std::u16string_view text) {
  std::size_t i = 0;
  while (i < text.size()) {
    if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1])) {
      i += 2;
    } else if (IsHigh(text[i]) || IsLow(text[i])) {
      break;
    } else {
      ++i;
    }
  }
  return i;
}

Decoded DecodeUTF16(const EncodingInfo& info, std::span<const UInt8> bytes) {
  Decoded result;
  cftext::Decode(info, bytes, false, result.text);
  const std::size_t valid = FirstHalfPair(result.text);
  if (valid < result.text.size()) {
    const bool last = valid + 1 == result.text.size() && IsHigh(result.text[valid]);
    result.status = last ? kTECPartialCharErr : kTextMalformedInputErr;
  } else if (bytes.size() % 2 != 0) {
    result.status = kTECPartialCharErr;
  }
  result.text.resize(valid);
  result.bytes = 2 * valid;
  return result;
}

}  // namespace

bool IsUnicodeBase(TextEncodingBase base) {
  return base >= kTextEncodingUnicodeDefault && base < kTextEncodingUnicodeDefault + 0x10;
}

const EncodingInfo* EncodingOf(TextEncoding encoding) {
  const TextEncodingBase base = GetTextEncodingBase(encoding);
  if (!IsUnicodeBase(base)) return cftext::FindEncoding(base);
  return cftext::FindEncoding(
      CreateTextEncoding(kTextEncodingUnicodeDefault, 0, GetTextEncodingFormat(encoding)));
}

Decoded DecodeText(const EncodingInfo& info, std::span<const UInt8> bytes) {
  if (info.scheme == Scheme::kUTF16) return DecodeUTF16(info, bytes);
  Decoded result;
  if (cftext::Decode(info, bytes, false, result.text)) {
    result.bytes = bytes.size();
    return result;
  }
  result.status = kTextMalformedInputErr;
  if (HasShifts(info)) return result;
  while (result.bytes < bytes.size()) {
    const std::size_t size = DecodeCharacter(info, bytes.subspan(result.bytes), result.text);
    if (size == 0) break;
    result.bytes += size;
  }
  if (IsPartial(info, bytes.subspan(result.bytes))) result.status = kTECPartialCharErr;
  return result;
}

std::size_t DecodeCharacter(const EncodingInfo& info, std::span<const UInt8> bytes,
                            std::u16string& text) {
  if (HasShifts(info)) return 0;
  const std::size_t unit = cftext::TerminatorSize(info);
  for (std::size_t size = unit; size <= std::min(bytes.size(), kMostCharacterSize); size += unit) {
    const std::size_t before = text.size();
    if (!cftext::Decode(info, bytes.first(size), false, text)) continue;
    // UTF-16 takes half a pair for text.
    if (info.scheme != Scheme::kUTF16 ||
        FirstHalfPair(std::u16string_view(text).substr(before)) == text.size() - before) {
      return size;
    }
    text.resize(before);
  }
  return 0;
}

std::size_t SourceSize(const EncodingInfo& info, std::span<const UInt8> bytes, std::size_t units) {
  std::size_t size = 0;
  std::u16string text;
  while (size < bytes.size()) {
    const std::size_t next = DecodeCharacter(info, bytes.subspan(size), text);
    if (next == 0 || text.size() > units) break;
    size += next;
  }
  return size;
}

std::size_t UTF8Size(std::u16string_view text) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1])) {
      size += 4;
      ++i;
    } else {
      size += text[i] < 0x80 ? 1 : text[i] < 0x800 ? 2 : 3;
    }
  }
  return size;
}

std::string ToUTF8(std::u16string_view text) {
  const cftext::EncodingInfo* utf8 = cftext::FindEncoding(kCFStringEncodingUTF8);
  const cftext::Encoded encoded =
      cftext::Encode(*utf8, text, '?', false, cftext::MaximumSize(*utf8, text.size()));
  return std::string(encoded.bytes.begin(), encoded.bytes.end());
}

}  // namespace lumivane::text
