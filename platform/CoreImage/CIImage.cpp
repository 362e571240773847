#include "platform/CoreImage/CIImage.h"

#include <cmath>
#include <span>
#include <utility>

#include "platform/CoreFoundation/CFData.h"
#include "platform/ImageIO/ImageData.h"

namespace {

bool IsFinite(const CGAffineTransform& t) {
  return std::isfinite(t.a) && std::isfinite(t.b) && std::isfinite(t.c) && std::isfinite(t.d) &&
         std::isfinite(t.tx) && std::isfinite(t.ty);
}

bool IsInvertible(const CGAffineTransform& t) {
  const double determinant = double{t.a} * t.d - double{t.b} * t.c;
  return std::isfinite(determinant) && determinant != 0;
}

// Such a transform takes upright rectangles to upright rectangles.
bool KeepsRectangles(const CGAffineTransform& t) {
  return t.b == 0 && t.c == 0;
}

bool IsFinite(const CGRect& r) {
  return CGRectIsNull(r) ||
         (std::isfinite(r.origin.x) && std::isfinite(r.origin.y) &&
          std::isfinite(r.origin.x + r.size.width) && std::isfinite(r.origin.y + r.size.height));
}

}  // namespace

CFTypeID CIImageGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CIImage");
  return type;
}

CIImage::CIImage(CGImageRef image, CGAffineTransform transform, CGRect extent,
                 std::vector<Clip> clips)
    : NSObject(CIImageGetTypeID()),
      image_(CGImageRetain(image)),
      transform_(transform),
      extent_(extent),
      clips_(std::move(clips)) {}

void CIImage::dealloc() {
  CGImageRelease(image_);
  image_ = nullptr;
  NSObject::dealloc();
}

CIImage* CIImage::imageWithCGImage(CGImageRef image) {
  if (image == nullptr) return nullptr;
  const CGRect pixels = CGRectMake(0, 0, static_cast<CGFloat>(CGImageGetWidth(image)),
                                   static_cast<CGFloat>(CGImageGetHeight(image)));
  return NSAutorelease(new CIImage(image, CGAffineTransformIdentity, pixels, {}));
}

CIImage* CIImage::imageWithData(NSData* data) {
  if (data == nullptr) return nullptr;
  const std::span<const std::uint8_t> bytes(CFDataGetBytePtr(data),
                                            static_cast<std::size_t>(CFDataGetLength(data)));
  const ImageIODecoded decoded = ImageIODecode(bytes);
  CIImage* const image = imageWithCGImage(decoded.image);
  CGImageRelease(decoded.image);
  return image;
}

CIImage* CIImage::emptyImage() {
  return NSAutorelease(new CIImage(nullptr, CGAffineTransformIdentity, CGRectNull, {}));
}

CIImage* CIImage::imageByCroppingToRect(CGRect rect) {
  CGRect left = CGRectIntersection(extent_, rect);
  if (CGRectIsEmpty(left)) left = CGRectNull;
  return NSAutorelease(new CIImage(image_, transform_, left, clips_));
}

CIImage* CIImage::imageByApplyingTransform(CGAffineTransform transform) {
  if (!IsFinite(transform) || !IsInvertible(transform)) return nullptr;
  const CGAffineTransform whole = CGAffineTransformConcat(transform_, transform);
  const CGRect extent = CGRectApplyAffineTransform(extent_, transform);
  if (!IsFinite(whole) || !IsInvertible(whole) || !IsFinite(extent)) return nullptr;
  std::vector<Clip> clips = clips_;
  for (Clip& clip : clips) {
    clip.transform = CGAffineTransformConcat(clip.transform, transform);
    if (!IsFinite(clip.transform) || !IsInvertible(clip.transform)) return nullptr;
  }
  // The box around a turned crop is larger than the crop.
  if (!KeepsRectangles(transform) && !CGRectIsNull(extent_)) clips.push_back({extent_, transform});
  return NSAutorelease(new CIImage(image_, whole, extent, std::move(clips)));
}
