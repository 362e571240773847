// The extension list of an image description, as bytes. Not for users of image descriptions.
#pragma once

#include <cstddef>

#include "platform/QuickTime/ImageDescription.h"

/// One atom of the list: offsets are into the handle's block.
struct ImageDescriptionAtom {
  std::size_t offset;  ///< of the atom
  std::size_t size;    ///< header included
  OSType type;
  std::size_t payloadOffset() const { return offset + 8; }
  std::size_t payloadSize() const { return size - 8; }
};

/// Bytes of the description that are there: idSize, no more than the handle has. 0 when that is
/// less than the record.
std::size_t ImageDescriptionBytes(ImageDescriptionHandle description);

/// Walks the list. `atom.offset + atom.size` of the last one is where the next is looked for; start
/// with {sizeof(ImageDescription), 0, 0}. False at the end and where an atom is damaged.
bool NextImageDescriptionAtom(ImageDescriptionHandle description, ImageDescriptionAtom* atom);

/// The `index`-th atom of the type, from 1.
bool FindImageDescriptionAtom(ImageDescriptionHandle description, OSType type, SInt32 index,
                              ImageDescriptionAtom* atom);

UInt32 ReadBigEndian32(const void* bytes);
UInt16 ReadBigEndian16(const void* bytes);
void WriteBigEndian32(void* bytes, UInt32 value);
void WriteBigEndian16(void* bytes, UInt16 value);
