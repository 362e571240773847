// A raster in memory that is at once a bitmap graphics context to draw into, an offscreen world
// over the same pixels, and a source of images over them.
#pragma once

#include "platform/CoreGraphics/CoreGraphics.h"
#include "sdk/QClasses/QGWorld.h"

namespace CoreGraphics {

class Context {
 public:
  CGContextRef GetContextRef() const { return mContextRef; }

 protected:
  CGContextRef mContextRef = nullptr;
};

class BitmapContext : public Context {
 public:
  /// All have 8 bits per component. Only ARGB gets a 32-bit world: the worlds of the other types
  /// are 8-bit grey, one byte per pixel, over the first bytes of each row.
  enum BitmapType : SInt32 {
    BitmapType_Device_Grey = 1,  ///< 1 byte per pixel
    BitmapType_Device_ARGB = 2,  ///< 4 bytes, premultiplied alpha first
    BitmapType_Device_XRGB = 3,  ///< 4 bytes, the first unused
    BitmapType_Device_RGBX = 4   ///< 4 bytes, the last unused
  };

  /// RGBA, 0 to 1.
  static const CGFloat colorDebugGray[4];
  static const CGFloat colorDebugRed[4];
  static const CGFloat colorDebugGreen[4];
  static const CGFloat colorDebugBlue[4];

  BitmapContext();
  /// Does what Destruct does, with this class's own DeleteImageData: a subclass that has another
  /// calls Destruct in its own destructor.
  virtual ~BitmapContext();
  BitmapContext(const BitmapContext&) = delete;
  BitmapContext& operator=(const BitmapContext&) = delete;

  /// A new image (the caller releases it) over the pixels themselves: it shows what they hold when
  /// it is drawn, and is valid only while they live. Null, with a log line, on failure.
  virtual CGImageRef ConstructCGImage() const;
  /// C-heap memory of `size` bytes, with kMacMemorySlack more behind it for code that works in
  /// pairs of pixels; all zero. Null without memory. A subclass that supplies its own memory gives
  /// back its own, which `Construct` does not clear.
  virtual unsigned char* CreateImageData(UInt32 size) const;
  virtual void DeleteImageData(unsigned char* p) const;
  /// Lays the world over the pixels.
  virtual bool ConstructGWorld();

  /// Makes the raster, `width` x `height` pixels with rows `rowBytes` apart (0, or less than a row:
  /// the row's own size). False: an unknown type, without a log line,
  /// or a failure, with one; what a failed call got hold of stays behind. What is constructed
  /// already is destructed first.
  bool Construct(int width, int height, BitmapType type, UInt32 rowBytes);
  /// Releases what is constructed; all fields become 0. The graphics context holds two references
  /// from `Construct` on, of which this gives back one: the context itself stays behind.
  void Destruct();
  bool IsConstructed() const;

  /// An image over the rectangle, in pixels from the bottom left; see ConstructCGImage. The first
  /// column counts one byte per pixel whatever the type. Null when its first byte lies outside.
  CGImageRef GetCroppedImageRef(const CGRect& inCroppedRect) const;

  /// First byte of a row, counted from the bottom as CoreGraphics does, or from the top as
  /// QuickDraw does; null outside.
  unsigned char* CGGetStartOfScanline(float y) const;
  unsigned char* QDGetStartOfScanline(int y) const;

  /// Bilinear sample of the world's bytes at a fraction of width and height, times `scale`,
  /// truncated to its low 8 bits. 0 without a world.
  int SafeGetPixel_BilinearInterpolatedSampleGrey(float x, float y, float scale) const;

  /// Fills with noise in square cells of `cellSize` (1 to 64) pixels; values are not clamped but
  /// wrap. Four-byte types get 255 and three times the value.
  void FillPerlinNoise(int cellSize, float amplitude) const;

  BitmapType GetImageType() const { return mImageType; }
  UInt32 GetImageWidth() const { return mImageWidth; }
  UInt32 GetImageHeight() const { return mImageHeight; }
  UInt32 GetImageBitsPerPixel() const { return mImageBitsPerPixel; }
  UInt32 GetImageBytesPerPixel() const { return mImageBytesPerPixel; }
  UInt32 GetImageRowBytes() const { return mImageRowBytes; }
  UInt32 GetImageDataSize() const { return mImageDataSize; }
  CGBitmapInfo GetImageBitmapInfo() const { return mImageBitmapInfo; }
  CGColorSpaceRef GetImageColorspace() const { return mImageColorspace; }
  unsigned char* GetImageDataBytes() const { return mImageDataBytes; }
  const QGWorld& GetGWorld() const { return mGWorld; }
  QPoint SizePixels() const;  ///< h = width, v = height, low 16 bits

 private:
  void ClearFields();
  bool ConstructContext();
  void FillNoiseCells(int n, float amplitude) const;

  BitmapType mImageType;
  UInt32 mImageWidth;
  UInt32 mImageHeight;
  UInt32 mImageBitsPerPixel;
  UInt32 mImageBytesPerPixel;
  UInt32 mImageRowBytes;
  UInt32 mImageDataSize;  ///< row bytes x height
  CGBitmapInfo mImageBitmapInfo;
  CGColorSpaceRef mImageColorspace;
  QGWorld mGWorld;
  unsigned char* mImageDataBytes;
};

}  // namespace CoreGraphics
