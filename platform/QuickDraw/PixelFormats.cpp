#include "platform/QuickDraw/PixelFormats.h"

#include "platform/QuickDraw/PixMaps.h"

namespace {

constexpr PixelFormatInfo kFormats[] = {
    {k1MonochromePixelFormat, 1, 8, 1, false, {0}},
    {k2IndexedPixelFormat, 2, 4, 1, false, {0}},
    {k4IndexedPixelFormat, 4, 2, 1, false, {0}},
    {k8IndexedPixelFormat, 8, 1, 1, false, {0}},
    {k16BE555PixelFormat, 16, 1, 2, true, {0x7F, 0xFF}},
    {k24RGBPixelFormat, 24, 1, 3, true, {255, 255, 255}},
    {k32ARGBPixelFormat, 32, 1, 4, true, {255, 255, 255, 255}},
    {k1IndexedGrayPixelFormat, 1, 8, 1, false, {255}},
    {k2IndexedGrayPixelFormat, 2, 4, 1, false, {255}},
    {k4IndexedGrayPixelFormat, 4, 2, 1, false, {255}},
    {k8IndexedGrayPixelFormat, 8, 1, 1, false, {255}},
    {k16LE555PixelFormat, 16, 1, 2, true, {0xFF, 0x7F}},
    {k16LE5551PixelFormat, 16, 1, 2, true, {255, 255}},
    {k16BE565PixelFormat, 16, 1, 2, true, {255, 255}},
    {k16LE565PixelFormat, 16, 1, 2, true, {255, 255}},
    {k24BGRPixelFormat, 24, 1, 3, true, {255, 255, 255}},
    {k32BGRAPixelFormat, 32, 1, 4, true, {255, 255, 255, 255}},
    {k32ABGRPixelFormat, 32, 1, 4, true, {255, 255, 255, 255}},
    {k32RGBAPixelFormat, 32, 1, 4, true, {255, 255, 255, 255}},
    {k2vuyPixelFormat, 16, 2, 4, false, {128, 235, 128, 235}},
    {kUYVY422PixelFormat, 16, 2, 4, false, {128, 235, 128, 235}},
    {kYUVSPixelFormat, 16, 2, 4, false, {235, 128, 235, 128}},
    {kYVYU422PixelFormat, 16, 2, 4, false, {235, 128, 235, 128}},
    {kYUVUPixelFormat, 16, 2, 4, false, {235, 0, 235, 0}},
    {kr408PixelFormat, 32, 1, 4, false, {255, 219, 128, 128}},
    {kv408PixelFormat, 32, 1, 4, false, {128, 235, 128, 235}},
    {k48RGBPixelFormat, 48, 1, 6, true, {255, 255, 255, 255, 255, 255}},
    {k64ARGBPixelFormat, 64, 1, 8, true, {255, 255, 255, 255, 255, 255, 255, 255}},
    {k32CMYKPixelFormat, 32, 1, 4, false, {0, 0, 0, 0}},
};

}  // namespace

const PixelFormatInfo* FindPixelFormat(OSType code) {
  for (const PixelFormatInfo& format : kFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

SInt16 QTGetPixelSize(OSType pixelFormat) {
  const PixelFormatInfo* format = FindPixelFormat(pixelFormat);
  return format == nullptr ? SInt16{0} : format->bitsPerPixel;
}

SInt64 QTGetPixelFormatRowSize(OSType pixelFormat, SInt32 width) {
  const PixelFormatInfo* format = FindPixelFormat(pixelFormat);
  if (format == nullptr || width < 0) return 0;
  const SInt64 units = (static_cast<SInt64>(width) + format->unitPixels - 1) / format->unitPixels;
  return units * format->unitBytes;
}
