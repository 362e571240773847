#include "sdk/QClasses/Q_2vuy_decompressor.h"

#include <algorithm>

#include "platform/QuickTime/Decompressors.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace {

/// '2vuy', by the toolkit's rule: Cr is not read.
void Convert2vuy(void*, const PackedRows& rows) {
  Q_2vuy::CurrentRowKernels().conversion.to_ARGB(rows);
}

/// 'yuvs': the same with the bytes of each pair reordered, a few pairs at a time.
void ConvertYuvs(void*, const PackedRows& rows) {
  constexpr int kStep = 512;
  const Q_2vuy::RowKernels& kernels = Q_2vuy::CurrentRowKernels();
  UInt8 reordered[kStep * 2];
  for (int y = 0; y < rows.height; ++y) {
    const UInt8* source = rows.src + y * rows.srcRowBytes;
    UInt8* destination = rows.dst + y * rows.dstRowBytes;
    for (int done = 0; done < rows.width; done += kStep) {
      const int count = std::min(kStep, rows.width - done);
      kernels.luma.swap({source + 2 * done, 0, reordered, 0, count, 1});
      kernels.conversion.to_ARGB({reordered, 0, destination + 4 * done, 0, count, 1});
    }
  }
}

template <void (*convertRows)(void*, const PackedRows&)>
void OneRow(void* instance, const UInt8* source, UInt8* destination, UInt32 width) {
  convertRows(instance, {source, 0, destination, 0, static_cast<int>(width), 1});
}

/// Registers while the module is loaded.
class Registration {
 public:
  Registration()
      : m2vuy(Register<Convert2vuy>("2vuy to ARGB, toolkit rule", '2vuy')),
        mYuvs(Register<ConvertYuvs>("yuvs to ARGB, toolkit rule", 'yuvs')) {}
  ~Registration() {
    if (mYuvs != nullptr) UnregisterImageDecompressor(mYuvs);
    if (m2vuy != nullptr) UnregisterImageDecompressor(m2vuy);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;
  bool IsComplete() const { return m2vuy != nullptr && mYuvs != nullptr; }

 private:
  template <void (*convertRows)(void*, const PackedRows&)>
  static CodecComponent Register(const char* name, OSType format) {
    const ImageDecompressorInfo info{name,
                                     format,
                                     k32ARGBPixelFormat,
                                     DecompressorQuality::bestSpeed,
                                     2,
                                     4,
                                     nullptr,
                                     OneRow<convertRows>,
                                     nullptr,
                                     convertRows};
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
