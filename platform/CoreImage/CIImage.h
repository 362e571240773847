// An immutable picture in a plane of its own: pixels, where they lie, and what of them shows.
#pragma once

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
  /// From the bytes of a PNG or JPEG file; null when they cannot be decoded. Keeps no reference of
  /// the data.
  static CIImage* imageWithData(NSData* data);
  /// An image without pixels: its extent is empty.
  static CIImage* emptyImage();

  /// The smallest rectangle that contains everything that shows; empty when nothing does.
  CGRect extent() const;
  /// What of the image lies in `rect`.
  CIImage* imageByCroppingToRect(CGRect rect);
  /// The image moved, scaled, turned or sheared. Null when the transform is not finite or
  /// collapses the plane.
  CIImage* imageByApplyingTransform(CGAffineTransform transform);

  /// The pixels as they came, before transform and crop; not retained. Null for an empty image.
  CGImageRef CGImage() const { return image_; }
  /// Maps the pixels' rectangle (0, 0, width, height) into the image's plane.
  CGAffineTransform transform() const { return transform_; }

  void dealloc() override;

 protected:
  CIImage(CGImageRef image, CGAffineTransform transform, CGRect extent);
  ~CIImage() override = default;

 private:
  CGImageRef image_;
  CGAffineTransform transform_;
  CGRect extent_;
};

CFTypeID CIImageGetTypeID();
