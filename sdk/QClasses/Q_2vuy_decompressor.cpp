#include "sdk/QClasses/Q_2vuy_decompressor.h"

#include <algorithm>

#include "platform/QuickTime/Decompressors.h"
#include "sdk/QClasses/Q_2vuy_data.h"

namespace {

/// '2vuy', by the toolkit's rule: Cr is not read.
void Convert2vuy(void*, const UInt8* source, UInt8* destination, UInt32 width) {
  Q_2vuy_data::ConvertScanline_2vuy_to_ARGB(source, destination, static_cast<int>(width));
}

/// 'yuvs': the same with the bytes of each pair reordered, a few pairs at a time.
void ConvertYuvs(void*, const UInt8* source, UInt8* destination, UInt32 width) {
  constexpr UInt32 kStep = 256;
  UInt8 reordered[kStep * 2];
  for (UInt32 done = 0; done < width; done += kStep) {
    const UInt32 count = std::min(kStep, width - done);
    for (UInt32 i = 0; i < (count + 1) / 2; ++i) {
      const UInt8* pair = source + (done / 2 + i) * std::size_t{4};
      reordered[4 * i] = pair[1];
      reordered[4 * i + 1] = pair[0];
      reordered[4 * i + 2] = pair[3];
      reordered[4 * i + 3] = pair[2];
    }
    Convert2vuy(nullptr, reordered, destination + std::size_t{4} * done, count);
  }
}

/// Registers while the module is loaded.
class Registration {
 public:
  Registration()
      : m2vuy(Register("2vuy to ARGB, toolkit rule", '2vuy', Convert2vuy)),
        mYuvs(Register("yuvs to ARGB, toolkit rule", 'yuvs', ConvertYuvs)) {}
  ~Registration() {
    if (mYuvs != nullptr) UnregisterImageDecompressor(mYuvs);
    if (m2vuy != nullptr) UnregisterImageDecompressor(m2vuy);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  bool IsComplete() const { return m2vuy != nullptr && mYuvs != nullptr; }

 private:
  static CodecComponent Register(const char* name, OSType format,
                                 void (*convertRow)(void*, const UInt8*, UInt8*, UInt32)) {
    const ImageDecompressorInfo info{
        name,       format, k32ARGBPixelFormat, DecompressorQuality::bestSpeed, 2, 4, nullptr,
        convertRow, nullptr};
    return RegisterImageDecompressor(info);
  }

  CodecComponent m2vuy;
  CodecComponent mYuvs;
};

const Registration sRegistration;

}  // namespace

bool Q_2vuy_DecompressorsAreRegistered() {
  return sRegistration.IsComplete();
}
