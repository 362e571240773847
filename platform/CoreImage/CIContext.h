// Renders images into pixels.
#pragma once

#include "platform/CoreImage/CIImage.h"

/// How an image is placed into a bitmap of another size.
enum class CIRenderMode {
  kCropped,    ///< unscaled: the extent's top left corner in the bitmap's, the rest cut or clear
  kFitted,     ///< as large as fits with its aspect kept, in whole pixels, centred; the rest clear
  kStretched,  ///< the extent fills the bitmap
};

/// Order of a pixel's four bytes in memory; colour is premultiplied with alpha, 8 bits each.
enum class CIPixelOrder { kARGB, kRGBA, kBGRA };

/// A caller's bitmap. Rows are top first.
struct CIBitmap {
  void* data;            ///< the first byte of the top row
  std::size_t rowBytes;  ///< from one row to the next, at least 4 * width
  std::size_t width;     ///< in pixels, 1 to 32767
  std::size_t height;
  CIPixelOrder order;
};

/// Holds no state between calls; one context may be used by several threads at once.
class CIContext : public NSObject {
 public:
  /// An autoreleased context.
  static CIContext* context();

  /// Overwrites every pixel of `bitmap` (4 * width bytes of each row; the padding of a row is not
  /// touched) with `image` over clear black. Where the image has another size than its place in the
  /// bitmap, it is sampled as CGContextDrawImage samples. False, with nothing written, for a null
  /// image or a bitmap that does not keep the limits above; the same for want of memory.
  bool renderToBitmap(CIImage* image, const CIBitmap& bitmap, CIRenderMode mode);

  /// The part `rect` of the image's plane as a new CGImage of its rounded-out size (premultiplied
  /// RGBA, device RGB) that owns its pixels. The caller releases it. Null for a null image, an
  /// empty or infinite rectangle, or one larger than 32767 in either direction.
  CGImageRef createCGImagefromRect(CIImage* image, CGRect rect);

 protected:
  CIContext() = default;
  ~CIContext() override = default;
};
