#include "platform/QuickTime/StandardDecompressors.h"

#include <cstring>

#include "platform/QuickTime/ImageDescriptionAtoms.h"
#include "platform/QuickTime/YCbCrRows.h"

namespace {

constexpr SInt16 kLargestStandardDefinitionHeight = 576;

/// The matrix code of an extension in either byte order (a caller may have attached a native
/// record); 0 when the extension is none of this kind.
UInt16 MatrixCode(const UInt8* payload, std::size_t size) {
  if (size != sizeof(NCLCColorInfoImageDescriptionExtension)) return 0;
  if (std::memcmp(payload, "nclc", 4) == 0) return ReadBigEndian16(payload + 8);
  if (std::memcmp(payload, "clcn", 4) == 0)
    return static_cast<UInt16>(payload[9] << 8 | payload[8]);
  return 0;
}

const YCbCrMatrix* MatrixOf(ImageDescriptionHandle description) {
  for (const OSType type :
       {kNCLCColorInfoImageDescriptionExtension, kColorInfoImageDescriptionExtension}) {
    ImageDescriptionAtom atom;
    if (!FindImageDescriptionAtom(description, type, 1, &atom)) continue;
    const auto* bytes = reinterpret_cast<const UInt8*>(*description);
    switch (MatrixCode(bytes + atom.payloadOffset(), atom.payloadSize())) {
      case 1:
        return &kYCbCr709;
      case 5:
      case 6:
        return &kYCbCr601;
      default:
        break;
    }
  }
  const bool small = (*description)->height <= kLargestStandardDefinitionHeight;
  return small ? &kYCbCr601 : &kYCbCr709;
}

OSErr OpenYCbCr(ImageDescriptionHandle description, void** instance) {
  *instance = const_cast<YCbCrMatrix*>(MatrixOf(description));
  return noErr;
}

template <YCbCrOrder order>
void ConvertYCbCr(void* instance, const UInt8* source, UInt8* destination, UInt32 width) {
  ConvertYCbCrRowToARGB(*static_cast<const YCbCrMatrix*>(instance), order, source, destination,
                        width);
}

template <YCbCrOrder order>
void ConvertYCbCrRows(void* instance, const PackedRows& rows) {
  CurrentYCbCrForm().convert(*static_cast<const YCbCrMatrix*>(instance), order, rows);
}

void CopyARGB(void*, const UInt8* source, UInt8* destination, UInt32 width) {
  std::memcpy(destination, source, std::size_t{4} * width);
}

template <YCbCrOrder order>
constexpr ImageDecompressorInfo YCbCr(const char* name, OSType format) {
  return {name,
          format,
          k32ARGBPixelFormat,
          DecompressorQuality::bestFidelity,
          2,
          4,
          OpenYCbCr,
          ConvertYCbCr<order>,
          nullptr,
          ConvertYCbCrRows<order>};
}

constexpr ImageDecompressorInfo kStandard[] = {
    YCbCr<YCbCrOrder::CbY0CrY1>("2vuy to ARGB, full matrix", k2vuyPixelFormat),
    YCbCr<YCbCrOrder::CbY0CrY1>("UYVY to ARGB, full matrix", kUYVY422PixelFormat),
    YCbCr<YCbCrOrder::Y0CbY1Cr>("yuvs to ARGB, full matrix", kYUVSPixelFormat),
    {"ARGB as it is", k32ARGBPixelFormat, k32ARGBPixelFormat, DecompressorQuality::bestFidelity, 1,
     4, nullptr, CopyARGB, nullptr},
};

}  // namespace

std::span<const ImageDecompressorInfo> StandardDecompressors() {
  return kStandard;
}
