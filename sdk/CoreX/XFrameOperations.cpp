#include "sdk/CoreX/XFrameOperations.h"

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/CoreX/XFrameRows.h"

using XFrameKernels::CurrentRowKernels;
using XFrameKernels::kScalarRowKernels;
using XFrameKernels::RowKernels;
using XFrameRows::ApartOrSame;
using XFrameRows::HasPixels;
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

void MeanOfRows(unsigned char* dst, const unsigned char* a, const unsigned char* b,
                std::size_t bytes) {
  KernelsFor(dst, {a, b}, bytes).mean(dst, a, b, bytes);
}

void BlendPairs(const XFrameBuffer& source, XFrameBuffer& dest, std::size_t bytes) {
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
      for (std::size_t i = 0; i < bytes; ++i) {
        const auto mean = static_cast<unsigned char>((a[i] + b[i]) >> 1);
        first[i] = mean;
        second[i] = mean;
      }
    }
  }
}

void BlendThree(const XFrameBuffer& source, XFrameBuffer& dest, std::size_t bytes) {
  const int last = source.Height - 1;
  for (int y = 0; y <= last; ++y) {
    const unsigned char* above = Row(source, std::max(y - 1, 0));
    const unsigned char* row = Row(source, y);
    const unsigned char* below = Row(source, std::min(y + 1, last));
    unsigned char* out = Row(dest, y);
    KernelsFor(out, {above, row, below}, bytes).threeRows(out, above, row, below, bytes);
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

  int cur = first;
  // Beyond the frame there is nothing to take, so there the first step is limited like the others.
  int next = exists(first + 2) ? first + 2 : limited(first + 2);
  for (int y = 0; y < height; ++y) {
    // The destination's rows lie as the source's do.
    unsigned char* out = dest.Pixels + static_cast<std::ptrdiff_t>(y) * source.RowBytes;
    if (!IsOdd(y)) {
      if (exists(cur)) std::memmove(out, Row(source, cur), bytes);
      continue;
    }
    if (exists(cur) && exists(next)) {
      MeanOfRows(out, Row(source, cur), Row(source, next), bytes);
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
  for (int y = 0; y < source.Height; ++y) std::memmove(Row(dest, y), Row(source, y), bytes);
  return true;
}
