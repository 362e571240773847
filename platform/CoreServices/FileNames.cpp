#include "platform/CoreServices/FileNames.h"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>

namespace lumivane::files {

namespace {

constexpr std::size_t kMaxUnits = 255;
constexpr UniChar kEscape = 0xdc00;

/// What each Mac Roman byte means.
const std::array<UniChar, 256>& MacRoman() {
  static const std::array<UniChar, 256> table = [] {
    std::array<UniChar, 256> units{};
    for (std::size_t i = 0; i < 256; ++i) units[i] = static_cast<UniChar>(i < 128 ? i : 0xfffd);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(
        ucnv_open("macintosh", &status), &ucnv_close);
    for (int i = 128; U_SUCCESS(status) && i < 256; ++i) {
      const char byte = static_cast<char>(i);
      std::array<UChar, 4> unit{};
      if (ucnv_toUChars(converter.get(), unit.data(), 4, &byte, 1, &status) == 1) {
        units[static_cast<std::size_t>(i)] = unit[0];
      }
    }
    return units;
  }();
  return table;
}

void AppendUtf8(UChar32 character, std::string* text) {
  std::array<char, U8_MAX_LENGTH> bytes{};
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes.data(), length, character);
  text->append(bytes.data(), length);
}

}  // namespace

HFSUniStr255 UnitsOfName(const std::string& name) {
  HFSUniStr255 units{};
  const auto put = [&units](UChar32 unit) {
    if (units.length < kMaxUnits) units.unicode[units.length++] = static_cast<UniChar>(unit);
  };
  const auto length = static_cast<std::int32_t>(name.size());
  const char* bytes = name.data();
  for (std::int32_t i = 0; i < length;) {
    const std::int32_t start = i;
    UChar32 character = 0;
    U8_NEXT(bytes, i, length, character);
    if (character < 0) {
      for (std::int32_t bad = start; bad < i; ++bad) {
        put(kEscape + static_cast<unsigned char>(bytes[bad]));
      }
    } else if (character > 0xffff) {
      put(U16_LEAD(character));
      put(U16_TRAIL(character));
    } else {
      put(character);
    }
  }
  return units;
}

OSErr NameFromUnits(UInt32 length, const UniChar* units, NameUse use, std::string* name) {
  const OSErr impossible = use == NameUse::kFind ? fnfErr : bdNamErr;
  if (length == 0 || units == nullptr) return errFSMissingName;
  if (length > kMaxUnits) return errFSNameTooLong;
  std::string text;
  for (UInt32 i = 0; i < length; ++i) {
    const UniChar unit = units[i];
    if (unit == 0 || unit == '/') return impossible;
    if (U16_IS_LEAD(unit) && i + 1 < length && U16_IS_TRAIL(units[i + 1])) {
      AppendUtf8(U16_GET_SUPPLEMENTARY(unit, units[i + 1]), &text);
      ++i;
    } else if (unit >= kEscape + 0x80 && unit <= kEscape + 0xff) {
      text += static_cast<char>(unit - kEscape);
    } else if (U16_IS_SURROGATE(unit)) {
      return impossible;
    } else {
      AppendUtf8(unit, &text);
    }
  }
  if (text == "." || text == "..") return impossible;
  // Escaped bytes that together are valid UTF-8 would be a second spelling of another name.
  const HFSUniStr255 back = UnitsOfName(text);
  if (back.length != length || !std::equal(units, units + length, back.unicode)) return impossible;
  if (text.size() > kMaxUnits) return errFSNameTooLong;
  *name = std::move(text);
  return noErr;
}

bool MacRomanOfName(const std::string& name, std::string* roman) {
  const HFSUniStr255 units = UnitsOfName(name);
  const auto& table = MacRoman();
  std::string text;
  for (UInt16 i = 0; i < units.length; ++i) {
    const auto found = std::find(table.begin(), table.end(), units.unicode[i]);
    if (found == table.end() || *found == 0xfffd) return false;
    text += static_cast<char>(found - table.begin());
  }
  *roman = std::move(text);
  return true;
}

std::string NameFromMacRoman(const std::string& roman) {
  std::string name;
  for (const char byte : roman) AppendUtf8(MacRoman()[static_cast<unsigned char>(byte)], &name);
  return name;
}

}  // namespace lumivane::files
