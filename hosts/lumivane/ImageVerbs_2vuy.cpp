// The verbs of 4:2:2 video. Pictures become Rec. 709 video, are worked on as such, and come back.
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "hosts/lumivane/ImageVerbs.h"
#include "hosts/lumivane/VideoPicture.h"

namespace lumivane {
namespace {

constexpr std::size_t kLargestFrameFile = std::size_t{1} << 31;
constexpr char kNoMemory[] = "there is not enough memory for the picture";

/// A picture read and as video.
struct VideoInput {
  int width = 0;
  int height = 0;
  Q_2vuy_buffer video;

  bool Read(const std::string& path, std::string* error) {
    const ArgbPicture picture = ReadPicture(path, error);
    if (picture.empty()) return false;
    width = picture.width;
    height = picture.height;
    if (MakeVideo(picture, video)) return true;
    *error = path + ": " + kNoMemory;
    return false;
  }
};

bool SameSize(const std::string& nameA, const std::string& nameB, PictureSize a, PictureSize b,
              std::string* error) {
  if (a.width == b.width && a.height == b.height) return true;
  *error = nameA + " is " + SizeText(a.width, a.height) + " and " + nameB + " is " +
           SizeText(b.width, b.height) + "; both must have one size (`lumivane image resize`)";
  return false;
}

bool ReadTwo(const ImageOptions& options, VideoInput* a, VideoInput* b, std::string* error) {
  return a->Read(options.in[0], error) && b->Read(options.in[1], error) &&
         SameSize(options.in[0], options.in[1], {a->width, a->height}, {b->width, b->height},
                  error);
}

bool WriteVideo(const Q_2vuy_data& video, int width, const ImageOptions& options,
                std::string* error) {
  const VideoMatrix matrix = options.matrix == 601 ? VideoMatrix::k601 : VideoMatrix::k709;
  ArgbPicture picture = PictureFrom(video, width, {options.toolkitRule, matrix});
  if (picture.empty()) {
    *error = "the video cannot be converted back; the log says why (`lumivane doctor`)";
    return false;
  }
  return WritePicture(picture, options.out, error);
}

/// '2vuy' or 'yuvs', as the option or else the file's name says.
UInt32 VideoFormatOf(const ImageOptions& options, const std::string& path) {
  std::string kind = options.pixelFormat;
  if (kind.empty()) kind = std::filesystem::path(path).extension().string();
  for (const char* yuvs : {"yuvs", ".yuvs", ".yuy2", ".yuyv"}) {
    if (kind == yuvs) return 'yuvs';
  }
  return '2vuy';
}

/// Both orders are each other's: chroma and luma change places.
void SwapPairs(std::vector<std::uint8_t>* bytes) {
  for (std::size_t i = 0; i + 1 < bytes->size(); i += 2) std::swap((*bytes)[i], (*bytes)[i + 1]);
}

/// Checked by CheckPart: an odd right side is the picture's own, which the frame goes beyond.
QRect RectOf(const std::array<int, 4>& part) {
  return QRect(static_cast<SInt16>(part[1]), static_cast<SInt16>(part[0]),
               static_cast<SInt16>(part[1] + part[3]),
               static_cast<SInt16>(EvenWidth(part[0] + part[2])));
}

bool CheckPart(const char* name, const std::array<int, 4>& part, const VideoInput& frame,
               std::string* error) {
  const std::string text = std::string(name) + " " + std::to_string(part[0]) + "," +
                           std::to_string(part[1]) + "," + std::to_string(part[2]) + "," +
                           std::to_string(part[3]) + " (x, y, width, height)";
  if (part[0] < 0 || part[1] < 0 || part[2] < 1 || part[3] < 1 || part[2] > frame.width - part[0] ||
      part[3] > frame.height - part[1]) {
    *error = text + " does not lie inside " + SizeText(frame.width, frame.height);
    return false;
  }
  // An odd width would take its pair's second pixel along.
  if (part[0] % 2 != 0 || (part[2] % 2 != 0 && part[0] + part[2] != frame.width)) {
    *error = text + " cuts a pair of pixels: x and width must be even";
    return false;
  }
  return true;
}

bool WipeByMask(const VideoInput& a, const VideoInput& b, const ImageOptions& options,
                Q_2vuy_buffer* result, std::string* error) {
  const ArgbPicture picture = ReadPicture(options.mask, error);
  if (picture.empty() || !SameSize(options.in[0], options.mask, {a.width, a.height},
                                   {picture.width, picture.height}, error)) {
    return false;
  }
  // The luma of the mask as video, widened to the levels a mask has.
  Q_2vuy_buffer luma;
  CoreGraphics::MaskContext mask;
  if (!MakeVideo(picture, luma) || !mask.Construct(EvenWidth(a.width), a.height)) {
    *error = kNoMemory;
    return false;
  }
  for (int y = 0; y < a.height; ++y) {
    const unsigned char* from = luma._PixelData + std::ptrdiff_t{y} * luma._RowBytes;
    unsigned char* const to = mask.QDGetStartOfScanline(y);
    for (int x = 0; x < EvenWidth(a.width); ++x) {
      const int level = ((from[2 * x + 1] - 16) * 255 + 109) / 218;
      to[x] = static_cast<unsigned char>(std::clamp(level, 0, 255));
    }
  }
  result->WipePixelsFrom(a.video, b.video, mask, static_cast<float>(options.t));
  return true;
}

}  // namespace

bool ImageTo2vuy(const ImageOptions& options, std::string* error) {
  VideoInput input;
  if (!input.Read(options.in[0], error)) return false;
  std::vector<std::uint8_t> bytes(input.video._PixelData,
                                  input.video._PixelData + input.video._PixelDataSize);
  if (VideoFormatOf(options, options.out) == 'yuvs') SwapPairs(&bytes);
  return WriteBytes(options.out, bytes, error);
}

bool ImageFrom2vuy(const ImageOptions& options, std::string* error) {
  const std::string& name = options.in[0];
  const PictureSize size = options.size;
  const std::size_t need =
      static_cast<std::size_t>(VideoRowBytes(size.width)) * static_cast<std::size_t>(size.height);
  auto bytes = ReadBytes(name, kLargestFrameFile, error);
  if (!bytes) return false;
  if (bytes->size() != need) {
    *error = name + " has " + std::to_string(bytes->size()) + " bytes and a frame of " +
             SizeText(size.width, size.height) + " has " + std::to_string(need) +
             ": is --size right?";
    return false;
  }
  Q_2vuy_data source;
  source._Width = static_cast<SInt16>(EvenWidth(size.width));
  source._Height = static_cast<SInt16>(size.height);
  source._RowBytes = VideoRowBytes(size.width);
  source._PixelFormat = VideoFormatOf(options, name);
  source._PixelData = bytes->data();
  source._PixelDataSize = static_cast<UInt32>(bytes->size());
  Q_2vuy_buffer video;
  if (!MakeVideo(size.width, size.height, video)) {
    *error = kNoMemory;
    return false;
  }
  video.CopyPixelsFrom(source);
  return WriteVideo(video, size.width, options, error);
}

bool ImageFillVideo(const ImageOptions& options, std::string* error) {
  Q_2vuy_buffer video;
  if (!MakeVideo(options.size.width, options.size.height, video)) {
    *error = kNoMemory;
    return false;
  }
  video.CopyPixelsFromColor(static_cast<unsigned>(options.ycbcr[0]),
                            static_cast<unsigned>(options.ycbcr[1]),
                            static_cast<unsigned>(options.ycbcr[2]));
  return WriteVideo(video, options.size.width, options, error);
}

bool ImageFade(const ImageOptions& options, std::string* error) {
  VideoInput a;
  VideoInput b;
  Q_2vuy_buffer result;
  if (!ReadTwo(options, &a, &b, error)) return false;
  if (!MakeVideo(a.width, a.height, result)) {
    *error = kNoMemory;
    return false;
  }
  result.CopyPixelsFrom(a.video, b.video, static_cast<float>(options.t));
  return WriteVideo(result, a.width, options, error);
}

bool ImageOver(const ImageOptions& options, std::string* error) {
  VideoInput base;
  if (!base.Read(options.in[0], error)) return false;
  const ArgbPicture top = ReadPicture(options.in[1], error);
  if (top.empty() || !SameSize(options.in[0], options.in[1], {base.width, base.height},
                               {top.width, top.height}, error)) {
    return false;
  }
  CoreGraphics::BitmapContext context;
  if (!MakeContext(top, context)) {
    *error = kNoMemory;
    return false;
  }
  base.video.CopyPixelsFrom(context, true);
  return WriteVideo(base.video, base.width, options, error);
}

bool ImageWipe(const ImageOptions& options, std::string* error) {
  VideoInput a;
  VideoInput b;
  if (!ReadTwo(options, &a, &b, error)) return false;
  Q_2vuy_buffer result;
  if (!MakeVideo(a.width, a.height, result)) {
    *error = kNoMemory;
    return false;
  }
  if (!options.mask.empty()) {
    if (!WipeByMask(a, b, options, &result, error)) return false;
  } else if (!options.parts.empty()) {
    if (!CheckPart("--part-a", options.parts[0], a, error) ||
        !CheckPart("--part-b", options.parts[1], b, error)) {
      return false;
    }
    // What neither part covers is video black.
    result.CopyPixelsFromColor(16, 128, 128);
    if (!result.WipePixelsFrom(a.video, RectOf(options.parts[0]), b.video,
                               RectOf(options.parts[1]))) {
      *error = "the parts cannot be taken; the log says why (`lumivane doctor`)";
      return false;
    }
  } else {
    result.WipePixelsFrom(a.video, b.video, static_cast<float>(options.t));
  }
  return WriteVideo(result, a.width, options, error);
}

bool ImageEqualise(const ImageOptions& options, std::string* error) {
  const RasterGraphics::LumaCLUT identity;
  RasterGraphics::LumaMapping mapping;
  VideoInput first;
  if (!first.Read(options.in[0], error)) return false;
  Q_2vuy_buffer result;
  if (!MakeVideo(first.width, first.height, result)) {
    *error = kNoMemory;
    return false;
  }
  // A frame is mapped with its predecessor's histogram; a single picture is its own predecessor.
  result.CopyPixelsFrom(first.video, identity, mapping);
  if (options.in.size() == 1) result.CopyPixelsFrom(first.video, identity, mapping);
  for (std::size_t i = 1; i < options.in.size(); ++i) {
    VideoInput next;
    if (!next.Read(options.in[i], error) ||
        !SameSize(options.in[0], options.in[i], {first.width, first.height},
                  {next.width, next.height}, error)) {
      return false;
    }
    result.CopyPixelsFrom(next.video, identity, mapping);
  }
  return WriteVideo(result, first.width, options, error);
}

bool ImageLevels(const ImageOptions& options, std::string* error) {
  constexpr int kVideoBlack = 16;
  constexpr float kVideoRange = 219.0F / 256;
  if (options.white <= options.black) {
    *error = "--white " + std::to_string(options.white) + " must lie above --black " +
             std::to_string(options.black);
    return false;
  }
  VideoInput input;
  if (!input.Read(options.in[0], error)) return false;
  Q_2vuy_buffer result;
  if (!MakeVideo(input.width, input.height, result)) {
    *error = kNoMemory;
    return false;
  }
  RasterGraphics::LumaCLUT clut;
  clut.SetBlackLevelWhiteLevel(options.black, options.white);
  for (int level = 0; level <= 255; ++level) {
    const float mapped =
        static_cast<float>(level - clut.BlackLevel()) * clut.Scale() * kVideoRange + kVideoBlack;
    clut[level] = static_cast<std::uint16_t>(std::clamp(mapped + 0.5F, 0.0F, 255.0F));
  }
  result.CopyPixelsFrom(input.video, clut);
  return WriteVideo(result, input.width, options, error);
}

}  // namespace lumivane
