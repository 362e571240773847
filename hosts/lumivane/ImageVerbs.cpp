// The verbs of frames, of noise, `info`, and how all are run.
#include "hosts/lumivane/ImageVerbs.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/VideoPicture.h"
#include "nlohmann/json.hpp"
#include "platform/ImageIO/ImageData.h"

namespace lumivane {

bool ImageNoise(const ImageOptions& options, std::string* error) {
  using CoreGraphics::BitmapContext;
  BitmapContext context;
  if (!context.Construct(options.size.width, options.size.height,
                         options.grey ? BitmapContext::BitmapType_Device_Grey
                                      : BitmapContext::BitmapType_Device_ARGB,
                         0)) {
    *error = "there is not enough memory for " + SizeText(options.size.width, options.size.height);
    return false;
  }
  context.FillPerlinNoise(options.cell, static_cast<float>(options.amplitude));
  ArgbPicture picture = PictureFrom(context);
  return WritePicture(picture, options.out, error);
}

bool ImageFrame(const ImageOptions& options, std::string* error) {
  const std::string& name = options.in[0];
  ArgbPicture picture = ReadPicture(name, error);
  if (picture.empty()) return false;
  FrameOperation operation = options.frame;
  // A picture file says nothing of fields.
  if (operation.method == ResizeMethod::kAuto) operation.method = ResizeMethod::kBilinear;
  const auto size = OutputSize(operation, {picture.width, picture.height}, error);
  if (!size) {
    *error = name + ": " + *error;
    return false;
  }
  ArgbPicture result(size->width, size->height);
  XFrameBuffer out = result.FrameBuffer();
  if (!RunFrameOperation(operation, picture.FrameBuffer(), out)) {
    *error = name + ": the toolkit refuses the operation";
    return false;
  }
  return WritePicture(result, options.out, error);
}

bool ImageInfo(const ImageOptions& options, std::string* error) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const std::string& name : options.in) {
    std::string format;
    ArgbPicture picture = ReadPicture(name, error, &format);
    if (picture.empty()) return false;
    Q_2vuy_buffer video;
    if (!MakeVideo(picture, video)) {
      *error = name + ": there is not enough memory for the picture";
      return false;
    }
    int darkest = 255;
    int brightest = 0;
    double sum = 0;
    std::size_t transparent = 0;
    for (int y = 0; y < picture.height; ++y) {
      const unsigned char* luma = video._PixelData + std::ptrdiff_t{y} * video._RowBytes;
      for (int x = 0; x < picture.width; ++x) {
        darkest = std::min<int>(darkest, luma[2 * x + 1]);
        brightest = std::max<int>(brightest, luma[2 * x + 1]);
        sum += luma[2 * x + 1];
        transparent += picture.Row(y)[4 * x] < 255 ? 1 : 0;
      }
    }
    const XFrameBuffer frame = picture.FrameBuffer();
    const double mean = sum / picture.width / picture.height;
    if (options.json) {
      all.push_back({{"file", name},
                     {"format", format},
                     {"width", picture.width},
                     {"height", picture.height},
                     {"transparentPixels", transparent},
                     {"standardFrameSize", frame.FrameTypeOf()},
                     {"twoFields", frame.HasTwoFields()},
                     {"luma", {{"min", darkest}, {"mean", mean}, {"max", brightest}}}});
      continue;
    }
    std::printf("%s: %s, %s%s\n", name.c_str(), format.c_str(),
                SizeText(picture.width, picture.height).c_str(),
                transparent > 0 ? ", partly transparent" : "");
    std::printf("  frame size:  %s, %s\n",
                frame.FrameTypeOf() != 0
                    ? ("standard, number " + std::to_string(frame.FrameTypeOf())).c_str()
                    : "not a standard one",
                frame.HasTwoFields() ? "can hold two fields" : "one field");
    std::printf("  video luma:  %d to %d, mean %.1f (black is 16, white 235)\n", darkest, brightest,
                mean);
  }
  if (options.json) std::fputs(Lines(all).c_str(), stdout);
  return true;
}

int RunImage(ImageVerb verb, const ImageOptions& options) {
  std::string error;
  try {
    bool fits = true;
    for (const PictureSize& size : {options.size, options.frame.size}) {
      if (static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height) >
          kImageIOMaxPixels) {
        error = SizeText(size.width, size.height) + " is too large: a picture may have " +
                std::to_string(kImageIOMaxPixels) + " pixels";
        fits = false;
      }
    }
    if (fits && verb(options, &error)) return kExitOk;
  } catch (const std::bad_alloc&) {
    error = "there is not enough memory for a picture of this size";
  }
  std::fprintf(stderr, "lumivane: %s\n", error.c_str());
  return kExitFailed;
}

}  // namespace lumivane
