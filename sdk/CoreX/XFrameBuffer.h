// Descriptions of video frames in memory that somebody else owns: where the pixels start, how large
// the frame is, how far apart its rows lie, what its pixels mean, and whether it is interlaced.
//
// Views of one field or of a cropped area are copies of the description with other numbers; no
// pixel moves. A description never frees its pixels and must not outlive them.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// What the bytes of a pixel mean, in memory order; 8 bits each, 4 bytes per pixel.
enum XFrame_Pel_Format : UInt32 {
  XFrame_Pel_Unknown = '0000',
  XFrame_Pel_ARGB = '8RGB',      ///< A, R, G, B
  XFrame_Pel_VideoRGB = 'VRGB',  ///< A, R, G, B of video gamma, 2.2
  XFrame_Pel_r408 = 'RYUV',      ///< A, Y', Cb, Cr
  XFrame_Pel_v408 = 'VYUV',      ///< Cb, Y', Cr, A
};

/// The formats whose black is not all zero bytes.
constexpr bool XFrame_IsYUV(XFrame_Pel_Format format) {
  return format == XFrame_Pel_r408 || format == XFrame_Pel_v408;
}

/// Bits of `Fields`; 0 means that nothing is stated.
enum XFrame_Field_Flags : UInt32 {
  XFrame_SingleField = 0x0001,  ///< the buffer is one field of a frame
  XFrame_TwoFields = 0x0002,    ///< two fields, row by row in turn
};

struct XFrameSize {
  SInt32 Width = 0;   ///< pixels per row
  SInt32 Height = 0;  ///< rows
};

struct XFrameBufferFormat : XFrameSize {
  XFrame_Pel_Format PixelType = XFrame_Pel_Unknown;
  UInt32 Fields = 0;  ///< XFrame_Field_Flags
};

struct XFrameBufferBase : XFrameBufferFormat {
  unsigned char* Pixels = nullptr;  ///< first byte of the top row; not owned
  SInt32 RowBytes;                  ///< from one row to the next; may be negative. Not initialised.
  SInt32 PelBytes = 0;              ///< bytes per pixel
};

class XFrameBuffer : public XFrameBufferBase {
 public:
  /// Everything 0, null and unknown; who fills the description in must set RowBytes too.
  XFrameBuffer();
  XFrameBuffer(const XFrameBuffer&) = default;
  XFrameBuffer& operator=(const XFrameBuffer&) = default;
  virtual ~XFrameBuffer();

  /// The standard frame size's number, 0 for any other size.
  UInt32 FrameTypeOf() const;

  /// What `Fields` says; else whether the height is even and at least 480, as interlaced standard
  /// sizes are.
  bool HasTwoFields() const;

  /// Rows 0, 2, 4, ... or 1, 3, 5, ...: half the rows (an odd last one belongs to neither).
  void GetTopField(XFrameBuffer& out) const;
  void GetBottomField(XFrameBuffer& out) const;
  void GetFields(XFrameBuffer& top, XFrameBuffer& bottom) const;

  /// The frame less so many pixels or rows on each side. Nothing is checked: insets that are
  /// negative or too large give whatever the arithmetic gives.
  void GetCroppedBuffer(XFrameBuffer& out, int left, int top, int right, int bottom) const;

  /// Three messages to the debug log.
  void CoreDebugPrint(const char* label) const;
};

/// One row of the table of standard frame sizes.
struct XFrameSizeType {
  SInt16 width;
  SInt16 height;
  UInt32 type;
};
/// In order of precedence; a row without width or height ends it.
extern const XFrameSizeType MapFrameSizeType[];
