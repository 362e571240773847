#include "platform/QuickDraw/Palettes.h"

#include <cstring>

#include "platform/CoreServices/MacMemory.h"

namespace Palettes {
namespace {

constexpr Colour From8(UInt8 r, UInt8 g, UInt8 b) {
  return {static_cast<UInt16>(r * 257), static_cast<UInt16>(g * 257), static_cast<UInt16>(b * 257)};
}

constexpr Colour kSixteen[16] = {
    From8(0xFF, 0xFF, 0xFF), From8(0xFC, 0xF3, 0x05), From8(0xFF, 0x64, 0x02),
    From8(0xDD, 0x08, 0x06), From8(0xF2, 0x08, 0x84), From8(0x46, 0x00, 0xA5),
    From8(0x00, 0x00, 0xD4), From8(0x02, 0xAB, 0xEA), From8(0x1F, 0xB7, 0x14),
    From8(0x00, 0x64, 0x11), From8(0x56, 0x2C, 0x05), From8(0x90, 0x71, 0x3A),
    From8(0xC0, 0xC0, 0xC0), From8(0x80, 0x80, 0x80), From8(0x40, 0x40, 0x40),
    From8(0x00, 0x00, 0x00)};

/// A cube of six levels from white on, without its black; ramps of the levels between them in red,
/// green, blue and grey; black last.
Colour Of256(int index) {
  constexpr int kCube = 215;
  if (index < kCube) {
    const auto level = [](int step) { return static_cast<UInt8>((5 - step) * 51); };
    return From8(level(index / 36), level(index / 6 % 6), level(index % 6));
  }
  if (index == 255) return {0, 0, 0};
  constexpr UInt8 kRamp[10] = {0xEE, 0xDD, 0xBB, 0xAA, 0x88, 0x77, 0x55, 0x44, 0x22, 0x11};
  const UInt8 level = kRamp[(index - kCube) % 10];
  switch ((index - kCube) / 10) {
    case 0:
      return From8(level, 0, 0);
    case 1:
      return From8(0, level, 0);
    case 2:
      return From8(0, 0, level);
    default:
      return From8(level, level, level);
  }
}

Colour Standard(int bits, UInt8 index) {
  switch (bits) {
    case 1:
      return index == 0 ? kSixteen[0] : kSixteen[15];
    case 2: {
      const UInt8 grey = static_cast<UInt8>(255 - 85 * (index & 3));
      return From8(grey, grey, grey);
    }
    case 4:
      return kSixteen[index & 15];
    default:
      return Of256(index);
  }
}

constexpr Size kHeader = 8;
constexpr Size kEntry = 8;

/// Entries that the table says it has and that lie in its handle.
int EntriesOf(CTabHandle table) {
  if (table == nullptr || *table == nullptr) return 0;
  const Size size = GetHandleSize(reinterpret_cast<Handle>(table));
  const Size there = size < kHeader ? 0 : (size - kHeader) / kEntry;
  const Size said = (*table)->ctSize + 1;
  return static_cast<int>(said < there ? said : there);
}

}  // namespace

Colour ColourOf(CTabHandle table, int bits, UInt8 index) {
  if (table == nullptr) return Standard(bits, index);
  if (index >= EntriesOf(table)) return {0, 0, 0};
  UInt16 entry[4];
  std::memcpy(entry, reinterpret_cast<const char*>(*table) + kHeader + index * kEntry,
              sizeof(entry));
  return {entry[1], entry[2], entry[3]};
}

UInt8 IndexOf(CTabHandle table, int bits, const Colour& colour) {
  const auto squared = [](SInt64 a, SInt64 b) { return (a - b) * (a - b); };
  SInt64 nearest = -1;
  UInt8 best = 0;
  for (int i = 0; i < 1 << bits; ++i) {
    const Colour c = ColourOf(table, bits, static_cast<UInt8>(i));
    const SInt64 distance =
        squared(c.r, colour.r) + squared(c.g, colour.g) + squared(c.b, colour.b);
    if (nearest < 0 || distance < nearest) {
      nearest = distance;
      best = static_cast<UInt8>(i);
    }
  }
  return best;
}

}  // namespace Palettes
