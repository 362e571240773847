// The filter: a generator whose picture is the camera component's current frame.
#pragma once

#include "components/camera_component.h"
#include "platform/CoreImage/CoreImage.h"
#include "sdk/CoreG/namespace_CoreGraphics_BitmapContext.h"
#include "sdk/QClasses/QImageDescription.h"
#include "sdk/QClasses/QImageSequence.h"

/// An image over the frame's own memory: no copy is made, and the image shows what lies there when
/// it is drawn, so it must not be drawn once the component is unloaded. Width x height pixels,
/// 32-bit ARGB, premultiplied, device RGB, rows `rowBytes` apart; rows that `dataSize` does not
/// cover are transparent. The caller releases it. Null: no frame or no data; or, with a log line, a
/// size of 0 or below, or rows that do not hold their pixels. One reference of the device RGB
/// colour space stays behind with each call.
CGImageRef CGImageRefFrom_ARGB_CameraBuffer(const tagSHARED_CAMERA_BUFFER& camera);

/// "CILumivaneInput". Used by one thread at a time.
class CILumivaneInput : public CIFilter {
 public:
  CILumivaneInput();

  /// Makes the raster for converted frames, loads the camera component, and reads the no-camera
  /// picture. Missing resources and a missing component fail nothing.
  id init() override;
  void dealloc() override;

  /// One parameter, inputClock: a distance on a slider from 0 to 1, at first 0.5. Its value is not
  /// used; changing it makes a host render again, and so show the current frame.
  NSDictionary* customAttributes() override;

  /// What of a sampler's picture is needed for `destRect`: the same rectangle.
  virtual CGRect regionOfdestRectuserInfo(int samplerIndex, CGRect destRect, id userInfo);

  /// The current frame, autoreleased. Without one the no-camera picture, with a reference more each
  /// time that nobody gives back; null when there is none. Null also when the raster could not be
  /// made.
  CIImage* outputImage() override;

  /// Opens the sequence that turns 2vuy frames into the raster's pixels, ending an open one. Source
  /// is 640 x 480 whatever the description's size: frames are laid into the raster from its top
  /// left, unscaled and cut off. 0, or the platform's error.
  virtual SInt32 open_2vuy_ARGB_Decompressor(QImageDescription& description);

  /// The frame, converted into the raster; the image is over the raster's pixels, which the next
  /// frame overwrites. Rows are taken as tightly packed: rowBytes is not looked at. The caller
  /// releases it. Null: no frame, no raster, a frame that cannot be described or converted, or a
  /// sequence that could not be opened, which is tried once in the filter's life.
  virtual CGImageRef quartzImageFrom_2vuy_CameraBuffer(const tagSHARED_CAMERA_BUFFER& camera);

 protected:
  ~CILumivaneInput() override = default;

 private:
  NSNumber* inputClock = nullptr;  // set by key; never read, and not released
  CoreGraphics::BitmapContext* _bitmapContext = nullptr;
  CIImage* _noCameraImage = nullptr;
  QImageSequence* _decompress_2vuy_to_ARGB = nullptr;
};
