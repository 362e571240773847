// The registry of decompressors: who converts rows of one format into rows of another.
//
// A decompressor turns whole rows; geometry (matrix, source rectangle, clipping, short data) is the
// sequence's work. The platform registers one of best fidelity for '2vuy' and 'yuvs' into 32-bit
// ARGB; a module may register others while it is loaded and must withdraw them before it goes.
#pragma once

#include "platform/QuickTime/ImageDescription.h"
#include "platform/System/PackedRows.h"

/// A codec, opaque; also the special choices below.
using CodecComponent = struct ComponentRecord*;
using DecompressorComponent = CodecComponent;

/// Choices in place of a codec: the best of those that do the conversion. A choice that nobody made
/// a claim to takes whoever does the conversion, fidelity first.
inline const CodecComponent anyCodec = nullptr;
inline const CodecComponent bestSpeedCodec =
    reinterpret_cast<CodecComponent>(static_cast<std::intptr_t>(-1));
inline const CodecComponent bestFidelityCodec =
    reinterpret_cast<CodecComponent>(static_cast<std::intptr_t>(-2));
inline const CodecComponent bestCompressionCodec =
    reinterpret_cast<CodecComponent>(static_cast<std::intptr_t>(-3));

enum class DecompressorQuality { bestFidelity, bestSpeed };

/// Everything the registry has to know. Function pointers may be null where stated. All calls for
/// one sequence come from the thread that feeds it, one at a time.
struct ImageDecompressorInfo {
  const char* name;  ///< for diagnostics; copied
  OSType sourceFormat;
  OSType destinationFormat;  ///< a raster format with one byte per component, 8, 24 or 32 bits
  DecompressorQuality quality;
  UInt32 unitPixels;  ///< pixels that are stored together (2 in 4:2:2), 1 to 16
  UInt32 unitBytes;   ///< bytes of them in the source, 1 to 64

  /// Prepares for pictures of this description; `*instance` goes to the other two. May be null.
  OSErr (*open)(ImageDescriptionHandle description, void** instance);
  /// Converts `width` pixels, 1 or more. The source has whole units. The destination has room for
  /// whole units too, so that an odd width may write its extra pixel.
  void (*convertRow)(void* instance, const UInt8* source, UInt8* destination, UInt32 width);
  /// Ends what `open` began. May be null.
  void (*close)(void* instance);
  /// The same for many rows of whole units in one call, the quicker way. May be null.
  void (*convertRows)(void* instance, const PackedRows& rows) = nullptr;
};

/// Adds a decompressor; the newest of equals is preferred. Null for an incomplete record or without
/// memory. The result may be given as a codec.
CodecComponent RegisterImageDecompressor(const ImageDecompressorInfo& info);
/// Withdraws it. Waits for a frame under way; sequences that use it are left without a codec, and
/// no function of it is called again. paramErr for what is not registered.
OSErr UnregisterImageDecompressor(CodecComponent codec);

/// Who would convert these formats under this choice; null for nobody. With the environment
/// variable LUMIVANE_DECOMPRESSOR set to "toolkit", the choice of best fidelity takes best speed's
/// codec, the toolkit's own conversion rule, where there is one.
CodecComponent FindImageDecompressor(OSType sourceFormat, OSType destinationFormat,
                                     CodecComponent choice);
/// The name it was registered under, copied into `name`; false for what is not registered.
Boolean GetImageDecompressorName(CodecComponent codec, char* name, ByteCount nameSize);
