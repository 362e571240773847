// Pixel maps' numbers and views, and every operation that logs: log lines name this source.
#include "sdk/QClasses/QPixMap.h"

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/QClasses/QPixMap_kernels.h"
#include "sdk/QClasses/QPixMap_overlay.h"
#include "sdk/QClasses/QPixMap_rows.h"

using QPixMapRows::Memory;

UInt32 QPixMap_GetPixelFormat(PixMap** hPixMap) {
  return GetPixMapPixelFormat(hPixMap);
}

SInt32 QPixMap_GetRowBytes(PixMap** hPixMap) {
  return QTGetPixMapHandleRowBytes(hPixMap);
}

SInt32 QPixMap_Width(PixMap** hPixMap) {
  Rect bounds;
  GetPixBounds(hPixMap, &bounds);
  return bounds.right - bounds.left;
}

SInt32 QPixMap_Height(PixMap** hPixMap) {
  Rect bounds;
  GetPixBounds(hPixMap, &bounds);
  return bounds.bottom - bounds.top;
}

QPoint QPixMap_Dimensions(PixMap** hPixMap) {
  Rect bounds;
  GetPixBounds(hPixMap, &bounds);
  return QRect(bounds).Dimensions();
}

SInt32 QPixMap_PixelDataSizeBytes(PixMap** hPixMap) {
  const SInt64 bytes = static_cast<SInt64>(QPixMap_Height(hPixMap)) * QPixMap_GetRowBytes(hPixMap);
  return static_cast<SInt32>(bytes);
}

SInt64 QPixMap_KnownBytes(PixMap** hPixMap) {
  if (hPixMap == nullptr || *hPixMap == nullptr) return 0;
  const SInt64 rows = static_cast<SInt64>(QPixMap_Height(hPixMap)) * QPixMap_GetRowBytes(hPixMap);
  const SInt64 all = std::max<SInt64>(rows, 0);
  const SInt64 known = (*hPixMap)->knownBytes;
  return known == 0 ? all : std::clamp<SInt64>(known, 0, all);
}

unsigned char* QPixMap_GetStartOfScanLine(PixMap** hPixMap, int row) {
  Ptr base = GetPixBaseAddr(hPixMap);
  if (base == nullptr) return nullptr;
  return reinterpret_cast<unsigned char*>(base) +
         static_cast<std::ptrdiff_t>(row) * QPixMap_GetRowBytes(hPixMap);
}

SInt32 QPixMap_RowBytesFromFormatWidth(UInt32 format, SInt32 width) {
  UInt32 pixelBytes = 4;
  switch (format) {
    case k2vuyPixelFormat:
      pixelBytes = 2;
      break;
    case k48RGBPixelFormat:
      pixelBytes = 6;
      break;
    case k64ARGBPixelFormat:
      pixelBytes = 8;
      break;
    case k32CMYKPixelFormat:
      pixelBytes = 1;
      break;
    default:
      break;
  }
  return static_cast<SInt32>(static_cast<UInt32>(width) * pixelBytes);
}

namespace {

const PixMap& Existing(PixMap** hPixMap) {
  if (hPixMap == nullptr || *hPixMap == nullptr) throw CoreException("Nil exception pointer");
  return **hPixMap;
}

}  // namespace

QPixMapInfo::QPixMapInfo(PixMap** hPixMap)
    : width(0), height(0), pixelSize(Existing(hPixMap).pixelSize), baseAddr(nullptr), rowBytes(0) {
  width = QPixMap_Width(hPixMap);
  height = QPixMap_Height(hPixMap);
  baseAddr = QPixMap_GetStartOfScanLine(hPixMap, 0);
  rowBytes = QPixMap_GetRowBytes(hPixMap);
}

QPixMapSurface32::QPixMapSurface32(PixMap** hPixMap)
    : width(0), height(0), rowBytes(0), baseAddr(nullptr) {
  const QPixMapInfo info(hPixMap);
  // The text is the null handle's: callers know the view by it.
  if (info.pixelSize != 32) throw CoreException("Nil exception pointer");
  width = info.width;
  height = info.height;
  rowBytes = info.rowBytes;
  baseAddr = info.baseAddr;
}

bool QPixMap_FillPixelARGB32(PixMap** hPixMap, UInt32 value) {
  if (!VERIFY(hPixMap)) return false;
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  if (!VERIFY(rowBytes) || !VERIFY(rowBytes>0)) return false;
  const Memory map(hPixMap);
  if (map.size > 0) {
    std::memset(map.base, static_cast<unsigned char>(value), static_cast<std::size_t>(map.size));
  }
  return true;
}

namespace {

/// One group of Cb, Y0, Cr, Y1.
struct Group422 {
  static constexpr SInt64 kSize = 4;
  unsigned char bytes[kSize];
};

/// The group at `offset`. Where an odd row ends with the map, what is not there any more is
/// neutral chroma and black.
Group422 GroupAt(const Memory& map, SInt64 offset) {
  Group422 group{{128, 16, 128, 16}};
  const SInt64 there = std::clamp<SInt64>(map.size - offset, 0, Group422::kSize);
  if (there > 0) std::memcpy(group.bytes, map.base + offset, static_cast<std::size_t>(there));
  return group;
}

void GroupToR408(const Group422& group, unsigned char* out) {
  const auto [cb, y0, cr, y1] = group.bytes;
  const auto luma = [](unsigned char y) { return static_cast<unsigned char>(std::max(y - 16, 0)); };
  const unsigned char pixels[8] = {255, luma(y0), cb, cr, 255, luma(y1), cb, cr};
  std::memcpy(out, pixels, sizeof(pixels));
}

/// Copies the groups of a row that lie whole in both maps, where those are apart. Returns how many
/// of its pixels that was.
SInt32 WholeGroups(const Memory& from, const Memory& to, SInt32 y, SInt32 pixels) {
  const SInt64 there =
      std::clamp<SInt64>((from.size - y * from.rowBytes) / Group422::kSize, 0, pixels / 2);
  if (there == 0) return 0;
  const QPixMapKernels::Rows row = {to.Row(y), 0, static_cast<std::size_t>(2 * there), 1};
  const QPixMapKernels::Source groups = {from.Row(y), 0};
  const bool apart = row.first + 8 * there <= groups.first || groups.first + 4 * there <= row.first;
  if (!apart) return 0;
  QPixMapKernels::CurrentRowKernels().from422(row, groups);
  return static_cast<SInt32>(2 * there);
}

}  // namespace

OSErr QPixMap_Copy_2vuy_to_r408(PixMap** hDestPixMap, PixMap** hPixMap) {
  if (!VERIFY(QPixMap_Dimensions(hDestPixMap)==QPixMap_Dimensions(hPixMap))) return paramErr;
  if (!VERIFY_TEXT(__LINE__, "FOUR_CHAR_CODE('2vuy')==QPixMap_GetPixelFormat(hPixMap)",
                   k2vuyPixelFormat == QPixMap_GetPixelFormat(hPixMap))) {
    return paramErr;
  }
  // Not an error to the caller, but the log tells of it.
  if (!VERIFY_TEXT(__LINE__, "FOUR_CHAR_CODE('r408')==QPixMap_GetPixelFormat(hDestPixMap)",
                   kr408PixelFormat == QPixMap_GetPixelFormat(hDestPixMap))) {
    return noErr;
  }
  const Memory from(hPixMap);
  const Memory to(hDestPixMap);
  if (from.base == nullptr || to.base == nullptr) return noErr;
  for (SInt32 y = 0; y < from.height; ++y) {
    const SInt64 source = y * from.rowBytes;
    const SInt32 pixels = static_cast<SInt32>(to.PixelsAt(y, (to.width + 1) / 2 * 2, 4));
    const SInt32 whole = WholeGroups(from, to, y, pixels);
    // A first pixel that is not in the source at all leaves its place as it was.
    for (SInt32 x = whole; x < pixels && source + 2 * x + 1 < from.size; x += 2) {
      unsigned char out[8];
      GroupToR408(GroupAt(from, source + 2 * x), out);
      std::memcpy(to.Row(y) + 4 * x, out, 4 * static_cast<std::size_t>(std::min(2, pixels - x)));
    }
  }
  return noErr;
}

bool QPixMap_DrawCGContext(PixMap** hPixMap, CGContextRef context, const CGRect& rect, bool alpha) {
  if (!VERIFY(hPixMap)) return false;
  CGColorSpaceRef cs = CGColorSpaceCreateDeviceRGB();
  CGDataProviderRef provider = nullptr;
  CGImageRef image = nullptr;
  if (VERIFY(cs)) {
    const Memory map(hPixMap);
    provider = CGDataProviderCreateWithData(nullptr, map.base, static_cast<std::size_t>(map.size),
                                            nullptr);
  }
  if (cs != nullptr && VERIFY(provider)) {
    const SInt16 pixelSize = GetPixDepth(hPixMap);
    const CGBitmapInfo alphaInfo =
        pixelSize == 32 && alpha ? kCGImageAlphaFirst : kCGImageAlphaNoneSkipFirst;
    image = CGImageCreate(static_cast<std::size_t>(QPixMap_Width(hPixMap)),
                          static_cast<std::size_t>(QPixMap_Height(hPixMap)), 8,
                          static_cast<std::size_t>(pixelSize),
                          static_cast<std::size_t>(QPixMap_GetRowBytes(hPixMap)), cs, alphaInfo,
                          provider, nullptr, false, kCGRenderingIntentDefault);
    if (VERIFY(image)) CGContextDrawImage(context, rect, image);
  }
  const bool fOk = image != nullptr;
  CGImageRelease(image);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(cs);
  return fOk;
}

namespace {

XFrameBuffer FrameOf(const QPixMapSurface32& surface) {
  XFrameBuffer frame;
  frame.Width = surface.width;
  frame.Height = surface.height;
  frame.PixelType = XFrame_Pel_ARGB;
  frame.Pixels = surface.baseAddr;
  frame.RowBytes = surface.rowBytes;
  frame.PelBytes = 4;
  return frame;
}

}  // namespace

void QPixMap_Resize_ARGB32_Bilinear(PixMap** hDest, PixMap** hPixMap) {
  if (!VERIFY(hDest) || !VERIFY(hPixMap)) return;
  XFrameBuffer dest = FrameOf(QPixMapSurface32(hDest));
  const XFrameBuffer source = FrameOf(QPixMapSurface32(hPixMap));
  if (!Memory(hDest).HoldsAll(4) || !Memory(hPixMap).HoldsAll(4)) return;
  XFrame_ResizeBilinear(source, dest);
}

void QPM_44(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity) {
  if (!VERIFY(hPixMap) || !VERIFY(hAlphaPixMap)) return;
  const QPixMapSurface32 dest(hPixMap);
  const QPixMapSurface32 overlay(hAlphaPixMap);
  QPixMapOverlay::Draw<4>(Memory(hPixMap), where, Memory(hAlphaPixMap), opacity);
}

void QPM_34(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity) {
  if (!VERIFY(hPixMap) || !VERIFY(hAlphaPixMap)) return;
  const QPixMapSurface32 overlay(hAlphaPixMap);
  QPixMapOverlay::Draw<3>(Memory(hPixMap), where, Memory(hAlphaPixMap), opacity);
}

void QPM_4(PixMap** hPixMap, const Point& where, PixMap** hAlphaPixMap, float opacity) {
  if (!VERIFY(QPixMap_GetPixelFormat(hAlphaPixMap)==k32ARGBPixelFormat)) return;
  switch (QPixMap_GetPixelFormat(hPixMap)) {
    case k24RGBPixelFormat:
      QPM_34(hPixMap, where, hAlphaPixMap, opacity);
      break;
    case k32ARGBPixelFormat:
      QPM_44(hPixMap, where, hAlphaPixMap, opacity);
      break;
    default:
      break;
  }
}

void QPM_AC32(PixMap** hPixMap, PixMap** hAlphaPixMap) {
  QPM_44(hPixMap, Point{0, 0}, hAlphaPixMap, 1.0f);
}
