// Frame buffers over pixel maps and offscreen worlds, so that frame operations and drawing work on
// the same pixels.
//
// A world's pixel format follows from the frame's pixel type: 'RYUV' is 'r408', 'VYUV' is 'v408',
// any other type is 32-bit ARGB. The other way round a pixel map that is neither is described as
// '8RGB', so that video ARGB comes back as plain ARGB.
//
// Operations return false, with log lines, on failure. A failed construction leaves the object
// empty, except that an object that had to be empty and is not keeps what it has.
#pragma once

#include "platform/QuickDraw/QuickDraw.h"
#include "sdk/CoreX/XFrameBuffer.h"
#include "sdk/CoreX/XFrameBufferMemory.h"
#include "sdk/QClasses/QImageDescription.h"
#include "sdk/QClasses/QRect.h"

/// The format of a new world for frames of a pixel type.
UInt32 QuickTimeFourCharCodeFromPelFormat(XFrame_Pel_Format pelFormat);
/// 2.2 for the YUV types and video RGB, 1.8 for any other, as 16.16 fixed point.
Fixed GammaFromPelFormat(XFrame_Pel_Format pelFormat);
/// Requests that gamma of the pixel map. Null is accepted.
void SetRequestedGammaLevel(PixMapHandle hPixMap, XFrame_Pel_Format pelFormat);
/// Fills a world with the background colour; the calling thread's current port stays what it was.
void QDErasePixels(GWorldPtr world);

/// A view of a pixel map, which stays the caller's and must outlive the view. Nothing is freed.
///
/// `PelBytes` is always 4: a pixel map of another size is described as if its rows held 4 bytes a
/// pixel, and frame operations on such a view are the caller's to keep inside the rows.
class MacPixMapFrameBuffer : public XFrameBuffer {
 public:
  MacPixMapFrameBuffer();
  explicit MacPixMapFrameBuffer(PixMapHandle hPixMap);

  /// Describes the pixel map, locks its handle and requests the gamma of its pixel type. False for
  /// a null handle and (the gamma is requested all the same) for a pixel map without pixels.
  /// Widths, heights and row bytes of 0 are logged but do not fail.
  bool Construct(PixMapHandle hPixMap);

  PixMapHandle GetPixMap() const { return mPixMap; }
  /// The pixel map's bounds into `outBounds`, all zero without one.
  bool GetPixMapBounds(Rect& outBounds) const;

 protected:
  void ResetDescription();

 private:
  PixMapHandle mPixMap;
};

/// A frame in an offscreen world of its own. Pixels are white at first (opaque where they have
/// alpha), as the platform erases them.
class MacPixMapFrameWorld : public MacPixMapFrameBuffer {
 public:
  MacPixMapFrameWorld();
  MacPixMapFrameWorld(const MacPixMapFrameWorld&) = delete;
  MacPixMapFrameWorld& operator=(const MacPixMapFrameWorld&) = delete;
  ~MacPixMapFrameWorld() override;

  /// Whatever the class makes for a rectangle: the virtual constructor.
  virtual bool ConstructVirtual(QRect& r, XFrame_Pel_Format inPelFormat);

  bool Construct(QRect& in_rect, XFrame_Pel_Format inPelFormat);
  /// A width or height beyond 16 bits fails.
  bool Construct(int width, int height, XFrame_Pel_Format inPelFormat);
  /// The other's size and pixel type; its pixels are not copied.
  bool Construct(const MacPixMapFrameWorld& copyOf);
  /// A world that is there already is logged and disposed of.
  bool ConstructGWorld(QRect& in_rect, XFrame_Pel_Format inPelFormat);

  // Aliases: worlds over pixels of someone else's, which must outlive them. The object must be
  // empty.

  /// Row bytes must hold a row of the rectangle in the format.
  bool ConstructPtrAlias(const Rect& rect, void* pixels, SInt32 rowBytes, UInt32 pixelFormat);
  /// The last row's padding is not the frame's, and is left alone.
  bool ConstructFrameBufferAlias(XFrameBuffer& in_buffer);
  /// Rows 0, 2, 4, ... (field 0) or 1, 3, 5, ... (field 1) of a world, as a world. The bottom side
  /// is halved, truncating, whatever the top is; where that asks for more rows than the field has,
  /// it fails.
  bool ConstructFieldAlias(GWorldPtr port, int field_order);

  /// Replaces the world by one of this size and the same pixel type, made by the virtual
  /// constructor. The pixels are not kept.
  bool SetNewWidthHeight(int width, int height);
  /// Replaces the world by one of the description's width, height and format, by the same way.
  bool SetFramePropertiesWithImageDescription(const QImageDescription& inDescription);

  /// Draws the part of the world inside `source` (in the world's coordinates) into `dest` (in the
  /// port's): scaled, converted and clipped as the platform's CopyBits does. False for an empty
  /// world or no port.
  bool CopyBits(CGrafPtr port, const Rect& source, const Rect& dest) const;
  /// All of it into the whole port.
  bool CopyBits(CGrafPtr port) const;

  bool IsEmpty() const { return mGWorld == nullptr; }
  /// Disposes of the world, if there is one.
  void Empty();
  /// Disposes of the world and resets the description.
  virtual void Destruct();

  /// Stays this object's. Null when empty.
  GWorldPtr GetGWorld() const { return mGWorld; }

 private:
  GWorldPtr mGWorld;
  PixMapHandle mLockedPixMap;
};

/// A world whose pixels lie in one block of memory of this object's, row behind row without
/// padding, aligned as the allocator aligns. The block is not cleared.
class MacAltivecFrameWorld : public MacPixMapFrameWorld {
 public:
  MacAltivecFrameWorld() = default;
  ~MacAltivecFrameWorld() override;

  bool ConstructVirtual(QRect& r, XFrame_Pel_Format inPelFormat) override;

  bool Construct(QRect& in_rect, XFrame_Pel_Format inPelFormat);
  bool Construct(int width, int height, XFrame_Pel_Format inPelFormat);
  bool Construct(const MacPixMapFrameWorld& copyOf);
  /// False, too, for a frame of 2 GiB and more.
  bool ConstructVecFrame(QRect& in_rect, XFrame_Pel_Format inPelFormat);

  /// Frees the block too.
  void Destruct() override;

 private:
  XFrameBufferMemory mVecMemory;
};
