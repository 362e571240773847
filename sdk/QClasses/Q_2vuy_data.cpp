#include "sdk/QClasses/Q_2vuy_data.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreGeometry/NormalValue.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"
#include "sdk/QClasses/Q_2vuy_rows.h"

using CoreGeometry::NormalFloat;
using Q_2vuy::ForRowBlocks;
using Q_2vuy::HistogramOf;
using Q_2vuy::LevelTable;
using Q_2vuy::RowBlock;
using Q_2vuy::RowKernels;
using RasterGraphics::LumaCLUT;
using RasterGraphics::LumaHistogram;
using RasterGraphics::LumaMapping;

namespace {

using pixel_ptr_t = unsigned char*;

constexpr SInt16 kDescriptionVersion = 2;
constexpr CodecQ kSpatialQuality = 1024;
constexpr Fixed k72PixelsPerInch = 72 << 16;
constexpr SInt16 kBitsPerPixel = 24;
constexpr SInt16 kNoColourTable = -1;
constexpr unsigned int kNeutralChroma = 128;
// Deliberately below video black: what was never written shows.
constexpr unsigned int kUnwrittenLuma = 0;

const RowKernels& Kernels() {
  return Q_2vuy::CurrentRowKernels();
}

/// Whether rows may be worked on in any order: not with the form that minds how frames overlap.
bool StandAlone(const RowKernels& kernels) {
  return &kernels == &Kernels();
}

}  // namespace

// ---- Q_2vuy_format

bool Q_2vuy_format::IsValidPixelFormat(UInt32 format) {
  return format == '2vuy' || format == 'yuvs';
}

bool Q_2vuy_format::Construct(const QImageDescription& description) {
  *this = Q_2vuy_format();
  const UInt32 format = description.GetPixelFormat();
  if (!IsValidPixelFormat(format)) return false;
  _PixelFormat = format;
  _Width = description.Width();
  _Height = description.Height();
  _RowBytes = _Width * 2;
  SInt32 rowBytes = 0;
  // Reading an extension changes nothing, though the call is not const.
  if (const_cast<QImageDescription&>(description).GetExtension_rowb(rowBytes, 1)) {
    _RowBytes = rowBytes;
  }
  return true;
}

bool Q_2vuy_format::FormatCompatible(const Q_2vuy_format& other) const {
  return _Width == other._Width && _Height == other._Height &&
         IsValidPixelFormat(other._PixelFormat);
}

UInt32 Q_2vuy_format::FrameSizeBytes() const {
  return static_cast<UInt32>(_Height) * static_cast<UInt32>(_RowBytes);
}

bool Q_2vuy_format::GetImageDescription(QImageDescription& outImageDescription) const {
  ImageDescriptionHandle _desc =
      reinterpret_cast<ImageDescriptionHandle>(NewHandleClear(sizeof(ImageDescription)));
  OSStatus err = noErr;
  VERIFY_ERR(err = MemError());
  if (err != noErr || !VERIFY(_desc)) return false;

  ImageDescription& description = **_desc;
  description.idSize = sizeof(ImageDescription);
  description.cType = _PixelFormat;
  description.version = kDescriptionVersion;
  description.vendor = static_cast<SInt32>(kPlatformManufacturer);
  description.spatialQuality = kSpatialQuality;
  description.width = _Width;
  description.height = _Height;
  description.hRes = k72PixelsPerInch;
  description.vRes = k72PixelsPerInch;
  description.dataSize = _Width * 2 * _Height;
  description.frameCount = 1;
  description.depth = kBitsPerPixel;
  description.clutID = kNoColourTable;

  // An extension that cannot be attached is reported; the description is still of use.
  const FieldInfoImageDescriptionExtension2 fieldInfo = {1, 0};
  VERIFY_ERR(err = ICMImageDescriptionSetProperty(_desc, kQTPropertyClass_ImageDescription, kICMImageDescriptionPropertyID_FieldInfo, sizeof(FieldInfoImageDescriptionExtension2), &fieldInfo));
  const CleanApertureImageDescriptionExtension cleanAperture = {
      static_cast<UInt32>(_Width), 1, static_cast<UInt32>(_Height), 1, 0, 1, 0, 1};
  VERIFY_ERR(err = ICMImageDescriptionSetProperty(_desc, kQTPropertyClass_ImageDescription, kICMImageDescriptionPropertyID_CleanAperture, sizeof(CleanApertureImageDescriptionExtension), &cleanAperture));
  const PixelAspectRatioImageDescriptionExtension pixelAspectRatio = {1, 1};
  VERIFY_ERR(err = ICMImageDescriptionSetProperty(_desc, kQTPropertyClass_ImageDescription, kICMImageDescriptionPropertyID_PixelAspectRatio, sizeof(PixelAspectRatioImageDescriptionExtension), &pixelAspectRatio));

  bool fOk = false;
  VERIFY(fOk = outImageDescription.Construct(_desc, false));
  return fOk;
}

void Q_2vuy_format::DebugDump(const char* /*label*/) const {
  CoreMachDebugLog("Q_2vuy_format::DebugDump _Width,_Height(%d,%d)\n", _Width, _Height);
  CoreMachDebugLog("Q_2vuy_format::DebugDump _RowBytes(%d)\n", _RowBytes);
  CoreMachDebugLog("Q_2vuy_format::DebugDump _PixelFormat:%08lx\n",
                   static_cast<unsigned long>(_PixelFormat));
}

// ---- Q_2vuy_data: state

Q_2vuy_data::Q_2vuy_data(const QImageDescription& inImageDescription, void* pixels, UInt32 size) {
  if (VERIFY(Construct(inImageDescription))) {
    _PixelData = static_cast<pixel_ptr_t>(pixels);
    _PixelDataSize = size;
  }
}

Q_2vuy_data& Q_2vuy_data::operator=(const Q_2vuy_data& rhs) {
  _Width = rhs._Width;
  _Height = rhs._Height;
  _RowBytes = rhs._RowBytes;
  _PixelData = rhs._PixelData;
  _PixelDataSize = rhs._PixelDataSize;
  return *this;
}

bool Q_2vuy_data::IsConstructed() const {
  return _PixelData != nullptr && _PixelDataSize != 0 && _Width != 0 && _Height != 0 &&
         _RowBytes != 0;
}

bool Q_2vuy_data::SetFormat(const Q_2vuy_format& format) {
  _Width = format._Width;
  _Height = format._Height;
  _RowBytes = format._RowBytes;
  return _Width != 0 && _Height != 0 && _RowBytes != 0;
}

bool Q_2vuy_data::CanCopyFormat(const Q_2vuy_data& rhs) const {
  return FormatCompatible(rhs);
}

bool Q_2vuy_data::CanCopyFormat(const CoreGraphics::BitmapContext& in_rhs) const {
  bool fOk = false;
  if (VERIFY_TEXT(__LINE__, "in_rhs.IsConstructed()",
                  in_rhs.GetImageDataBytes() != nullptr && in_rhs.GetImageDataSize() != 0 &&
                      in_rhs.GetImageRowBytes() != 0 && in_rhs.GetContextRef() != nullptr)) {
    const QPoint sizePixels = in_rhs.SizePixels();
    if (VERIFY(sizePixels.h==_Width) && VERIFY(sizePixels.v==_Height)) {
      VERIFY(fOk = (CoreGraphics::BitmapContext::BitmapType_Device_ARGB==in_rhs.GetImageType()));
    }
  }
  return fOk;
}

bool Q_2vuy_data::CanCopyFormat(const QGWorld& in_rhs) const {
  bool fOk = false;
  if (VERIFY(in_rhs.IsConstructed())) {
    const QSize sizePixels = in_rhs.SizePixels();
    if (VERIFY(sizePixels.cx()==_Width) && VERIFY(sizePixels.cy()==_Height)) {
      VERIFY(fOk = (k32ARGBPixelFormat==in_rhs.GetPixelFormat()));
    }
  }
  return fOk;
}

bool Q_2vuy_data::ConstructSubImage(Q_2vuy_data& out, const QRect& r) const {
  out._Width = 0;
  out._Height = 0;
  out._RowBytes = 0;
  out._PixelFormat = '2vuy';
  out._PixelData = nullptr;
  out._PixelDataSize = 0;
  if (IsEmpty() || (r.left & 1) != 0) return false;

  const SInt64 offset = SInt64{r.top} * _RowBytes + SInt64{r.left} * 2;
  out._Width = static_cast<SInt16>(r.right - r.left);
  out._Height = static_cast<SInt16>(r.bottom - r.top);
  out._RowBytes = _RowBytes;
  out._PixelData = reinterpret_cast<pixel_ptr_t>(reinterpret_cast<std::uintptr_t>(_PixelData) +
                                                 static_cast<std::uintptr_t>(offset));
  out._PixelDataSize = out.FrameSizeBytes();
  // A frame with less data than its size needs has no more for its parts.
  if (_PixelDataSize < FrameSizeBytes()) {
    const SInt64 left = std::clamp<SInt64>(SInt64{_PixelDataSize} - offset, 0, out._PixelDataSize);
    out._PixelDataSize = static_cast<UInt32>(left);
  }
  return true;
}

bool Q_2vuy_data::ConstructGWorld(QGWorld& outWorld) const {
  bool fOk = false;
  QImageDescription imageDescription;
  if (VERIFY(GetImageDescription(imageDescription))) {
    VERIFY_TEXT(__LINE__, "fOk=outWorld.ConstructAlias((Ptr)_PixelData, imageDescription)",
                fOk = outWorld.ConstructAlias(reinterpret_cast<Ptr>(_PixelData),
                                              imageDescription.GetHandle()));
  }
  return fOk;
}

bool Q_2vuy_data::AllocateBuffer(const Q_2vuy_format& in_rhs) {
  if (!VERIFY(IsEmpty())) return false;
  if (!VERIFY(in_rhs.FrameSizeBytes())) return false;
  _Width = in_rhs._Width;
  _Height = in_rhs._Height;
  _RowBytes = in_rhs._RowBytes;
  _PixelDataSize = FrameSizeBytes();
  // A negative side makes a size that no heap is asked for.
  const bool possible = _Height > 0 && _RowBytes > 0 && SInt64{_Height} * _RowBytes <= 0x7FFFFFFF;
  _PixelData =
      possible
          ? static_cast<pixel_ptr_t>(std::malloc(std::size_t{_PixelDataSize} + kMacMemorySlack))
          : nullptr;
  if (!VERIFY_TEXT(__LINE__, "_PixelData = (pixel_ptr_t)std::malloc(_PixelDataSize)",
                   _PixelData != nullptr)) {
    return false;
  }
  // Bytes that no pixel covers (padding, slack) must not show what the heap held before.
  std::memset(_PixelData, 0, std::size_t{_PixelDataSize} + kMacMemorySlack);
  CopyPixelsFromColor(kUnwrittenLuma, kNeutralChroma, kNeutralChroma);
  return true;
}

bool Q_2vuy_data::FreeBuffer() {
  if (_PixelData == nullptr) return false;
  std::free(_PixelData);
  return true;
}

void Q_2vuy_data::DebugDump(const char* label) const {
  Q_2vuy_format::DebugDump(label);
  CoreMachDebugLog("Q_2vuy_data::DebugDump _PixelData:%08lx\n",
                   static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(_PixelData)));
  CoreMachDebugLog("Q_2vuy_data::DebugDump _PixelDataSize:%d\n", static_cast<int>(_PixelDataSize));
}

Q_2vuy_buffer::~Q_2vuy_buffer() {
  if (IsConstructed()) FreeBuffer();
}

// ---- Q_2vuy_data: rows

unsigned char* Q_2vuy_data::Row(int y) const {
  return _PixelData + static_cast<std::ptrdiff_t>(y) * _RowBytes;
}

/// How many pixels of a row may be used: all of them where the data reach so far, else the whole
/// units that are there.
int Q_2vuy_data::ReachableWidth(int y) const {
  const SInt64 start = SInt64{y} * _RowBytes;
  if (_PixelData == nullptr || start < 0 || start >= SInt64{_PixelDataSize}) return 0;
  const SInt64 bytes = SInt64{_PixelDataSize} - start;
  return bytes >= SInt64{_Width} * 2 ? _Width : static_cast<int>(bytes / 4 * 2);
}

Q_2vuy::Rows Q_2vuy_data::RowsFrom(const Q_2vuy_data& source, int y, int width, int height) {
  return {source.Row(y), source._RowBytes, Row(y), _RowBytes, width, height};
}

/// Whether no row reaches into the next one.
bool Q_2vuy_data::RowsAreApart() const {
  return _Height <= 1 || SInt32{_RowBytes} >= (SInt32{_Width} + 1) / 2 * 4;
}

/// The form for rows of `source` into this frame's. The vector forms take rows that are apart or
/// the same.
const RowKernels& Q_2vuy_data::KernelsFor(const Q_2vuy_data& source) const {
  if (!RowsAreApart()) return Q_2vuy::kScalarRowKernels;
  if (_PixelData == source._PixelData && _RowBytes == source._RowBytes) return Kernels();
  const auto endOf = [](const Q_2vuy_data& frame) {
    return frame._PixelData + std::max<SInt64>(frame._RowBytes, 0) * (frame._Height - 1) +
           SInt64{frame._Width} * 2 + 2;
  };
  const std::less<const unsigned char*> before;
  const bool apart = !before(_PixelData, endOf(source)) || !before(source._PixelData, endOf(*this));
  return apart ? Kernels() : Q_2vuy::kScalarRowKernels;
}

void Q_2vuy_data::ConvertScanline_2vuy_to_ARGB(const unsigned char* src, unsigned char* dst,
                                               int width) {
  Kernels().conversion.to_ARGB({src, 0, dst, 0, width, 1});
}

template <>
void Q_2vuy_data::ConvertScanline_ARGB_to_2vuy<false>(const unsigned char* src, unsigned char* dst,
                                                      int width, float /*opacity*/) {
  Kernels().conversion.from_ARGB({src, 0, dst, 0, width, 1});
}

template <>
void Q_2vuy_data::ConvertScanline_ARGB_to_2vuy<true>(const unsigned char* src, unsigned char* dst,
                                                     int width, float opacity) {
  Kernels().conversion.over_ARGB({src, 0, dst, 0, width, 1}, opacity);
}

template <>
void Q_2vuy_data::BlendScanline_2vuy<false>(unsigned char* dst, const unsigned char* a,
                                            const unsigned char* b, int width, float t,
                                            const unsigned char* /*mask*/) {
  Kernels().blends.blend({a, 0, b, 0, dst, 0, width, 1}, t);
}

template <>
void Q_2vuy_data::BlendScanline_2vuy<true>(unsigned char* dst, const unsigned char* a,
                                           const unsigned char* b, int width, float t,
                                           const unsigned char* mask) {
  Kernels().blends.blendMasked({a, 0, b, 0, dst, 0, width, 1}, t, mask, 0);
}

// ---- Q_2vuy_data: frames

bool Q_2vuy_data::CopyPixelsTo(CoreGraphics::BitmapContext& out) const {
  if (!CanCopyFormat(out)) return false;
  // A tight row of odd width ends in the next one, which is written after it.
  const bool alone = SInt64{out.GetImageRowBytes()} >= SInt64{_Width + 1} / 2 * 8;
  ForRowBlocks(
      _Height, [&](int y) { return ReachableWidth(y); }, Q_2vuy::kToARGBCost, alone,
      [&](const RowBlock& block) {
        // Contexts count their scanlines from the bottom; memory runs from the top.
        unsigned char* scanline =
            out.CGGetStartOfScanline(static_cast<float>(_Height - 1 - block.y));
        if (scanline == nullptr) return;
        Kernels().conversion.to_ARGB(
            {Row(block.y), _RowBytes, scanline, out.GetImageRowBytes(), block.width, block.height});
      });
  return true;
}

void Q_2vuy_data::CopyPixelsFromColor(unsigned int y, unsigned int cb, unsigned int cr) {
  for (int row = 0; row < _Height; ++row) {
    const int width = ReachableWidth(row);
    unsigned char* unit = width > 0 ? Row(row) : nullptr;
    for (int x = 0; x < width; x += 2, unit += 4) {
      unit[0] = static_cast<unsigned char>(cb);
      unit[1] = static_cast<unsigned char>(y);
      unit[2] = static_cast<unsigned char>(cr);
      unit[3] = static_cast<unsigned char>(y);
    }
  }
}

void Q_2vuy_data::CopyPixelsFrom(const Q_2vuy_data& in_source) {
  if (!VERIFY(CanCopyFormat(in_source))) return;
  const bool swap = in_source._PixelFormat != _PixelFormat && in_source._PixelFormat != '2vuy';
  const RowKernels& kernels = KernelsFor(in_source);
  // Frames of one format are copied row by row, others unit by unit: it shows where they overlap.
  const bool unitByUnit = in_source._PixelFormat != _PixelFormat && !StandAlone(kernels);
  ForRowBlocks(
      _Height, [&](int y) { return std::min(ReachableWidth(y), in_source.ReachableWidth(y)); },
      Q_2vuy::kSwapCost, StandAlone(kernels),
      [&](const RowBlock& block) {
        const Q_2vuy::Rows rows = RowsFrom(in_source, block.y, block.width, block.height);
        if (swap) {
          kernels.luma.swap(rows);
          return;
        }
        if (unitByUnit) {
          kernels.luma.map(rows, Q_2vuy::Order::k2vuy, LevelTable(LumaCLUT()).bytes);
          return;
        }
        for (int y = block.y; y < block.y + block.height; ++y) {
          std::memmove(Row(y), in_source.Row(y), static_cast<std::size_t>(block.width) * 2);
        }
      });
}

void Q_2vuy_data::CopyPixelsFrom(const Q_2vuy_data& in_source, const LumaCLUT& clut) {
  if (!VERIFY(FormatCompatible(in_source))) return;
  const LevelTable table(clut);
  const Q_2vuy::Order order = Q_2vuy::OrderOf(in_source);
  const RowKernels& kernels = KernelsFor(in_source);
  ForRowBlocks(
      _Height, [&](int y) { return std::min(ReachableWidth(y), in_source.ReachableWidth(y)); },
      Q_2vuy::kMapCost, StandAlone(kernels),
      [&](const RowBlock& block) {
        kernels.luma.map(RowsFrom(in_source, block.y, block.width, block.height), order,
                         table.bytes);
      });
}

void Q_2vuy_data::CopyPixelsFrom(const Q_2vuy_data& in_source, const LumaCLUT& clut,
                                 LumaMapping& equalisation) {
  if (!VERIFY(FormatCompatible(in_source))) return;
  const LevelTable table(clut, equalisation);
  const Q_2vuy::Order order = Q_2vuy::OrderOf(in_source);
  const RowKernels& kernels = KernelsFor(in_source);
  UInt32 counts[256] = {};
  ForRowBlocks(
      _Height, [&](int y) { return std::min(ReachableWidth(y), in_source.ReachableWidth(y)); },
      Q_2vuy::kCountCost, StandAlone(kernels),
      [&](const RowBlock& block) {
        UInt32 own[256] = {};
        kernels.luma.countAndMap(RowsFrom(in_source, block.y, block.width, block.height), order,
                                 table.bytes, own);
        for (int level = 0; level < 256; ++level) {
          std::atomic_ref<UInt32>(counts[level]).fetch_add(own[level], std::memory_order_relaxed);
        }
      });

  const LumaHistogram histogram = HistogramOf(counts);
  const float count = histogram.Total();
  if (count == 0.0f) return;
  equalisation.Total() = static_cast<UInt32>(count);
  constexpr float kLargestBin = LumaMapping::kBins - 1;
  float cumulated = 0.0f;
  for (int bin = 0; bin < LumaHistogram::kBins; ++bin) {
    cumulated += histogram[bin] / count;
    const double level = static_cast<double>(cumulated * kLargestBin) + 0.5;
    equalisation[bin] = static_cast<UInt32>(std::clamp(level, 0.0, 4294967295.0));
  }
}

void Q_2vuy_data::CopyPixelsFrom(const CoreGraphics::BitmapContext& in_source, bool composite) {
  if (!VERIFY(CanCopyFormat(in_source))) return;
  const unsigned char* top = in_source.CGGetStartOfScanline(static_cast<float>(_Height - 1));
  if (top != nullptr) CopyFromARGB(top, in_source.GetImageRowBytes(), composite);
}

void Q_2vuy_data::CopyPixelsFrom(const QGWorld& in_source, bool composite) {
  if (!VERIFY(CanCopyFormat(in_source))) return;
  const unsigned char* top = QPixMap_GetStartOfScanLine(in_source.GetPixMap(), 0);
  if (top != nullptr) {
    CopyFromARGB(top, QPixMap_GetRowBytes(in_source.GetPixMap()), composite);
  }
}

/// From ARGB rows, the top one first.
void Q_2vuy_data::CopyFromARGB(const unsigned char* top, std::ptrdiff_t rowBytes, bool composite) {
  ForRowBlocks(
      _Height, [&](int y) { return ReachableWidth(y); },
      composite ? Q_2vuy::kOverARGBCost : Q_2vuy::kFromARGBCost, RowsAreApart(),
      [&](const RowBlock& block) {
        const Q_2vuy::Rows rows{
            top + block.y * rowBytes, rowBytes, Row(block.y), _RowBytes, block.width, block.height};
        if (composite) {
          Kernels().conversion.over_ARGB(rows, 1.0f);
        } else {
          Kernels().conversion.from_ARGB(rows);
        }
      });
}

/// The form for a blend of two sources.
const RowKernels& Q_2vuy_data::KernelsFor(const Q_2vuy_data& a, const Q_2vuy_data& b) const {
  const RowKernels& kernels = KernelsFor(a);
  return &kernels == &Kernels() ? KernelsFor(b) : kernels;
}

Q_2vuy::BlendRows Q_2vuy_data::RowsFrom(const Q_2vuy_data& a, const Q_2vuy_data& b, int y,
                                        int width, int height) {
  return {a.Row(y), a._RowBytes, b.Row(y), b._RowBytes, Row(y), _RowBytes, width, height};
}

int Q_2vuy_data::ReachableWidth(const Q_2vuy_data& a, const Q_2vuy_data& b, int y) const {
  return std::min({ReachableWidth(y), a.ReachableWidth(y), b.ReachableWidth(y)});
}

void Q_2vuy_data::CopyPixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB,
                                 float t) {
  if (!VERIFY(FormatCompatible(in_sourceA)) || !VERIFY(FormatCompatible(in_sourceB))) return;
  const NormalFloat weight(t);
  const RowKernels& kernels = KernelsFor(in_sourceA, in_sourceB);
  ForRowBlocks(
      _Height, [&](int y) { return ReachableWidth(in_sourceA, in_sourceB, y); }, Q_2vuy::kBlendCost,
      StandAlone(kernels),
      [&](const RowBlock& block) {
        kernels.blends.blend(RowsFrom(in_sourceA, in_sourceB, block.y, block.width, block.height),
                             weight);
      });
}

void Q_2vuy_data::WipePixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB,
                                 const CoreGraphics::MaskContext& mask, float t) {
  if (!VERIFY(FormatCompatible(in_sourceA)) || !VERIFY(FormatCompatible(in_sourceB))) return;
  const NormalFloat weight(t);
  const RowKernels& kernels = KernelsFor(in_sourceA, in_sourceB);
  const auto widthOf = [&](int y) {
    const int width = ReachableWidth(in_sourceA, in_sourceB, y);
    if (width <= 0 || mask.QDGetStartOfScanline(y) == nullptr) return 0;
    const UInt32 levelsLeft =
        mask.GetImageDataSize() - static_cast<UInt32>(y) * mask.GetImageRowBytes();
    return levelsLeft < static_cast<UInt32>(width) ? static_cast<int>(levelsLeft) & ~1 : width;
  };
  ForRowBlocks(_Height, widthOf, Q_2vuy::kMaskCost, StandAlone(kernels),
               [&](const RowBlock& block) {
                 kernels.blends.blendMasked(
                     RowsFrom(in_sourceA, in_sourceB, block.y, block.width, block.height), weight,
                     mask.QDGetStartOfScanline(block.y), mask.GetImageRowBytes());
               });
}

/// Copies a part from its own place in `source`. What lies outside either frame is left out.
bool Q_2vuy_data::CopyPart(const Q_2vuy_data& source, const QRect& part) {
  Q_2vuy_data to;
  Q_2vuy_data from;
  if (!ConstructSubImage(to, part) || !source.ConstructSubImage(from, part)) return false;
  const int right = std::min<int>(_Width, source._Width);
  const int bottom = std::min<int>(_Height, source._Height);
  if (part.left >= 0 && part.top >= 0 && part.right <= right && part.bottom <= bottom) {
    to.CopyPixelsFrom(from);
    return true;
  }
  const QRect inside(std::max<SInt16>(part.top, 0), std::max<SInt16>(part.left, 0),
                     static_cast<SInt16>(std::min<int>(part.bottom, bottom)),
                     static_cast<SInt16>(std::min<int>(part.right, right)));
  if (inside.right > inside.left && inside.bottom > inside.top) {
    ConstructSubImage(to, inside);
    source.ConstructSubImage(from, inside);
    to.CopyPixelsFrom(from);
  }
  return true;
}

bool Q_2vuy_data::WipePixelsFrom(const Q_2vuy_data& in_sourceA, const QRect& rectA,
                                 const Q_2vuy_data& in_sourceB, const QRect& rectB) {
  const bool copiedA = CopyPart(in_sourceA, rectA);
  const bool copiedB = CopyPart(in_sourceB, rectB);
  return copiedA && copiedB;
}

void Q_2vuy_data::WipePixelsFrom(const Q_2vuy_data& in_sourceA, const Q_2vuy_data& in_sourceB,
                                 float position) {
  if (!VERIFY(FormatCompatible(in_sourceA)) || !VERIFY(FormatCompatible(in_sourceB))) return;
  const NormalFloat fraction(position);
  // Columns come in pairs, so the edge does too. NaN is no place: it counts as the left end.
  const int wholePairs = _Width / 2;
  const float pairs = static_cast<float>(wholePairs) * fraction;
  const SInt16 split = pairs > 0 ? static_cast<SInt16>(Q_2vuy::Truncate(pairs) * 2) : SInt16{0};
  if (split <= 1) {
    CopyPixelsFrom(in_sourceA);
  } else if (split >= _Width - 2) {
    CopyPixelsFrom(in_sourceB);
  } else {
    WipePixelsFrom(in_sourceB, QRect(0, 0, _Height, split), in_sourceA,
                   QRect(0, split, _Height, _Width));
  }
}
