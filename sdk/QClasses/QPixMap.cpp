#include "sdk/QClasses/QPixMap.h"

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"

UInt32 QPixMap_GetPixelFormat(PixMap** hPixMap) {
  return GetPixMapPixelFormat(hPixMap);
}

SInt32 QPixMap_GetRowBytes(PixMap** hPixMap) {
  return QTGetPixMapHandleRowBytes(hPixMap);
}

SInt32 QPixMap_Width(PixMap** hPixMap) {
  return (*hPixMap)->bounds.right - (*hPixMap)->bounds.left;
}

SInt32 QPixMap_Height(PixMap** hPixMap) {
  return (*hPixMap)->bounds.bottom - (*hPixMap)->bounds.top;
}

QPoint QPixMap_Dimensions(PixMap** hPixMap) {
  return QRect((*hPixMap)->bounds).Dimensions();
}

SInt32 QPixMap_PixelDataSizeBytes(PixMap** hPixMap) {
  const SInt64 bytes = static_cast<SInt64>(QPixMap_Height(hPixMap)) * QPixMap_GetRowBytes(hPixMap);
  return static_cast<SInt32>(bytes);
}

SInt64 QPixMap_KnownBytes(PixMap** hPixMap) {
  const SInt64 rows = static_cast<SInt64>(QPixMap_Height(hPixMap)) * QPixMap_GetRowBytes(hPixMap);
  const SInt64 known = (*hPixMap)->knownBytes;
  if (known == 0) return rows;
  return std::clamp<SInt64>(known, 0, std::max<SInt64>(rows, 0));
}

unsigned char* QPixMap_GetStartOfScanLine(PixMap** hPixMap, int row) {
  Ptr base = GetPixBaseAddr(hPixMap);
  if (base == nullptr) return nullptr;
  return reinterpret_cast<unsigned char*>(base) +
         static_cast<std::ptrdiff_t>(row) * QPixMap_GetRowBytes(hPixMap);
}

bool QPixMap_FillPixelARGB32(PixMap** hPixMap, UInt32 value) {
  if (!VERIFY(hPixMap)) return false;
  const SInt32 rowBytes = QPixMap_GetRowBytes(hPixMap);
  if (!VERIFY(rowBytes) || !VERIFY(rowBytes>0)) return false;
  unsigned char* const base = QPixMap_GetStartOfScanLine(hPixMap, 0);
  const SInt64 bytes = QPixMap_KnownBytes(hPixMap);
  if (base != nullptr && bytes > 0) {
    std::memset(base, static_cast<unsigned char>(value), static_cast<std::size_t>(bytes));
  }
  return true;
}

void QPixMap_FillColor_RGB_24(PixMap** hPixMap, UInt32 color) {
  const unsigned char bytes[3] = {static_cast<unsigned char>(color),
                                  static_cast<unsigned char>(color >> 8),
                                  static_cast<unsigned char>(color >> 16)};
  const SInt32 width = QPixMap_Width(hPixMap);
  for (SInt32 y = 0; y < QPixMap_Height(hPixMap); ++y) {
    unsigned char* pixel = QPixMap_GetStartOfScanLine(hPixMap, y);
    if (pixel == nullptr) return;
    for (SInt32 x = 0; x < width; ++x, pixel += 3) std::memcpy(pixel, bytes, 3);
  }
}
