#include "platform/QuickDraw/QDOffscreen.h"

#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/PixelFormats.h"
#include "platform/QuickDraw/Rects.h"

struct OpaqueGrafPtr {
  PixMapHandle pixMap;
  Ptr ownedPixels;  ///< null for an alias
  SInt64 ownedBytes;
};

namespace {

constexpr SInt64 kRowAlignment = 16;
constexpr SInt64 kLargestRaster = 0x7FFFFFFF - kMacMemorySlack;

struct Worlds {
  std::mutex mutex;
  /// Each with a number of its own, since a new world may lie where an old one did.
  std::unordered_map<GWorldPtr, UInt64> live;
  UInt64 nextNumber = 1;
  SInt64 ownedBytes = 0;
};

/// Never destroyed: static objects may dispose of their worlds at exit.
Worlds& TheWorlds() {
  static Worlds& worlds = *new Worlds;
  return worlds;
}

thread_local GWorldPtr tCurrentPort = nullptr;
thread_local UInt64 tCurrentPortNumber = 0;

/// The number of a live world; 0 for anything else.
UInt64 NumberOf(GWorldPtr world) {
  if (world == nullptr) return 0;
  Worlds& worlds = TheWorlds();
  const std::lock_guard<std::mutex> guard(worlds.mutex);
  const auto found = worlds.live.find(world);
  return found == worlds.live.end() ? 0 : found->second;
}

void FillPixMapRecord(PixMap& record, const PixelFormatInfo& format, const Rect& bounds, Ptr base,
                      SInt32 rowBytes) {
  record.baseAddr = base;
  QTSetPixMapPtrRowBytes(&record, rowBytes);
  record.bounds = bounds;
  record.pixelType = format.direct ? 16 : 0;
  record.pixelSize = format.bitsPerPixel;
  record.cmpCount = format.direct ? 3 : 1;
  const SInt16 component = format.bitsPerPixel == 16 ? 5 : format.bitsPerPixel >= 48 ? 16 : 8;
  record.cmpSize = format.direct ? component : format.bitsPerPixel;
  record.pixelFormat = format.code;
}

/// Takes over `ownedPixels`, also when it fails.
OSErr AdoptPixels(GWorldPtr* world, const PixelFormatInfo& format, const Rect& bounds,
                  CTabHandle cTable, Ptr base, SInt32 rowBytes, Ptr ownedPixels,
                  SInt64 ownedBytes) {
  Handle table = reinterpret_cast<Handle>(cTable);
  OSErr error = table == nullptr ? noErr : HandToHand(&table);
  if (error != noErr) {
    DisposePtr(ownedPixels);
    return error;
  }
  const PixMapHandle pixMap = NewPixMap();
  const GWorldPtr fresh = new (std::nothrow) OpaqueGrafPtr{pixMap, ownedPixels, ownedBytes};
  if (pixMap == nullptr || fresh == nullptr) error = memFullErr;
  if (error == noErr) {
    FillPixMapRecord(**pixMap, format, bounds, base, rowBytes);
    (*pixMap)->pmTable = reinterpret_cast<CTabHandle>(table);
    try {
      Worlds& worlds = TheWorlds();
      const std::lock_guard<std::mutex> guard(worlds.mutex);
      worlds.live.emplace(fresh, worlds.nextNumber);
      ++worlds.nextNumber;
      worlds.ownedBytes += ownedBytes;
      *world = fresh;
      return noErr;
    } catch (const std::bad_alloc&) {
      error = memFullErr;
      (*pixMap)->pmTable = nullptr;
    }
  }
  delete fresh;
  if (pixMap != nullptr) DisposePixMap(pixMap);
  if (table != nullptr) DisposeHandle(table);
  DisposePtr(ownedPixels);
  return error;
}

OSErr CheckNewWorld(GWorldPtr* world, OSType* pixelFormat, const Rect* bounds,
                    const PixelFormatInfo** format) {
  if (world == nullptr) return paramErr;
  *world = nullptr;
  if (EmptyRect(bounds)) return paramErr;
  if (*pixelFormat == 0) *pixelFormat = k32ARGBPixelFormat;
  *format = FindPixelFormat(*pixelFormat);
  return *format == nullptr ? cDepthErr : noErr;
}

/// Erases pixels [left, right) of a row of `rowBytes`, whose last pair may be half a pair.
void EraseRow(UInt8* row, SInt32 rowBytes, const PixelFormatInfo& format, SInt32 left,
              SInt32 right) {
  if (format.unitPixels == 1) {
    for (SInt32 x = left; x < right; ++x) {
      std::memcpy(row + static_cast<std::ptrdiff_t>(x) * format.unitBytes, format.white,
                  format.unitBytes);
    }
  } else if (format.unitBytes == 1) {
    const int bits = format.bitsPerPixel;
    for (SInt32 x = left; x < right; ++x) {
      const int shift = 8 - bits * (x % format.unitPixels + 1);
      const UInt8 mask = static_cast<UInt8>(((1 << bits) - 1) << shift);
      UInt8& byte = row[x / format.unitPixels];
      byte = static_cast<UInt8>((byte & ~mask) | (format.white[0] & mask));
    }
  } else {
    // 4:2:2: the luma of a pixel lies one byte after its chroma or before it.
    const bool lumaFirst = format.white[0] == 235;
    for (SInt32 x = left; x < right; ++x) {
      const SInt32 pair = x / 2 * 4;
      const int luma = (lumaFirst ? 0 : 1) + 2 * (x % 2);
      const int chroma = lumaFirst ? 1 : 0;
      for (const int byte : {luma, chroma, chroma + 2}) {
        if (pair + byte < rowBytes) row[pair + byte] = format.white[byte];
      }
    }
  }
}

}  // namespace

OSErr QTNewGWorld(GWorldPtr* world, OSType pixelFormat, const Rect* bounds, CTabHandle cTable,
                  GDHandle, GWorldFlags) {
  const PixelFormatInfo* format = nullptr;
  const OSErr error = CheckNewWorld(world, &pixelFormat, bounds, &format);
  if (error != noErr) return error;
  const SInt64 need = QTGetPixelFormatRowSize(pixelFormat, bounds->right - bounds->left);
  const SInt64 rowBytes = (need + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
  const SInt64 bytes = rowBytes * (bounds->bottom - bounds->top);
  if (bytes > kLargestRaster) return memFullErr;
  const Ptr pixels = NewPtrClear(static_cast<Size>(bytes));
  if (pixels == nullptr) return memFullErr;
  return AdoptPixels(world, *format, *bounds, cTable, pixels, static_cast<SInt32>(rowBytes), pixels,
                     bytes);
}

OSErr QTNewGWorldFromPtr(GWorldPtr* world, OSType pixelFormat, const Rect* bounds,
                         CTabHandle cTable, GDHandle, GWorldFlags, void* buffer, SInt32 rowBytes) {
  const PixelFormatInfo* format = nullptr;
  const OSErr error = CheckNewWorld(world, &pixelFormat, bounds, &format);
  if (error != noErr) return error;
  if (buffer == nullptr || rowBytes <= 0) return paramErr;
  // An odd row of pairs may end with half a pair: its first pixel is whole.
  const SInt64 need =
      (static_cast<SInt64>(bounds->right - bounds->left) * format->bitsPerPixel + 7) / 8;
  const SInt64 bytes = static_cast<SInt64>(rowBytes) * (bounds->bottom - bounds->top);
  if (rowBytes < need || bytes > 0x7FFFFFFF) return paramErr;
  return AdoptPixels(world, *format, *bounds, cTable, static_cast<Ptr>(buffer), rowBytes, nullptr,
                     0);
}

OSErr NewGWorld(GWorldPtr* world, SInt16 depth, const Rect* bounds, CTabHandle cTable, GDHandle gdh,
                GWorldFlags flags) {
  return QTNewGWorld(world, static_cast<OSType>(depth), bounds, cTable, gdh, flags);
}

void DisposeGWorld(GWorldPtr world) {
  {
    Worlds& worlds = TheWorlds();
    const std::lock_guard<std::mutex> guard(worlds.mutex);
    if (worlds.live.erase(world) == 0) return;
    worlds.ownedBytes -= world->ownedBytes;
  }
  DisposePixMap(world->pixMap);
  DisposePtr(world->ownedPixels);
  delete world;
}

PixMapHandle GetGWorldPixMap(GWorldPtr world) {
  return NumberOf(world) == 0 ? nullptr : world->pixMap;
}

PixMapHandle GetPortPixMap(CGrafPtr port) {
  return GetGWorldPixMap(port);
}

Rect* GetPortBounds(CGrafPtr port, Rect* bounds) {
  return GetPixBounds(GetGWorldPixMap(port), bounds);
}

void SetGWorld(CGrafPtr port, GDHandle) {
  const UInt64 number = NumberOf(port);
  tCurrentPort = number == 0 ? nullptr : port;
  tCurrentPortNumber = number;
}

void GetGWorld(CGrafPtr* port, GDHandle* gdh) {
  if (tCurrentPort != nullptr && NumberOf(tCurrentPort) != tCurrentPortNumber) {
    tCurrentPort = nullptr;
  }
  if (port != nullptr) *port = tCurrentPort;
  if (gdh != nullptr) *gdh = nullptr;
}

void EraseRect(const Rect* r) {
  CGrafPtr port = nullptr;
  GetGWorld(&port, nullptr);
  const PixMapHandle pm = GetGWorldPixMap(port);
  if (pm == nullptr || r == nullptr) return;
  const Rect bounds = (*pm)->bounds;
  Rect area;
  const PixelFormatInfo* format = FindPixelFormat(GetPixMapPixelFormat(pm));
  if (format == nullptr || !SectRect(r, &bounds, &area)) return;
  const SInt32 rowBytes = QTGetPixMapHandleRowBytes(pm);
  UInt8* base = reinterpret_cast<UInt8*>(GetPixBaseAddr(pm));
  for (SInt32 y = area.top - bounds.top; y < area.bottom - bounds.top; ++y) {
    EraseRow(base + static_cast<std::ptrdiff_t>(y) * rowBytes, rowBytes, *format,
             area.left - bounds.left, area.right - bounds.left);
  }
}

GWorldCounters GWorldGetCounters() {
  Worlds& worlds = TheWorlds();
  const std::lock_guard<std::mutex> guard(worlds.mutex);
  return {static_cast<SInt64>(worlds.live.size()), worlds.ownedBytes};
}
