#include "platform/QuickDraw/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/QuickDraw/Palettes.h"

namespace PixelAccess {
namespace {

constexpr UInt16 kFull = 0xFFFF;

UInt8 Round8(double value) {
  return static_cast<UInt8>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}
UInt16 Round16(double value) {
  return static_cast<UInt16>(std::clamp(std::floor(value + 0.5), 0.0, 65535.0));
}
UInt16 Widen(UInt8 component) {
  return static_cast<UInt16>(component * 257);
}
UInt8 Narrow(UInt16 component) {
  return static_cast<UInt8>((component * 255u + 32767u) / 65535u);
}
UInt16 FromBits(UInt32 value, UInt32 largest) {
  return static_cast<UInt16>((value * 65535u + largest / 2) / largest);
}
UInt32 ToBits(UInt16 component, UInt32 largest) {
  return (component * largest + 32767u) / 65535u;
}

/// A pixel of 16 bits: where its red, green, blue and alpha lie, and how wide they are.
struct Packed16 {
  bool bigEndian;
  int redShift, greenShift, blueShift;
  UInt32 redLargest, greenLargest, blueLargest;
  int alphaShift;  ///< -1: none
};

const Packed16* Packed16Of(OSType code) {
  static constexpr Packed16 k555Big{true, 10, 5, 0, 31, 31, 31, -1};
  static constexpr Packed16 k555Little{false, 10, 5, 0, 31, 31, 31, -1};
  static constexpr Packed16 k5551Little{false, 11, 6, 1, 31, 31, 31, 0};
  static constexpr Packed16 k565Big{true, 11, 5, 0, 31, 63, 31, -1};
  static constexpr Packed16 k565Little{false, 11, 5, 0, 31, 63, 31, -1};
  switch (code) {
    case k16BE555PixelFormat:
      return &k555Big;
    case k16LE555PixelFormat:
      return &k555Little;
    case k16LE5551PixelFormat:
      return &k5551Little;
    case k16BE565PixelFormat:
      return &k565Big;
    case k16LE565PixelFormat:
      return &k565Little;
    default:
      return nullptr;
  }
}

Rgb ReadPacked16(const Packed16& layout, const UInt8* p) {
  const UInt32 v = layout.bigEndian ? static_cast<UInt32>(p[0] << 8 | p[1])
                                    : static_cast<UInt32>(p[1] << 8 | p[0]);
  const auto part = [v](int shift, UInt32 largest) {
    return FromBits(v >> shift & largest, largest);
  };
  return {layout.alphaShift < 0 ? kFull : part(layout.alphaShift, 1),
          part(layout.redShift, layout.redLargest), part(layout.greenShift, layout.greenLargest),
          part(layout.blueShift, layout.blueLargest)};
}

void WritePacked16(const Packed16& layout, UInt8* p, const Rgb& c) {
  UInt32 v = ToBits(c.r, layout.redLargest) << layout.redShift |
             ToBits(c.g, layout.greenLargest) << layout.greenShift |
             ToBits(c.b, layout.blueLargest) << layout.blueShift;
  if (layout.alphaShift >= 0) v |= ToBits(c.a, 1) << layout.alphaShift;
  const UInt8 high = static_cast<UInt8>(v >> 8);
  const UInt8 low = static_cast<UInt8>(v);
  p[0] = layout.bigEndian ? high : low;
  p[1] = layout.bigEndian ? low : high;
}

/// Where the bytes of a pixel of 8-bit components lie; -1: there is no such one.
struct ByteOrder {
  int a, r, g, b;
};

const ByteOrder* ByteOrderOf(OSType code) {
  static constexpr ByteOrder kRGB{-1, 0, 1, 2};
  static constexpr ByteOrder kBGR{-1, 2, 1, 0};
  static constexpr ByteOrder kARGB{0, 1, 2, 3};
  static constexpr ByteOrder kBGRA{3, 2, 1, 0};
  static constexpr ByteOrder kABGR{0, 3, 2, 1};
  static constexpr ByteOrder kRGBA{3, 0, 1, 2};
  switch (code) {
    case k24RGBPixelFormat:
      return &kRGB;
    case k24BGRPixelFormat:
      return &kBGR;
    case k32ARGBPixelFormat:
      return &kARGB;
    case k32BGRAPixelFormat:
      return &kBGRA;
    case k32ABGRPixelFormat:
      return &kABGR;
    case k32RGBAPixelFormat:
      return &kRGBA;
    default:
      return nullptr;
  }
}

UInt16 Big16(const UInt8* p) {
  return static_cast<UInt16>(p[0] << 8 | p[1]);
}
void PutBig16(UInt8* p, UInt16 value) {
  p[0] = static_cast<UInt8>(value >> 8);
  p[1] = static_cast<UInt8>(value);
}

Rgb ReadCMYK(const UInt8* p) {
  const auto component = [p](int ink) {
    return Round16((255.0 - p[ink]) * (255.0 - p[3]) / 255 * 257);
  };
  return {kFull, component(0), component(1), component(2)};
}

void WriteCMYK(UInt8* p, const Rgb& c) {
  const double white = std::max({c.r, c.g, c.b});
  const auto ink = [white](UInt16 component) {
    return white == 0 ? UInt8{0} : Round8((white - component) / white * 255);
  };
  p[0] = ink(c.r);
  p[1] = ink(c.g);
  p[2] = ink(c.b);
  p[3] = Round8(255 - white / 257);
}

UInt8* At(const Raster& raster, SInt32 x, SInt32 y) {
  const PixelFormatInfo& f = *raster.format;
  return raster.base + y * raster.rowBytes + x / f.unitPixels * SInt64{f.unitBytes};
}

bool IsGrey(OSType code) {
  return code > 32 && code <= 40;
}

/// Formats of 1 to 8 bits: the bits themselves.
struct SmallPixel {
  UInt8* byte;
  int shift;
  UInt8 mask;  ///< before shifting
  UInt8 value() const { return static_cast<UInt8>(*byte >> shift & mask); }
  void set(UInt8 v) const {
    *byte = static_cast<UInt8>((*byte & ~(mask << shift)) | ((v & mask) << shift));
  }
};

SmallPixel Small(const Raster& raster, SInt32 x, SInt32 y) {
  const int bits = raster.format->bitsPerPixel;
  const int shift = 8 - bits * (x % raster.format->unitPixels + 1);
  return {At(raster, x, y), shift, static_cast<UInt8>((1 << bits) - 1)};
}

UInt16 Luma(const Rgb& c) {
  return Round16(0.299 * c.r + 0.587 * c.g + 0.114 * c.b);
}

/// Bytes of a pair, or of one pixel where chroma is not shared.
struct YccOrder {
  int y, cb, cr, a;  ///< `y` of the first pixel, the second's lies 2 behind; `a` -1: none
  int lumaOffset;    ///< added to the stored luma
  int chromaOffset;
};

const YccOrder* YccOrderOf(OSType code) {
  static constexpr YccOrder k2vuy{1, 0, 2, -1, 0, 0};
  static constexpr YccOrder kYuvs{0, 1, 3, -1, 0, 0};
  static constexpr YccOrder kYvyu{0, 3, 1, -1, 0, 0};
  static constexpr YccOrder kYuvu{0, 1, 3, -1, 0, 128};
  static constexpr YccOrder kR408{1, 2, 3, 0, 16, 0};
  static constexpr YccOrder kV408{1, 0, 2, 3, 0, 0};
  switch (code) {
    case k2vuyPixelFormat:
    case kUYVY422PixelFormat:
      return &k2vuy;
    case kYUVSPixelFormat:
      return &kYuvs;
    case kYVYU422PixelFormat:
      return &kYvyu;
    case kYUVUPixelFormat:
      return &kYuvu;
    case kr408PixelFormat:
      return &kR408;
    case kv408PixelFormat:
      return &kV408;
    default:
      return nullptr;
  }
}

/// The address of a pixel's component; null where half a pair at the end of a row lacks it.
UInt8* Component(const Raster& raster, SInt32 x, SInt32 y, int byte) {
  UInt8* const p = At(raster, x, y) + byte;
  const SInt64 inRow = p - (raster.base + y * raster.rowBytes);
  return inRow < raster.rowBytes && p - raster.base < raster.size ? p : nullptr;
}

int LumaByte(const Raster& raster, SInt32 x, const YccOrder& order) {
  return order.y + (IsPaired(*raster.format) ? x % 2 * 2 : 0);
}

}  // namespace

bool IsYcc(const PixelFormatInfo& format) {
  return YccOrderOf(format.code) != nullptr;
}

bool IsPaired(const PixelFormatInfo& format) {
  return IsYcc(format) && format.unitPixels == 2;
}

bool Exists(const Raster& raster, SInt32 x, SInt32 y) {
  if (x < 0 || y < 0) return false;
  if (const YccOrder* order = YccOrderOf(raster.format->code); order && IsPaired(*raster.format)) {
    return Component(raster, x, y, LumaByte(raster, x, *order)) != nullptr;
  }
  return Component(raster, x, y, raster.format->unitBytes - 1) != nullptr;
}

Rgb ReadRgb(const Raster& raster, SInt32 x, SInt32 y) {
  const OSType code = raster.format->code;
  const UInt8* p = At(raster, x, y);
  if (const ByteOrder* o = ByteOrderOf(code)) {
    return {o->a < 0 ? kFull : Widen(p[o->a]), Widen(p[o->r]), Widen(p[o->g]), Widen(p[o->b])};
  }
  if (const Packed16* layout = Packed16Of(code)) return ReadPacked16(*layout, p);
  switch (code) {
    case k48RGBPixelFormat:
      return {kFull, Big16(p), Big16(p + 2), Big16(p + 4)};
    case k64ARGBPixelFormat:
      return {Big16(p), Big16(p + 2), Big16(p + 4), Big16(p + 6)};
    case k32CMYKPixelFormat:
      return ReadCMYK(p);
    default:
      break;
  }
  const SmallPixel pixel = Small(raster, x, y);
  if (IsGrey(code)) {
    const UInt16 level = FromBits(pixel.value(), pixel.mask);
    return {kFull, level, level, level};
  }
  const Palettes::Colour c =
      Palettes::ColourOf(raster.table, raster.format->bitsPerPixel, pixel.value());
  return {kFull, c.r, c.g, c.b};
}

void WriteRgb(const Raster& raster, SInt32 x, SInt32 y, const Rgb& c) {
  const OSType code = raster.format->code;
  UInt8* p = At(raster, x, y);
  if (const ByteOrder* o = ByteOrderOf(code)) {
    if (o->a >= 0) p[o->a] = Narrow(c.a);
    p[o->r] = Narrow(c.r);
    p[o->g] = Narrow(c.g);
    p[o->b] = Narrow(c.b);
    return;
  }
  if (const Packed16* layout = Packed16Of(code)) return WritePacked16(*layout, p, c);
  switch (code) {
    case k64ARGBPixelFormat:
      PutBig16(p, c.a);
      p += 2;
      [[fallthrough]];
    case k48RGBPixelFormat:
      PutBig16(p, c.r);
      PutBig16(p + 2, c.g);
      PutBig16(p + 4, c.b);
      return;
    case k32CMYKPixelFormat:
      return WriteCMYK(p, c);
    default:
      break;
  }
  const SmallPixel pixel = Small(raster, x, y);
  if (IsGrey(code)) {
    pixel.set(static_cast<UInt8>(ToBits(Luma(c), pixel.mask)));
  } else {
    pixel.set(Palettes::IndexOf(raster.table, raster.format->bitsPerPixel, {c.r, c.g, c.b}));
  }
}

Ycc ReadYcc(const Raster& raster, SInt32 x, SInt32 y) {
  const YccOrder& order = *YccOrderOf(raster.format->code);
  const auto chroma = [&](int byte) {
    const UInt8* p = Component(raster, x, y, byte);
    return p == nullptr ? UInt8{128} : static_cast<UInt8>(*p + order.chromaOffset);
  };
  const UInt8 luma = *Component(raster, x, y, LumaByte(raster, x, order));
  return {order.a < 0 ? UInt8{255} : *Component(raster, x, y, order.a),
          static_cast<UInt8>(std::min(luma + order.lumaOffset, 255)), chroma(order.cb),
          chroma(order.cr)};
}

void WriteYcc(const Raster& raster, SInt32 x, SInt32 y, const Ycc& c, bool chroma) {
  const YccOrder& order = *YccOrderOf(raster.format->code);
  const auto put = [&](int byte, int value) {
    if (UInt8* p = Component(raster, x, y, byte)) *p = static_cast<UInt8>(value);
  };
  put(LumaByte(raster, x, order), std::max(c.y - order.lumaOffset, 0));
  if (order.a >= 0) put(order.a, c.a);
  if (!chroma) return;
  put(order.cb, c.cb - order.chromaOffset);
  put(order.cr, c.cr - order.chromaOffset);
}

Rgb RgbOfYcc(const Ycc& c) {
  // Rec. 601: R - Y spans 1.402 and B - Y 1.772 of full range.
  const double y = (c.y - 16) / 219.0;
  const double cb = (c.cb - 128) / 224.0;
  const double cr = (c.cr - 128) / 224.0;
  return {Widen(c.a), Round16((y + 1.402 * cr) * 65535),
          Round16((y - (0.114 * 1.772 * cb + 0.299 * 1.402 * cr) / 0.587) * 65535),
          Round16((y + 1.772 * cb) * 65535)};
}

Ycc YccOfRgb(const Rgb& c) {
  const double r = c.r / 65535.0;
  const double g = c.g / 65535.0;
  const double b = c.b / 65535.0;
  const double y = 0.299 * r + 0.587 * g + 0.114 * b;
  return {Narrow(c.a), Round8(16 + 219 * y), Round8(128 + 224 * (b - y) / 1.772),
          Round8(128 + 224 * (r - y) / 1.402)};
}

}  // namespace PixelAccess
