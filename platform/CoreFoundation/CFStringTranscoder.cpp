// The encodings converted here: the Unicode forms, ASCII, ISO Latin 1, NEXTSTEP, non-lossy ASCII.
#include "platform/CoreFoundation/CFStringTranscoder.h"

#include <algorithm>
#include <array>
#include <bit>

namespace cftext {

namespace {

constexpr char32_t kByteOrderMark = 0xFEFF;

bool IsHigh(char32_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLow(char32_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}
bool IsSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}

void AppendCodePoint(char32_t c, std::u16string& out) {
  if (c < 0x10000) {
    out += static_cast<char16_t>(c);
  } else {
    out += static_cast<char16_t>(0xD7C0 + (c >> 10));
    out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
  }
}

bool IsLittle(ByteOrder order) {
  return order == ByteOrder::kMachine ? std::endian::native == std::endian::little
                                      : order == ByteOrder::kLittle;
}

char32_t Load(const UInt8* bytes, std::size_t size, bool little) {
  char32_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = (value << 8) | bytes[little ? size - 1 - i : i];
  }
  return value;
}

std::size_t Store(char32_t value, std::size_t size, bool little, UInt8* out) {
  for (std::size_t i = 0; i < size; ++i) {
    out[little ? i : size - 1 - i] = static_cast<UInt8>(value >> (8 * i));
  }
  return size;
}

// The shortest form only, no surrogates, nothing above U+10FFFF.
bool DecodeUTF8(std::span<const UInt8> bytes, std::u16string& out) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const UInt8 lead = bytes[i++];
    if (lead < 0x80) {
      out += static_cast<char16_t>(lead);
      continue;
    }
    const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() - i < more) return false;
    char32_t c = lead & (0x3F >> more);
    for (std::size_t k = 0; k < more; ++k) {
      if ((bytes[i] & 0xC0) != 0x80) return false;
      c = (c << 6) | (bytes[i++] & 0x3F);
    }
    static constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    if (c < kLeast[more] || c > 0x10FFFF || IsSurrogate(c)) return false;
    AppendCodePoint(c, out);
  }
  return true;
}

std::size_t EncodeUTF8(char32_t c, UInt8* out) {
  if (c < 0x80) {
    out[0] = static_cast<UInt8>(c);
    return 1;
  }
  if (IsSurrogate(c)) return 0;
  const std::size_t more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  static constexpr UInt8 kLead[] = {0, 0xC0, 0xE0, 0xF0};
  out[0] = static_cast<UInt8>(kLead[more] | (c >> (6 * more)));
  for (std::size_t k = 1; k <= more; ++k) {
    out[k] = static_cast<UInt8>(0x80 | ((c >> (6 * (more - k))) & 0x3F));
  }
  return more + 1;
}

// A last byte that is half a unit is left out.
void DecodeUTF16(std::span<const UInt8> bytes, bool little, std::u16string& out) {
  out.reserve(out.size() + bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    out += static_cast<char16_t>(Load(&bytes[i], 2, little));
  }
}

bool DecodeUTF32(std::span<const UInt8> bytes, bool little, std::u16string& out) {
  if (bytes.size() % 4 != 0) return false;
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const char32_t c = Load(&bytes[i], 4, little);
    if (c > 0x10FFFF || IsSurrogate(c)) return false;
    AppendCodePoint(c, out);
  }
  return true;
}

int DigitValue(UInt8 c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 99;
}

// `count` digits of `base` at `at`; false when there are not that many.
bool ReadDigits(std::span<const UInt8> bytes, std::size_t at, std::size_t count, int base,
                char32_t& value) {
  if (bytes.size() < at || bytes.size() - at < count) return false;
  value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    const int digit = DigitValue(bytes[i]);
    if (digit >= base) return false;
    value = value * static_cast<char32_t>(base) + static_cast<char32_t>(digit);
  }
  return true;
}

// A backslash is followed by another one, by three octal digits, or by "u" and four hexadecimal.
bool DecodeNonLossyASCII(std::span<const UInt8> bytes, std::u16string& out) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const UInt8 byte = bytes[i++];
    if (byte >= 0x80) return false;
    if (byte != '\\') {
      out += static_cast<char16_t>(byte);
      continue;
    }
    if (i == bytes.size()) return false;
    char32_t value = '\\';
    if (bytes[i] == '\\') {
      i += 1;
    } else if (bytes[i] == 'u') {
      if (!ReadDigits(bytes, i + 1, 4, 16, value)) return false;
      i += 5;
    } else {
      if (!ReadDigits(bytes, i, 3, 8, value) || value > 0xFF) return false;
      i += 3;
    }
    out += static_cast<char16_t>(value);
  }
  return true;
}

std::size_t EncodeNonLossyUnit(char32_t unit, UInt8* out) {
  static constexpr char kHex[] = "0123456789abcdef";
  if (unit < 0x80 && unit != '\\') {
    out[0] = static_cast<UInt8>(unit);
    return 1;
  }
  out[0] = '\\';
  if (unit == '\\') {
    out[1] = '\\';
    return 2;
  }
  if (unit < 0x100) {
    for (std::size_t k = 0; k < 3; ++k) {
      out[k + 1] = static_cast<UInt8>('0' + ((unit >> (6 - 3 * k)) & 7));
    }
    return 4;
  }
  out[1] = 'u';
  for (std::size_t k = 0; k < 4; ++k) {
    out[k + 2] = static_cast<UInt8>(kHex[(unit >> (12 - 4 * k)) & 15]);
  }
  return 6;
}

std::size_t EncodeNextStep(char32_t c, UInt8* out) {
  if (c < 0x80) {
    out[0] = static_cast<UInt8>(c);
    return 1;
  }
  const auto* end = std::end(kNextStepHigh);
  const auto* at =
      c < 0x10000 ? std::find(std::begin(kNextStepHigh), end, static_cast<char16_t>(c)) : end;
  if (at == end) return 0;
  out[0] = static_cast<UInt8>(0x80 + (at - std::begin(kNextStepHigh)));
  return 1;
}

// A character's bytes, 12 at most; 0 when the encoding has none for it.
std::size_t EncodeCharacter(const EncodingInfo& info, char32_t c, UInt8* out) {
  switch (info.scheme) {
    case Scheme::kUTF8:
      return EncodeUTF8(c, out);
    case Scheme::kUTF16:
      return Store(c, 2, IsLittle(info.order), out);
    case Scheme::kUTF32:
      return IsSurrogate(c) ? 0 : Store(c, 4, IsLittle(info.order), out);
    case Scheme::kNextStep:
      return EncodeNextStep(c, out);
    case Scheme::kNonLossyASCII: {
      if (c < 0x10000) return EncodeNonLossyUnit(c, out);
      const std::size_t first = EncodeNonLossyUnit(0xD7C0 + (c >> 10), out);
      return first + EncodeNonLossyUnit(0xDC00 + (c & 0x3FF), out + first);
    }
    default:
      if (c >= (info.scheme == Scheme::kASCII ? 0x80U : 0x100U)) return 0;
      out[0] = static_cast<UInt8>(c);
      return 1;
  }
}

std::size_t UnitSize(const EncodingInfo& info) {
  return info.scheme == Scheme::kUTF16 ? 2 : info.scheme == Scheme::kUTF32 ? 4 : 1;
}

// The byte-order mark at the start, if there is one, comes off and decides the order.
std::span<const UInt8> TakeMark(const EncodingInfo& info, std::span<const UInt8> bytes,
                                bool& little) {
  if (info.scheme == Scheme::kUTF8) {
    static constexpr std::array<UInt8, 3> kMark = {0xEF, 0xBB, 0xBF};
    const bool has = bytes.size() >= 3 && std::equal(kMark.begin(), kMark.end(), bytes.begin());
    return has ? bytes.subspan(3) : bytes;
  }
  const std::size_t size = UnitSize(info);
  if (size == 1 || bytes.size() < size) return bytes;
  if (Load(bytes.data(), size, little) == kByteOrderMark) return bytes.subspan(size);
  if (info.order == ByteOrder::kMachine && Load(bytes.data(), size, !little) == kByteOrderMark) {
    little = !little;
    return bytes.subspan(size);
  }
  return bytes;
}

bool DecodeHere(const EncodingInfo& info, std::span<const UInt8> bytes, bool little,
                std::u16string& out) {
  switch (info.scheme) {
    case Scheme::kUTF8:
      return DecodeUTF8(bytes, out);
    case Scheme::kUTF16:
      DecodeUTF16(bytes, little, out);
      return true;
    case Scheme::kUTF32:
      return DecodeUTF32(bytes, little, out);
    case Scheme::kNonLossyASCII:
      return DecodeNonLossyASCII(bytes, out);
    case Scheme::kTable:
      return TableDecode(info, bytes, out);
    case Scheme::kLibrary:
      return LibraryDecode(info, bytes, out);
    default:
      break;
  }
  for (const UInt8 byte : bytes) {
    char16_t c = byte;
    if (byte >= 0x80) {
      if (info.scheme == Scheme::kASCII) return false;
      if (info.scheme == Scheme::kNextStep) c = kNextStepHigh[byte - 0x80];
      if (c == 0) return false;
    }
    out += c;
  }
  return true;
}

}  // namespace

// The published table of the NEXTSTEP character set.
const char16_t kNextStepHigh[128] = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7,  // 80
    0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF,  // 88
    0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,  // 90
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7,  // 98
    0x00A9, 0x00A1, 0x00A2, 0x00A3, 0x2044, 0x00A5, 0x0192, 0x00A7,  // A0
    0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,  // A8
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022,  // B0
    0x201A, 0x201E, 0x201D, 0x00BB, 0x2026, 0x2030, 0x00AC, 0x00BF,  // B8
    0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,  // C0
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7,  // C8
    0x2014, 0x00B1, 0x00BC, 0x00BD, 0x00BE, 0x00E0, 0x00E1, 0x00E2,  // D0
    0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,  // D8
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1,  // E0
    0x0141, 0x00D8, 0x0152, 0x00BA, 0x00F2, 0x00F3, 0x00F4, 0x00F5,  // E8
    0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,  // F0
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0x0000, 0x0000,  // F8
};

bool Decode(const EncodingInfo& info, std::span<const UInt8> bytes, bool external,
            std::u16string& out) {
  bool little = IsLittle(info.order);
  if (external) bytes = TakeMark(info, bytes, little);
  const std::size_t before = out.size();
  if (DecodeHere(info, bytes, little, out)) return true;
  out.resize(before);
  return false;
}

Encoded Encode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte, bool external,
               std::size_t limit) {
  if (info.scheme == Scheme::kLibrary) return LibraryEncode(info, text, lossByte, limit);
  if (info.scheme == Scheme::kTable) return TableEncode(info, text, lossByte, limit);
  Encoded result{0, {}};
  UInt8 form[12];
  const auto put = [&](std::size_t size) {
    if (limit - result.bytes.size() < size) return false;
    result.bytes.insert(result.bytes.end(), form, form + size);
    return true;
  };
  const std::size_t unit = UnitSize(info);
  if (external && unit > 1 && info.order == ByteOrder::kMachine &&
      !put(Store(kByteOrderMark, unit, IsLittle(info.order), form))) {
    return result;
  }
  while (result.units < text.size()) {
    char32_t c = text[result.units];
    std::size_t taken = 1;
    if (unit != 2 && IsHigh(c) && result.units + 1 < text.size() && IsLow(text[result.units + 1])) {
      c = ((c - 0xD7C0) << 10) + (char32_t{text[result.units + 1]} & 0x3FF);
      taken = 2;
    }
    std::size_t size = EncodeCharacter(info, c, form);
    if (size == 0 && lossByte != 0) size = Store(lossByte, unit, IsLittle(info.order), form);
    if (size == 0 || !put(size)) break;
    result.units += taken;
  }
  return result;
}

std::size_t TerminatorSize(const EncodingInfo& info) {
  return UnitSize(info);
}

std::size_t MaximumSize(const EncodingInfo& info, std::size_t length) {
  switch (info.scheme) {
    case Scheme::kUTF8:
      return 3 * length;
    case Scheme::kUTF16:
      return 2 * length;
    case Scheme::kUTF32:
      return 4 * length;
    case Scheme::kNonLossyASCII:
      return 6 * length;
    case Scheme::kTable:
      return TableMaximumSize(info, length);
    case Scheme::kLibrary:
      return LibraryMaximumSize(info, length);
    default:
      return length;
  }
}

}  // namespace cftext
