#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreGeometry/NoiseKernels.h"
#include "sdk/CoreGeometry/PerlinNoise.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/KeptMemory.h"
#include "sdk/CoreX/RowThreads.h"
#include "sdk/QClasses/QPixMap.h"

namespace CoreGraphics {

const CGFloat BitmapContext::colorDebugGray[4] = {0.25f, 0.25f, 0.25f, 0.75f};
const CGFloat BitmapContext::colorDebugRed[4] = {0.25f, 0, 0, 0.75f};
const CGFloat BitmapContext::colorDebugGreen[4] = {0, 0.25f, 0, 0.75f};
const CGFloat BitmapContext::colorDebugBlue[4] = {0, 0, 0.25f, 0.75f};

namespace {

constexpr std::size_t kImageBitsPerComponent = 8;
constexpr bool fShouldInterpolate = true;
constexpr CGColorRenderingIntent renderingIntent = kCGRenderingIntentDefault;

/// Truncation to an integer; what no 32-bit integer holds becomes the most negative one.
SInt32 Truncate(double value) {
  if (!(value > -2147483649.0 && value < 2147483648.0)) return -2147483647 - 1;
  return static_cast<SInt32>(value);
}

/// A size that is a number of bytes or pixels: negative ones, and what is no number, are 0.
std::size_t SizeFromFloat(float value) {
  if (!(value > 0.0f)) return 0;
  if (value >= 9.2e18f) return std::size_t{1} << 63;
  return static_cast<std::size_t>(value);
}

}  // namespace

BitmapContext::BitmapContext() {
  ClearFields();
}

BitmapContext::~BitmapContext() {
  BitmapContext::Destruct();
  mGWorld.Destruct();
  if (mContextRef != nullptr) CGContextRelease(mContextRef);
  mContextRef = nullptr;
}

void BitmapContext::ClearFields() {
  mContextRef = nullptr;
  mImageType = BitmapType{};
  mImageWidth = 0;
  mImageHeight = 0;
  mImageBitsPerPixel = 0;
  mImageBytesPerPixel = 0;
  mImageRowBytes = 0;
  mImageDataSize = 0;
  mImageBitmapInfo = 0;
  mImageColorspace = nullptr;
  mImageDataBytes = nullptr;
}

unsigned char* BitmapContext::CreateImageData(UInt32 size) const {
  // Zeroed: a camera's picture may be smaller than the raster, and nobody's heap shows beside it.
  return static_cast<unsigned char*>(std::calloc(std::size_t{size} + kMacMemorySlack, 1));
}

void BitmapContext::DeleteImageData(unsigned char* p) const {
  if (p != nullptr) std::free(p);
}

bool BitmapContext::ConstructGWorld() {
  const UInt32 pixelFormat =
      mImageType == BitmapType_Device_ARGB ? k32ARGBPixelFormat : k8IndexedGrayPixelFormat;
  return VERIFY_TEXT(
      __LINE__,
      "mGWorld.ConstructAlias((char*)mImageDataBytes, mImageRowBytes, "
      "QPoint(mImageWidth,mImageHeight), pixelFormat)",
      mGWorld.ConstructAlias(reinterpret_cast<char*>(mImageDataBytes),
                             static_cast<SInt32>(mImageRowBytes), SizePixels(), pixelFormat));
}

bool BitmapContext::Construct(int width, int height, BitmapType type, UInt32 rowBytes) {
  Destruct();
  mImageType = type;
  mImageWidth = static_cast<UInt32>(width);
  mImageHeight = static_cast<UInt32>(height);
  switch (type) {
    case BitmapType_Device_Grey:
      mImageBytesPerPixel = 1;
      mImageBitmapInfo = kCGImageAlphaNone;
      mImageColorspace = CGColorSpaceCreateDeviceGray();
      break;
    case BitmapType_Device_ARGB:
      mImageBytesPerPixel = 4;
      mImageBitmapInfo = kCGImageAlphaPremultipliedFirst;
      break;
    case BitmapType_Device_XRGB:
      mImageBytesPerPixel = 4;
      mImageBitmapInfo = kCGImageAlphaNoneSkipFirst;
      break;
    case BitmapType_Device_RGBX:
      mImageBytesPerPixel = 4;
      mImageBitmapInfo = kCGImageAlphaNoneSkipLast;
      break;
    default:
      return false;
  }
  if (mImageColorspace == nullptr) mImageColorspace = CGColorSpaceCreateDeviceRGB();
  mImageBitsPerPixel = mImageBytesPerPixel * 8;
  mImageRowBytes = mImageWidth * mImageBytesPerPixel;
  if (rowBytes != 0) {
    const UInt32 inUseRowBytes = rowBytes;
    if (VERIFY_TEXT(__LINE__, "inUseRowBytes>=mImageRowBytes", inUseRowBytes >= mImageRowBytes)) {
      mImageRowBytes = inUseRowBytes;
    }
  }
  return ConstructContext();
}

bool BitmapContext::ConstructContext() {
  // Sizes whose product leaves 32 bits have no raster: what the fields could hold would be less
  // than the rows need.
  const UInt64 size = static_cast<UInt64>(mImageRowBytes) * mImageHeight;
  const UInt64 row = static_cast<UInt64>(mImageWidth) * mImageBytesPerPixel;
  const bool fits = size <= 0xFFFFFFFFu && row <= mImageRowBytes;
  mImageDataSize = fits ? static_cast<UInt32>(size) : 0;
  if (fits) mImageDataBytes = CreateImageData(mImageDataSize);
  if (!VERIFY_IN("Construct", __LINE__, "mImageDataBytes = CreateImageData(mImageDataSize)",
                 mImageDataBytes)) {
    return false;
  }
  const CGContextRef newContextRef =
      CGBitmapContextCreate(mImageDataBytes, mImageWidth, mImageHeight, kImageBitsPerComponent,
                            mImageRowBytes, mImageColorspace, mImageBitmapInfo);
  if (!VERIFY_IN("Construct", __LINE__,
                 "newContextRef = ::CGBitmapContextCreate(mImageDataBytes, mImageWidth, "
                 "mImageHeight, kImageBitsPerComponent, mImageRowBytes, mImageColorspace, "
                 "mImageBitmapInfo )",
                 newContextRef)) {
    KeepForProcess(mImageDataBytes);
    return false;
  }
  mContextRef = newContextRef;
  // The second reference is nobody's to give back: the context outlives the raster.
  CGContextRetain(mContextRef);
  KeepForProcess(mContextRef);

  // Reported twice: where the value is taken, and where it decides.
  const bool fOk = ConstructGWorld();
  VERIFY_IN("Construct", __LINE__, "ConstructGWorld()", fOk);
  return VERIFY_IN("Construct", __LINE__, "fOk = VERIFIED(ConstructGWorld())", fOk);
}

void BitmapContext::Destruct() {
  if (IsConstructed()) {
    CGContextRelease(mContextRef);
    mGWorld.Destruct();
    CGColorSpaceRelease(mImageColorspace);
    DeleteImageData(mImageDataBytes);
  }
  ClearFields();
}

bool BitmapContext::IsConstructed() const {
  return mImageWidth != 0 && mImageHeight != 0 && mContextRef != nullptr &&
         mImageDataBytes != nullptr;
}

QPoint BitmapContext::SizePixels() const {
  return QPoint(static_cast<SInt32>(mImageWidth), static_cast<SInt32>(mImageHeight));
}

CGImageRef BitmapContext::ConstructCGImage() const {
  const CGDataProviderRef dataProvider =
      CGDataProviderCreateWithData(nullptr, mImageDataBytes, mImageDataSize, nullptr);
  if (!VERIFY_TEXT(__LINE__,
                   "dataProvider=::CGDataProviderCreateWithData(refcon_unused, mImageDataBytes, "
                   "mImageDataSize, NULL)",
                   dataProvider)) {
    return nullptr;
  }
  const CGImageRef imageRef =
      CGImageCreate(mImageWidth, mImageHeight, kImageBitsPerComponent, mImageBitsPerPixel,
                    mImageRowBytes, mImageColorspace, mImageBitmapInfo, dataProvider, nullptr,
                    fShouldInterpolate, renderingIntent);
  VERIFY_TEXT(__LINE__,
              "imageRef = CGImageCreate(mImageWidth, mImageHeight, kImageBitsPerComponent, "
              "mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo, "
              "dataProvider, NULL, fShouldInterpolate, renderingIntent)",
              imageRef);
  CGDataProviderRelease(dataProvider);
  return imageRef;
}

CGImageRef BitmapContext::GetCroppedImageRef(const CGRect& inCroppedRect) const {
  if (!VERIFY(IsConstructed())) return nullptr;
  const CGSize size = inCroppedRect.size;
  const CGPoint origin = inCroppedRect.origin;
  if (size.width == static_cast<float>(mImageWidth) &&
      size.height == static_cast<float>(mImageHeight) && origin.x == 0 && origin.y == 0) {
    return ConstructCGImage();
  }

  const SInt32 row = Truncate(static_cast<float>(mImageHeight) - (size.height + origin.y));
  const SInt32 column = Truncate(origin.x);
  const bool inside = row >= 0 && static_cast<UInt32>(row) < mImageHeight && column >= 0 &&
                      static_cast<UInt32>(column) < mImageWidth;
  const std::size_t offset =
      inside ? static_cast<std::size_t>(row) * mImageRowBytes + static_cast<std::size_t>(column)
             : 0;
  const unsigned char* const croppedDataBytes = inside ? mImageDataBytes + offset : nullptr;
  // A column or a height that leaves the raster asks for bytes behind it: those are not there.
  const std::size_t croppedSize =
      std::min(SizeFromFloat(size.height * static_cast<float>(mImageRowBytes)),
               static_cast<std::size_t>(mImageDataSize) - offset);

  const CGDataProviderRef dataProvider =
      CGDataProviderCreateWithData(nullptr, croppedDataBytes, croppedSize, nullptr);
  if (!VERIFY_TEXT(__LINE__,
                   "dataProvider=::CGDataProviderCreateWithData(refcon, croppedDataBytes, "
                   "inCroppedRect.size.height*mImageRowBytes, NULL)",
                   dataProvider)) {
    return nullptr;
  }
  const CGImageRef result =
      CGImageCreate(SizeFromFloat(size.width), SizeFromFloat(size.height), kImageBitsPerComponent,
                    mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo,
                    dataProvider, nullptr, fShouldInterpolate, renderingIntent);
  VERIFY_TEXT(__LINE__,
              "result = CGImageCreate(inCroppedRect.size.width, inCroppedRect.size.height, "
              "kImageBitsPerComponent, mImageBitsPerPixel, mImageRowBytes, mImageColorspace, "
              "mImageBitmapInfo, dataProvider, NULL, fShouldInterpolate, renderingIntent)",
              result);
  CGDataProviderRelease(dataProvider);
  return result;
}

unsigned char* BitmapContext::CGGetStartOfScanline(float y) const {
  const SInt64 row = static_cast<SInt64>(mImageHeight) - Truncate(y) - 1;
  if (row < 0 || row >= static_cast<SInt64>(mImageHeight) || mImageDataBytes == nullptr) {
    return nullptr;
  }
  return mImageDataBytes + static_cast<std::size_t>(row) * mImageRowBytes;
}

unsigned char* BitmapContext::QDGetStartOfScanline(int y) const {
  if (y < 0 || static_cast<UInt32>(y) >= mImageHeight || mImageDataBytes == nullptr) return nullptr;
  return mImageDataBytes + static_cast<std::size_t>(y) * mImageRowBytes;
}

int BitmapContext::SafeGetPixel_BilinearInterpolatedSampleGrey(float x, float y,
                                                               float scale) const {
  const PixMapHandle hPixMap = mGWorld.GetPixMap();
  if (hPixMap == nullptr) return 0;
  const UInt16 sample = QPixMap_SafeGetPixel_BilinearInterpolatedSampleGrey(
      hPixMap, static_cast<float>(mImageWidth) * x, static_cast<float>(mImageHeight) * y);
  const float scaled = static_cast<float>(sample) * scale;
  return Truncate(scaled) & 0xFF;
}

void BitmapContext::FillPerlinNoise(int cellSize, float amplitude) const {
  switch (mImageType) {
    case BitmapType_Device_Grey:
    case BitmapType_Device_ARGB:
    case BitmapType_Device_XRGB:
    case BitmapType_Device_RGBX:
      FillNoiseCells(std::clamp(cellSize, 1, 64), amplitude);
      break;
    default:
      VERIFY(false);
      break;
  }
}

void BitmapContext::FillNoiseCells(int n, float amplitude) const {
  // Rows are found and counted as signed numbers.
  constexpr UInt32 kMost = 0x7FFFFFFF;
  if (mImageDataBytes == nullptr || mImageWidth == 0 || mImageHeight == 0) return;
  if (mImageWidth > kMost || mImageHeight > kMost) return;
  const NoiseKernels::Picture picture = {mImageDataBytes,
                                         mImageRowBytes,
                                         mImageWidth,
                                         mImageHeight,
                                         static_cast<int>(mImageBytesPerPixel),
                                         n};
  const NoiseKernels::Columns columns(picture);
  const NoiseKernels::Kernels& kernels = NoiseKernels::CurrentKernels();
  const UInt32 rows = picture.cellRows();
  // Cells of a pixel take some four times as long as a copy of them.
  const std::size_t cost = (n == 1 ? 4 : 1) * std::size_t{mImageRowBytes};
  RowThreads::ForRows(
      static_cast<int>(rows), static_cast<std::size_t>(n) * cost, [&](int first, int last) {
        kernels.fill(CoreGeometry::PerlinNoise::sSingleton, picture, columns, amplitude,
                     static_cast<UInt32>(first), static_cast<UInt32>(last));
      });
}

}  // namespace CoreGraphics
