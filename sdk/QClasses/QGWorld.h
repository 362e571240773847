// An offscreen graphics world: one with pixels of its own, or an alias over pixels of someone
// else's, which must outlive it.
#pragma once

#include "platform/QuickDraw/QuickDraw.h"
#include "sdk/QClasses/QAutoLock.h"
#include "sdk/QClasses/QImageDescription.h"
#include "sdk/QClasses/QRect.h"

/// Memory to alias.
struct tagQGWorldData {
  UInt32 pixelFormat;
  SInt16 width;
  SInt16 height;
  SInt32 rowBytes;
  char* baseAddr;
};

class QGWorld {
 public:
  QGWorld();
  /// Constructors with arguments throw CoreException "Nil exception pointer" when they fail.
  QGWorld(Point size, UInt32 pixelFormat);
  QGWorld(const QGWorld& other);
  QGWorld(char* baseAddr, ImageDescriptionHandle desc);
  ~QGWorld();
  QGWorld& operator=(const QGWorld&) = delete;

  /// Every construction first disposes of the world so far. False, with log lines, on failure.

  /// A world with new pixels, locked; size.v rows of size.h pixels.
  bool Construct(const Point& size, UInt32 pixelFormat);
  bool Construct(const QSize& size, UInt32 pixelFormat);
  /// The other's size and format; its pixels are not copied. Throws when it has no pixel map.
  bool Construct(const QGWorld& other);

  /// Aliases. Row bytes that do not hold a row of the size are refused.
  bool ConstructAlias(char* inBaseAddr, SInt32 inRowBytes, const Point& size, UInt32 pixelFormat);
  bool ConstructAlias(const tagQGWorldData& d);
  /// Row bytes from the description's 'rowb', or calculated for 4:2:2 formats.
  bool ConstructAlias(char* inBaseAddr, ImageDescriptionHandle h);
  bool ConstructAlias(PixMapHandle hPixMap);
  bool ConstructAlias(const QGWorld& inAliasThisWorld);
  /// The part of the other inside the rectangle, whose left side counts 4 bytes per pixel whatever
  /// the format. The rectangle is not checked: the caller keeps it inside.
  bool ConstructAliasOverRect(const QGWorld& inAliasThisWorld, const QRect& aliasThisArea);

  void Destruct();
  void DisposeIF();

  bool IsConstructed() const { return mGWorld != nullptr; }
  /// The world and its pixel map stay this object's. Null when not constructed.
  GWorldPtr GetGWorld() const { return mGWorld; }
  operator CGrafPtr() const { return mGWorld; }
  PixMapHandle GetPixMap() const;

  /// These throw CoreException "Nil exception pointer" without a pixel map.
  QRect Bounds() const;
  QPoint Dimensions() const;
  QSize SizePixels() const;

  /// The pixel map's format code, or its pixel size where that is 0. Logs, and 0, without a world.
  UInt32 GetPixelFormat() const;
  bool IsSizePixelFormat(const QRect& r, UInt32 pixelFormat) const;

  /// 32-bit: every pixel A 255, R, G, B 0. 24-bit: every pixel 0. False for other formats.
  bool FillOpaqueBlack() const;
  /// 32-bit only: every byte 0.
  bool FillTransparentBlack() const;

  /// Describes the pixels. With `addRowBytes` false the description is complete, yet the result is
  /// false, without a log line: callers rely on both.
  bool GetImageDescription(QImageDescription& outDescription, bool addRowBytes = false) const;
  /// Description, first byte and size in bytes. Reports false with all three filled in, because it
  /// describes without adding row bytes.
  bool GetDataDescription(QImageDescription& outDescription, unsigned char*& outData,
                          SInt32& outSize) const;

 private:
  GWorldPtr mGWorld;
};
