// An immutable picture in a plane of its own: pixels, where they lie, and what of them shows.
#pragma once

#include <vector>

#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/Foundation/NSObject.h"

/// Coordinates are in pixels, y upwards; a new image has its lower left corner at (0, 0). Holds a
/// reference of its CGImage and reads the pixels when it is rendered, so an image over borrowed
/// memory shows what that memory holds then. Every returned image is autoreleased. Immutable: may
/// be used by several threads at once if its pixels may.
class CIImage : public NSObject {
 public:
  /// Null for a null image.
  static CIImage* imageWithCGImage(CGImageRef image);
  /// From the bytes of a PNG or JPEG file; null when they cannot be decoded. Of a file that ends or
  /// breaks early, what could be decoded; the rest is clear. Keeps no reference of the data.
  static CIImage* imageWithData(NSData* data);
  /// An image without pixels: its extent is empty.
  static CIImage* emptyImage();

  /// A rectangle around everything that shows, the smallest one unless the image was turned or
  /// sheared; CGRectNull when nothing shows.
  CGRect extent() const { return extent_; }
  /// What of the image lies in `rect`.
  CIImage* imageByCroppingToRect(CGRect rect);
  /// The image moved, scaled, turned or sheared. Null when the transform is not finite or
  /// collapses the plane, or takes the image out of the range of CGFloat.
  CIImage* imageByApplyingTransform(CGAffineTransform transform);

  /// The pixels as they came, before transform and crop; not retained. Null for an empty image.
  CGImageRef CGImage() const { return image_; }
  /// Maps the pixels' rectangle (0, 0, width, height) into the image's plane.
  CGAffineTransform transform() const { return transform_; }

  /// A limit of what shows: `rect`, laid into the image's plane by `transform`.
  struct Clip {
    CGRect rect;
    CGAffineTransform transform;
  };
  /// Limits beside the extent, from crops before a turn or shear.
  const std::vector<Clip>& clips() const { return clips_; }

  void dealloc() override;

 protected:
  CIImage(CGImageRef image, CGAffineTransform transform, CGRect extent, std::vector<Clip> clips);
  ~CIImage() override = default;

 private:
  CGImageRef image_;
  CGAffineTransform transform_;
  CGRect extent_;
  std::vector<Clip> clips_;
};

CFTypeID CIImageGetTypeID();
