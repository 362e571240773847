#include "platform/QuickDraw/CopyBits.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "platform/QuickDraw/PixMaps.h"
#include "platform/QuickDraw/PixelAccess.h"
#include "platform/QuickDraw/QDOffscreen.h"
#include "platform/QuickDraw/Rects.h"

using PixelAccess::Raster;
using PixelAccess::Rgb;
using PixelAccess::Ycc;

namespace {

/// A bitmap as the pixel map it is the short form of.
PixMap RecordOf(const BitMap* bits) {
  BitMap start;
  std::memcpy(&start, bits, sizeof(start));
  PixMap record{};
  if ((static_cast<UInt16>(start.rowBytes) & kPixMapRowBytesFlag) != 0) {
    std::memcpy(&record, bits, sizeof(record));
    return record;
  }
  record.baseAddr = start.baseAddr;
  record.rowBytes = start.rowBytes;
  record.bounds = start.bounds;
  record.pixelSize = 1;
  return record;
}

/// False for a raster without pixels that can be touched.
bool RasterOf(const BitMap* bits, Raster* raster) {
  if (bits == nullptr) return false;
  PixMap record = RecordOf(bits);
  PixMap* pointer = &record;
  raster->base = reinterpret_cast<UInt8*>(record.baseAddr);
  raster->rowBytes = QTGetPixMapPtrRowBytes(&record);
  raster->bounds = record.bounds;
  raster->format = FindPixelFormat(GetPixMapPixelFormat(&pointer));
  raster->table = record.pmTable;
  if (raster->base == nullptr || raster->format == nullptr || EmptyRect(&record.bounds)) {
    return false;
  }
  const SInt64 rows = raster->rowBytes * (record.bounds.bottom - record.bounds.top);
  raster->size = record.knownBytes == 0 ? rows : std::min<SInt64>(rows, record.knownBytes);
  return raster->size > 0;
}

/// The source pixels, counted from its raster's first one, of the destination coordinates
/// [first, last) along one axis; -1 for those the source does not have.
std::vector<SInt32> Mapping(SInt32 first, SInt32 last, SInt32 dstStart, SInt32 dstSize,
                            SInt32 srcStart, SInt32 srcSize, SInt32 srcLow, SInt32 srcHigh) {
  std::vector<SInt32> map;
  map.reserve(static_cast<std::size_t>(last - first));
  for (SInt32 at = first; at < last; ++at) {
    const SInt64 centre = 2 * static_cast<SInt64>(at - dstStart) + 1;
    const SInt64 from = srcStart + centre * srcSize / (2 * static_cast<SInt64>(dstSize));
    map.push_back(from >= srcLow && from < srcHigh ? static_cast<SInt32>(from - srcLow) : -1);
  }
  return map;
}

/// One row of a copy: pixels [first, first + columns.size()) of row `dstY` from `columns` of
/// `srcY`.
class RowCopier {
 public:
  RowCopier(const Raster& src, const Raster& dst, SInt32 first, const std::vector<SInt32>& columns)
      : src_(src), dst_(dst), first_(first), columns_(columns) {
    if (PixelAccess::IsYcc(*dst.format)) colours_.resize(columns.size());
    wanted_.resize(columns.size());
  }

  void operator()(SInt32 dstY, SInt32 srcY) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      wanted_[i] = columns_[i] >= 0 && PixelAccess::Exists(src_, columns_[i], srcY) &&
                   PixelAccess::Exists(dst_, first_ + static_cast<SInt32>(i), dstY);
    }
    if (CanCopyUnits()) {
      CopyUnits(dstY, srcY);
    } else if (PixelAccess::IsYcc(*dst_.format)) {
      CopyYcc(dstY, srcY);
    } else {
      CopyRgb(dstY, srcY);
    }
  }

 private:
  bool CanCopyUnits() const {
    return src_.format == dst_.format && src_.format->unitPixels == 1 && src_.table == dst_.table;
  }

  void CopyUnits(SInt32 dstY, SInt32 srcY) {
    const std::size_t bytes = src_.format->unitBytes;
    const UInt8* from = src_.base + srcY * src_.rowBytes;
    UInt8* to = dst_.base + dstY * dst_.rowBytes;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!wanted_[i]) continue;
      const std::size_t x = static_cast<std::size_t>(first_) + i;
      std::memcpy(to + x * bytes, from + static_cast<std::size_t>(columns_[i]) * bytes, bytes);
    }
  }

  void CopyRgb(SInt32 dstY, SInt32 srcY) {
    const bool fromYcc = PixelAccess::IsYcc(*src_.format);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!wanted_[i]) continue;
      const Rgb colour = fromYcc
                             ? PixelAccess::RgbOfYcc(PixelAccess::ReadYcc(src_, columns_[i], srcY))
                             : PixelAccess::ReadRgb(src_, columns_[i], srcY);
      PixelAccess::WriteRgb(dst_, first_ + static_cast<SInt32>(i), dstY, colour);
    }
  }

  void CopyYcc(SInt32 dstY, SInt32 srcY) {
    const bool fromYcc = PixelAccess::IsYcc(*src_.format);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!wanted_[i]) continue;
      colours_[i] = fromYcc ? PixelAccess::ReadYcc(src_, columns_[i], srcY)
                            : PixelAccess::YccOfRgb(PixelAccess::ReadRgb(src_, columns_[i], srcY));
    }
    const bool paired = PixelAccess::IsPaired(*dst_.format);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!wanted_[i]) continue;
      const SInt32 x = first_ + static_cast<SInt32>(i);
      Ycc colour = colours_[i];
      // The pair's other pixel, where it is copied too.
      const bool second = x % 2 != 0;
      const bool haveOther =
          second ? i > 0 && wanted_[i - 1] : i + 1 < columns_.size() && wanted_[i + 1];
      if (paired && haveOther) {
        const Ycc& other = colours_[second ? i - 1 : i + 1];
        colour.cb = static_cast<UInt8>((colour.cb + other.cb + 1) / 2);
        colour.cr = static_cast<UInt8>((colour.cr + other.cr + 1) / 2);
      }
      PixelAccess::WriteYcc(dst_, x, dstY, colour, true);
    }
  }

  const Raster& src_;
  const Raster& dst_;
  SInt32 first_;
  const std::vector<SInt32>& columns_;
  std::vector<char> wanted_;
  std::vector<Ycc> colours_;
};

bool ShareMemory(const Raster& a, const Raster& b) {
  const auto start = [](const Raster& r) { return reinterpret_cast<std::uintptr_t>(r.base); };
  return start(a) < start(b) + static_cast<std::uintptr_t>(b.size) &&
         start(b) < start(a) + static_cast<std::uintptr_t>(a.size);
}

void Copy(Raster src, const Raster& dst, const Rect& from, const Rect& to, const Rect& area) {
  std::vector<UInt8> aside;
  if (ShareMemory(src, dst)) {
    aside.assign(src.base, src.base + src.size);
    src.base = aside.data();
  }
  const std::vector<SInt32> columns =
      Mapping(area.left, area.right, to.left, to.right - to.left, from.left, from.right - from.left,
              src.bounds.left, src.bounds.right);
  const std::vector<SInt32> rows =
      Mapping(area.top, area.bottom, to.top, to.bottom - to.top, from.top, from.bottom - from.top,
              src.bounds.top, src.bounds.bottom);
  RowCopier copyRow(src, dst, area.left - dst.bounds.left, columns);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i] < 0) continue;
    copyRow(area.top - dst.bounds.top + static_cast<SInt32>(i), rows[i]);
  }
}

}  // namespace

const BitMap* GetPortBitMapForCopyBits(CGrafPtr port) {
  const PixMapHandle pm = GetPortPixMap(port);
  return pm == nullptr ? nullptr : reinterpret_cast<const BitMap*>(*pm);
}

void CopyBits(const BitMap* srcBits, const BitMap* dstBits, const Rect* srcRect,
              const Rect* dstRect, SInt16 mode, RgnHandle maskRgn) {
  if (mode != srcCopy && mode != ditherCopy) return;
  Raster src;
  Raster dst;
  if (!RasterOf(srcBits, &src) || !RasterOf(dstBits, &dst)) return;
  if (EmptyRect(srcRect) || EmptyRect(dstRect)) return;
  const Rect from = *srcRect;
  const Rect to = *dstRect;
  Rect area;
  if (!SectRect(&to, &dst.bounds, &area)) return;
  if (maskRgn != nullptr) {
    Rect box;
    GetRegionBounds(maskRgn, &box);
    if (!SectRect(&area, &box, &area)) return;
  }
  try {
    Copy(src, dst, from, to, area);
  } catch (const std::bad_alloc&) {
    // As the platform does without memory: the pixels that are there stay.
    return;
  }
}
