#include "platform/QuickTime/FrameDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "platform/CoreServices/Files.h"

namespace {

constexpr std::size_t kLargestWorkArea = std::size_t{1} << 30;

/// Converts parts of rows, whatever the alignment of their ends to the source's units.
class RowConverter {
 public:
  RowConverter(const OpenDecompressor::Use& codec, const ImageDecompressorInfo& info,
               const SourcePicture& picture, std::size_t pixelBytes)
      : codec_(codec), info_(info), picture_(picture), pixelBytes_(pixelBytes) {
    needed_ = NeededRowBytes(info, picture.width, picture.rowBytes);
    if (picture.dataSize < needed_) return;
    const std::size_t rows = (picture.dataSize - needed_) / picture.rowBytes + 1;
    rowsThere_ = static_cast<SInt32>(std::min<std::size_t>(rows, picture.height));
  }

  SInt32 rowsThere() const { return rowsThere_; }

  /// Pixels [left, right) of row y, which is there.
  void Convert(SInt32 y, SInt32 left, SInt32 right, UInt8* destination) {
    const SInt32 unit = static_cast<SInt32>(info_.unitPixels);
    const SInt32 start = left / unit * unit;
    const SInt32 units = (right - start + unit - 1) / unit;
    const std::size_t startByte = static_cast<std::size_t>(start / unit) * info_.unitBytes;
    const std::size_t bytes = static_cast<std::size_t>(units) * info_.unitBytes;
    const UInt8* source =
        picture_.data + static_cast<std::size_t>(y) * picture_.rowBytes + startByte;
    if (startByte + bytes > needed_)
      source = CompleteLastUnit(source, startByte, needed_ - startByte, bytes);

    const bool whole = start == left && (right - start) % unit == 0;
    if (whole) {
      codec_.ConvertRow(source, destination, static_cast<UInt32>(right - left));
      return;
    }
    pixels_.resize(static_cast<std::size_t>(units * unit) * pixelBytes_);
    codec_.ConvertRow(source, pixels_.data(), static_cast<UInt32>(right - start));
    std::memcpy(destination, pixels_.data() + static_cast<std::size_t>(left - start) * pixelBytes_,
                static_cast<std::size_t>(right - left) * pixelBytes_);
  }

  /// Pixels [left, right) of the rows [top, bottom), which are there, to rows `rowBytes` apart.
  void Convert(SInt32 top, SInt32 bottom, SInt32 left, SInt32 right, UInt8* destination,
               std::size_t rowBytes) {
    const SInt32 unit = static_cast<SInt32>(info_.unitPixels);
    const bool whole = left % unit == 0 && right % unit == 0 &&
                       static_cast<std::size_t>(right / unit) * info_.unitBytes <= needed_;
    if (whole) {
      const UInt8* source = picture_.data + static_cast<std::size_t>(top) * picture_.rowBytes +
                            static_cast<std::size_t>(left / unit) * info_.unitBytes;
      codec_.ConvertRows({source, static_cast<std::ptrdiff_t>(picture_.rowBytes), destination,
                          static_cast<std::ptrdiff_t>(rowBytes), right - left, bottom - top});
      return;
    }
    for (SInt32 y = top; y < bottom; ++y, destination += rowBytes) {
      Convert(y, left, right, destination);
    }
  }

 private:
  /// A tight odd row ends inside a unit: what the unit lacks is taken from the one before it, so
  /// that the last pixel has its neighbour's chroma; 128 in a row of a single pixel.
  const UInt8* CompleteLastUnit(const UInt8* source, std::size_t startByte, std::size_t there,
                                std::size_t bytes) {
    unitRow_.assign(bytes, 128);
    std::memcpy(unitRow_.data(), source, there);
    const std::size_t unit = info_.unitBytes;
    for (std::size_t i = there; i < bytes; ++i) {
      if (i >= unit) {
        unitRow_[i] = unitRow_[i - unit];
      } else if (startByte >= unit) {
        unitRow_[i] = *(source - (unit - i));
      }
    }
    return unitRow_.data();
  }

  const OpenDecompressor::Use& codec_;
  const ImageDecompressorInfo& info_;
  const SourcePicture& picture_;
  const std::size_t pixelBytes_;
  std::size_t needed_ = 0;
  SInt32 rowsThere_ = 0;
  std::vector<UInt8> unitRow_;
  std::vector<UInt8> pixels_;
};

UInt8* PixelAt(const DestinationRaster& destination, SInt32 h, SInt32 v) {
  return destination.base +
         static_cast<std::size_t>(v - destination.originV) * destination.rowBytes +
         static_cast<std::size_t>(h - destination.originH) * destination.pixelBytes;
}

/// Whether the matrix moves by whole pixels and does nothing else.
bool IsWholeTranslation(const MatrixRecord& matrix) {
  constexpr Fixed kFraction = 0xFFFF;
  return GetMatrixType(&matrix) <= translateMatrixType && (matrix.matrix[2][0] & kFraction) == 0 &&
         (matrix.matrix[2][1] & kFraction) == 0;
}

void DrawTranslated(RowConverter& rows, const SourcePicture& picture, SInt32 dh, SInt32 dv,
                    const DestinationRaster& destination) {
  const FrameBox& clip = destination.clip;
  const FrameBox wanted{clip.left - dh, clip.top - dv, clip.right - dh, clip.bottom - dv};
  const FrameBox part = CommonBox(picture.part, wanted);
  const SInt32 bottom = std::min(part.bottom, rows.rowsThere());
  if (part.left >= part.right || part.top >= bottom) return;
  rows.Convert(part.top, bottom, part.left, part.right,
               PixelAt(destination, part.left + dh, part.top + dv), destination.rowBytes);
}

/// The part of the source, converted, and its bilinear samples.
class ConvertedPart {
 public:
  ConvertedPart(RowConverter& rows, const FrameBox& part, std::size_t pixelBytes)
      : part_(part), pixelBytes_(pixelBytes) {
    bottomThere_ = std::clamp(rows.rowsThere(), part.top, part.bottom);
    rowBytes_ = static_cast<std::size_t>(part.right - part.left) * pixelBytes;
    const std::size_t height = static_cast<std::size_t>(bottomThere_ - part.top);
    if (height != 0 && rowBytes_ > kLargestWorkArea / height) throw std::bad_alloc();
    pixels_.resize(rowBytes_ * height);
    if (bottomThere_ > part.top) {
      rows.Convert(part.top, bottomThere_, part.left, part.right, pixels_.data(), rowBytes_);
    }
  }

  /// Writes the sample at the place, in pixels with whole numbers at pixels' corners. Nothing when
  /// the place lies outside the part or needs a row that is not there.
  void Sample(double x, double y, UInt8* pixel) const {
    if (!(x >= part_.left && x < part_.right && y >= part_.top && y < part_.bottom)) return;
    const Taps column = TapsAt(x - 0.5, part_.left, part_.right);
    const Taps row = TapsAt(y - 0.5, part_.top, part_.bottom);
    const SInt32 lowest = row.weight > 0 ? row.second : row.first;
    if (lowest >= bottomThere_) return;
    const UInt8* upper = Row(row.first);
    const UInt8* lower = Row(lowest);
    const std::size_t first = static_cast<std::size_t>(column.first - part_.left) * pixelBytes_;
    const std::size_t second = static_cast<std::size_t>(column.second - part_.left) * pixelBytes_;
    for (std::size_t i = 0; i < pixelBytes_; ++i) {
      const double top = Mix(upper[first + i], upper[second + i], column.weight);
      const double bottom = Mix(lower[first + i], lower[second + i], column.weight);
      pixel[i] = static_cast<UInt8>(std::lround(Mix(top, bottom, row.weight)));
    }
  }

 private:
  struct Taps {
    SInt32 first;
    SInt32 second;
    double weight;  ///< of the second
  };
  static Taps TapsAt(double place, SInt32 low, SInt32 high) {
    const double floor = std::floor(place);
    const SInt32 first = static_cast<SInt32>(floor);
    return {std::clamp(first, low, high - 1), std::clamp(first + 1, low, high - 1), place - floor};
  }
  static double Mix(double a, double b, double weight) { return a + (b - a) * weight; }
  const UInt8* Row(SInt32 y) const {
    return pixels_.data() + static_cast<std::size_t>(y - part_.top) * rowBytes_;
  }

  FrameBox part_;
  std::size_t pixelBytes_;
  std::size_t rowBytes_ = 0;
  SInt32 bottomThere_ = 0;
  std::vector<UInt8> pixels_;
};

/// The pixels of the clip that the transformed part can reach. A perspective reaches anything.
FrameBox ReachOf(const FrameBox& part, const MatrixRecord& record, const DoubleMatrix& matrix,
                 const FrameBox& clip) {
  if (GetMatrixType(&record) == perspectiveMatrixType) return clip;
  double low[2] = {1e300, 1e300};
  double high[2] = {-1e300, -1e300};
  for (const SInt32 x : {part.left, part.right}) {
    for (const SInt32 y : {part.top, part.bottom}) {
      double place[2] = {0, 0};
      Apply(matrix, x, y, &place[0], &place[1]);
      for (int axis = 0; axis < 2; ++axis) {
        low[axis] = std::min(low[axis], place[axis]);
        high[axis] = std::max(high[axis], place[axis]);
      }
    }
  }
  const auto pixel = [](double value) { return static_cast<SInt32>(std::clamp(value, -1e9, 1e9)); };
  const FrameBox box{pixel(std::floor(low[0])), pixel(std::floor(low[1])),
                     pixel(std::ceil(high[0])), pixel(std::ceil(high[1]))};
  return CommonBox(box, clip);
}

OSErr DrawTransformed(RowConverter& rows, const SourcePicture& picture, const MatrixRecord& record,
                      const DestinationRaster& destination) {
  const DoubleMatrix matrix = ToDouble(record);
  DoubleMatrix inverse;
  if (!Invert(matrix, &inverse)) return matrixErr;
  const FrameBox reach = ReachOf(picture.part, record, matrix, destination.clip);
  if (reach.empty() || picture.part.empty()) return noErr;
  const ConvertedPart part(rows, picture.part, destination.pixelBytes);
  for (SInt32 v = reach.top; v < reach.bottom; ++v) {
    for (SInt32 h = reach.left; h < reach.right; ++h) {
      double x = 0;
      double y = 0;
      if (Apply(inverse, h + 0.5, v + 0.5, &x, &y)) part.Sample(x, y, PixelAt(destination, h, v));
    }
  }
  return noErr;
}

}  // namespace

FrameBox CommonBox(const FrameBox& a, const FrameBox& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

std::size_t TightRowBytes(const ImageDecompressorInfo& info, SInt32 width) {
  const std::size_t pixels = static_cast<std::size_t>(width);
  return (pixels * info.unitBytes + info.unitPixels - 1) / info.unitPixels;
}

std::size_t NeededRowBytes(const ImageDecompressorInfo& info, SInt32 width, std::size_t rowBytes) {
  const std::size_t units =
      (static_cast<std::size_t>(width) + info.unitPixels - 1) / info.unitPixels;
  return std::min(rowBytes, units * info.unitBytes);
}

OSErr DrawPicture(const OpenDecompressor::Use& codec, const ImageDecompressorInfo& info,
                  const SourcePicture& picture, const MatrixRecord& matrix,
                  const DestinationRaster& destination) {
  try {
    RowConverter rows(codec, info, picture, destination.pixelBytes);
    OSErr error = noErr;
    if (IsWholeTranslation(matrix)) {
      DrawTranslated(rows, picture, matrix.matrix[2][0] >> 16, matrix.matrix[2][1] >> 16,
                     destination);
    } else {
      error = DrawTransformed(rows, picture, matrix, destination);
    }
    if (error == noErr && rows.rowsThere() < picture.height) error = codecBadDataErr;
    return error;
  } catch (const std::bad_alloc&) {
    return memFullErr;
  }
}
