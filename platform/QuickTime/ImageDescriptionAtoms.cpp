#include "platform/QuickTime/ImageDescriptionAtoms.h"

#include <algorithm>

#include "platform/CoreServices/MacMemory.h"

namespace {

constexpr std::size_t kHeader = 8;

const UInt8* BytesOf(ImageDescriptionHandle description) {
  return reinterpret_cast<const UInt8*>(*description);
}

}  // namespace

UInt32 ReadBigEndian32(const void* bytes) {
  const auto* b = static_cast<const UInt8*>(bytes);
  return static_cast<UInt32>(b[0]) << 24 | static_cast<UInt32>(b[1]) << 16 |
         static_cast<UInt32>(b[2]) << 8 | b[3];
}

UInt16 ReadBigEndian16(const void* bytes) {
  const auto* b = static_cast<const UInt8*>(bytes);
  return static_cast<UInt16>(b[0] << 8 | b[1]);
}

void WriteBigEndian32(void* bytes, UInt32 value) {
  auto* b = static_cast<UInt8*>(bytes);
  for (int i = 0; i < 4; ++i) b[i] = static_cast<UInt8>(value >> (24 - 8 * i));
}

void WriteBigEndian16(void* bytes, UInt16 value) {
  auto* b = static_cast<UInt8*>(bytes);
  b[0] = static_cast<UInt8>(value >> 8);
  b[1] = static_cast<UInt8>(value);
}

std::size_t ImageDescriptionBytes(ImageDescriptionHandle description) {
  const Size held = GetHandleSize(reinterpret_cast<Handle>(description));
  if (held < static_cast<Size>(sizeof(ImageDescription))) return 0;
  const SInt32 stated = (*description)->idSize;
  if (stated < static_cast<SInt32>(sizeof(ImageDescription))) return 0;
  return static_cast<std::size_t>(std::min(held, stated));
}

bool NextImageDescriptionAtom(ImageDescriptionHandle description, ImageDescriptionAtom* atom) {
  const std::size_t end = ImageDescriptionBytes(description);
  const std::size_t offset = atom->offset + atom->size;
  if (end < kHeader || offset > end - kHeader) return false;
  const std::size_t size = ReadBigEndian32(BytesOf(description) + offset);
  if (size < kHeader || size > end - offset) return false;
  *atom = {offset, size, ReadBigEndian32(BytesOf(description) + offset + 4)};
  return true;
}

bool FindImageDescriptionAtom(ImageDescriptionHandle description, OSType type, SInt32 index,
                              ImageDescriptionAtom* atom) {
  *atom = {sizeof(ImageDescription), 0, 0};
  SInt32 seen = 0;
  while (index > 0 && NextImageDescriptionAtom(description, atom)) {
    if (atom->type == type && ++seen == index) return true;
  }
  return false;
}
