#include "sdk/CoreX/XFrameOperations.h"

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/RowThreads.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameRows.h"

using XFrameKernels::CurrentRowKernels;
using XFrameKernels::DestRows;
using XFrameKernels::kScalarRowKernels;
using XFrameKernels::RowKernels;
using XFrameKernels::SourceRows;
using XFrameRows::ApartOrSame;
using XFrameRows::AreApart;
using XFrameRows::HasPixels;
using XFrameRows::HasSeparateRows;
using XFrameRows::Row;
using XFrameRows::RowSize;

namespace {

bool SameLayout(const XFrameBuffer& source, const XFrameBuffer& dest) {
  return source.PixelType == dest.PixelType && source.Width == dest.Width &&
         source.Height == dest.Height && source.RowBytes == dest.RowBytes;
}

bool IsOdd(SInt32 number) {
  return number % 2 != 0;
}

/// The forms differ where one overwrites what another has yet to read.
const RowKernels& KernelsFor(const unsigned char* dst,
                             std::initializer_list<const unsigned char*> rows, std::size_t bytes) {
  for (const unsigned char* row : rows) {
    if (!ApartOrSame(dst, row, bytes)) return kScalarRowKernels;
  }
  return CurrentRowKernels();
}

/// One row alone: a pair's two rows in the same place.
void MeanOfRows(unsigned char* dst, const unsigned char* a, const unsigned char* b,
                std::size_t bytes) {
  KernelsFor(dst, {a, b}, bytes).pairs({dst, 0}, {a, b - a}, bytes, 1);
}

/// How the memory of two frames of the same layout lies.
enum class Sharing {
  None,      ///< all rows are apart
  SameRows,  ///< the frames are the same one, whose rows are apart
  Other,
};

Sharing SharingOf(const XFrameBuffer& source, const XFrameBuffer& dest, std::size_t bytes) {
  if (!HasSeparateRows(source, bytes)) return Sharing::Other;
  if (source.Pixels == dest.Pixels) return Sharing::SameRows;
  return AreApart(source, bytes, dest, bytes) ? Sharing::None : Sharing::Other;
}

SourceRows RowsFrom(const XFrameBuffer& buffer, int y) {
  return {Row(buffer, y), buffer.RowBytes};
}
DestRows RowsInto(const XFrameBuffer& buffer, int y) {
  return {Row(buffer, y), buffer.RowBytes};
}

void BlendPairs(const XFrameBuffer& source, XFrameBuffer& dest, std::size_t bytes) {
  if (SharingOf(source, dest, bytes) != Sharing::Other) {
    const RowKernels& kernels = CurrentRowKernels();
    RowThreads::ForRows(source.Height / 2, 4 * bytes, [&](int first, int end) {
      kernels.pairs(RowsInto(dest, 2 * first), RowsFrom(source, 2 * first), bytes, end - first);
    });
    return;
  }
  for (int y = 0; y < source.Height; y += 2) {
    const unsigned char* a = Row(source, y);
    const unsigned char* b = Row(source, y + 1);
    unsigned char* first = Row(dest, y);
    unsigned char* second = Row(dest, y + 1);
    if (ApartOrSame(first, a, bytes) && ApartOrSame(first, b, bytes) &&
        ApartOrSame(second, a, bytes) && ApartOrSame(second, b, bytes)) {
      MeanOfRows(first, a, b, bytes);
      std::memmove(second, first, bytes);
    } else {
      // Each mean goes into both rows before the next one is taken.
      kScalarRowKernels.pairs(RowsInto(dest, y), RowsFrom(source, y), bytes, 1);
    }
  }
}

void BlendThree(const XFrameBuffer& source, XFrameBuffer& dest, std::size_t bytes) {
  const int last = source.Height - 1;
  if (SharingOf(source, dest, bytes) == Sharing::None) {
    const RowKernels& kernels = CurrentRowKernels();
    RowThreads::ForRows(source.Height, 2 * bytes, [&](int first, int end) {
      kernels.threeRows(RowsInto(dest, first), Row(source, std::max(first - 1, 0)),
                        RowsFrom(source, first), Row(source, std::min(end, last)), bytes,
                        end - first);
    });
    return;
  }
  // What has been written is read again.
  for (int y = 0; y <= last; ++y) {
    const unsigned char* above = Row(source, std::max(y - 1, 0));
    const unsigned char* row = Row(source, y);
    const unsigned char* below = Row(source, std::min(y + 1, last));
    unsigned char* out = Row(dest, y);
    KernelsFor(out, {above, row, below}, bytes)
        .threeRows({out, 0}, above, {row, 0}, below, bytes, 1);
  }
}

}  // namespace

// ---- Deinterlacing

bool XFrame_Deinterlace(const XFrameBuffer& source, XFrameBuffer& dest,
                        const XFrameFilters& filters) {
  if (IsOdd(source.Height) || !SameLayout(source, dest)) return false;
  const UInt32 flags = filters.flags;
  if ((flags & XFrame_Filter_Reserved) != 0) return false;
  if ((flags & (XFrame_Filter_BlendThree | XFrame_Filter_BlendPairs)) != 0) {
    return XFrame_BlendFields(source, dest, filters);
  }
  if ((flags & XFrame_Filter_KeepFirst) != 0) return XFrame_OneFieldOnly_Scalar(source, dest, 0);
  if ((flags & XFrame_Filter_KeepSecond) != 0) return XFrame_OneFieldOnly_Scalar(source, dest, 1);
  return false;
}

bool XFrame_BlendFields(const XFrameBuffer& source, XFrameBuffer& dest,
                        const XFrameFilters& filters) {
  if (!SameLayout(source, dest) || IsOdd(source.Height)) return false;
  const std::size_t bytes = RowSize(source);
  if (bytes == 0 || source.Height <= 0) return true;
  if (!HasPixels(source) || !HasPixels(dest)) return false;
  if ((filters.flags & XFrame_Filter_BlendThree) != 0) {
    BlendThree(source, dest, bytes);
  } else {
    BlendPairs(source, dest, bytes);
  }
  return true;
}

bool XFrame_OneFieldOnly(const XFrameBuffer& source, XFrameBuffer& dest, int field) {
  return XFrame_OneFieldOnly_Scalar(source, dest, field);
}

bool XFrame_OneFieldOnly_Scalar(const XFrameBuffer& source, XFrameBuffer& dest, int field) {
  if (field != 0 && field != 1) return false;
  const int height = source.Height;
  if (height < 1 || source.Width < 1) return true;
  if (!HasPixels(source) || !HasPixels(dest)) return false;

  constexpr std::size_t kPixelBytes = 4;
  const std::size_t bytes = static_cast<std::size_t>(source.Width) * kPixelBytes;
  const int first = field;
  const int last = field == 1 ? height - 1 : height - 2;
  const auto limited = [&](int row) { return std::min(std::max(row, first), last); };
  const auto exists = [&](int row) { return row >= 0 && row < height; };

  XFrameBuffer out = dest;  // Its rows lie as the source's do.
  out.Height = height;
  out.RowBytes = source.RowBytes;
  int cur = first;
  // Beyond the frame there is nothing to take, so there the first step is limited like the others.
  int next = exists(first + 2) ? first + 2 : limited(first + 2);
  int y = 0;
  const int pairs = (last - first) / 2;
  const Sharing sharing = SharingOf(source, out, bytes);
  if (pairs > 0 && sharing != Sharing::Other) {
    // All whose two source rows follow each other.
    const RowKernels& kernels = CurrentRowKernels();
    const SInt64 step = 2 * SInt64{source.RowBytes};
    const auto make = [&](int from, int end) {
      kernels.field(RowsInto(out, 2 * from), {Row(source, first + 2 * from), step}, bytes,
                    end - from);
    };
    if (sharing == Sharing::None) {
      RowThreads::ForRows(pairs, 3 * bytes, make);
    } else {
      make(0, pairs);  // A block's first row is the neighbour of the block before.
    }
    y = 2 * pairs;
    cur = first + y;
    next = limited(cur + 2);
  }
  for (; y < height; ++y) {
    unsigned char* const row = Row(out, y);
    if (!IsOdd(y)) {
      if (exists(cur)) std::memmove(row, Row(source, cur), bytes);
      continue;
    }
    if (exists(cur) && exists(next)) {
      MeanOfRows(row, Row(source, cur), Row(source, next), bytes);
    }
    cur = limited(next);
    next = limited(next + 2);
  }
  return true;
}

bool XFrame_DeInterlaceAdaptive(const XFrameBuffer& /*source*/, XFrameBuffer& /*dest*/,
                                const XFrameFilters& /*filters*/) {
  return false;
}

bool XFrame_BlackenField(XFrameBuffer& buffer, int field) {
  if (!HasPixels(buffer) || buffer.Width == 0 || buffer.Height == 0) return false;
  const std::size_t bytes = RowSize(buffer);
  for (SInt64 y = field; y < buffer.Height; y += 2) {
    if (y >= 0) std::memset(Row(buffer, static_cast<int>(y)), 0, bytes);
  }
  return true;
}

// ---- Copying

bool XFrame_CopyBufferMemory(const XFrameBuffer& source, XFrameBuffer& dest) {
  if (!VERIFY_TEXT(__LINE__, "Source==Destination", SameLayout(source, dest))) return false;
  const std::size_t bytes = RowSize(source);
  if (bytes == 0 || source.Height <= 0) return true;
  if (!HasPixels(source) || !HasPixels(dest)) return false;
  if (SharingOf(source, dest, bytes) == Sharing::None) {
    const bool gapless = source.RowBytes == static_cast<SInt64>(bytes);
    RowThreads::ForRows(source.Height, 2 * bytes, [&](int first, int end) {
      const int rows = gapless ? 1 : end - first;
      const std::size_t length = gapless ? bytes * static_cast<std::size_t>(end - first) : bytes;
      for (int y = first; y < first + rows; ++y) {
        std::memcpy(Row(dest, y), Row(source, y), length);
      }
    });
    return true;
  }
  for (int y = 0; y < source.Height; ++y) std::memmove(Row(dest, y), Row(source, y), bytes);
  return true;
}
