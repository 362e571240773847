// The verbs of 32-bit pixel maps.
#include <cstring>

#include "hosts/lumivane/ImageVerbs.h"
#include "hosts/lumivane/PictureFile.h"
#include "sdk/QClasses/QPixMap.h"

namespace lumivane {
namespace {

/// A picture and the pixel map over it.
struct MappedPicture {
  ArgbPicture picture;
  QGWorld world;

  bool Read(const std::string& path, std::string* error) {
    picture = ReadPicture(path, error);
    return !picture.empty() && Map(path, error);
  }
  bool Make(PictureSize size, std::string* error) {
    picture = ArgbPicture(size.width, size.height);
    return Map("the picture", error);
  }
  PixMapHandle map() const { return world.GetPixMap(); }

 private:
  bool Map(const std::string& name, std::string* error) {
    if (picture.MakeWorld(world)) return true;
    *error = name + " is too large for a pixel map: " + SizeText(picture.width, picture.height);
    return false;
  }
};

/// The order in which duotone takes a colour: red in the low byte.
UInt32 RedLow(std::uint32_t argb) {
  return (argb >> 16 & 0xFF) | (argb & 0xFF00) | (argb & 0xFF) << 16;
}

/// The machine word whose bytes in memory are A, R, G, B.
UInt32 PixelWord(std::uint32_t argb) {
  const std::uint8_t bytes[4] = {
      static_cast<std::uint8_t>(argb >> 24), static_cast<std::uint8_t>(argb >> 16),
      static_cast<std::uint8_t>(argb >> 8), static_cast<std::uint8_t>(argb)};
  UInt32 word = 0;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

}  // namespace

bool ImageGrey(const ImageOptions& options, std::string* error) {
  MappedPicture input;
  if (!input.Read(options.in[0], error)) return false;
  QPixMap_Grayscale32(input.map());
  return WritePicture(input.picture, options.out, error);
}

bool ImageBrighten(const ImageOptions& options, std::string* error) {
  MappedPicture input;
  if (!input.Read(options.in[0], error)) return false;
  QPixMap_Brightness32(input.map(), options.factor);
  return WritePicture(input.picture, options.out, error);
}

bool ImageDuotone(const ImageOptions& options, std::string* error) {
  MappedPicture input;
  if (!input.Read(options.in[0], error)) return false;
  QPixMap_DuoTone32(input.map(), RedLow(options.colour));
  return WritePicture(input.picture, options.out, error);
}

bool ImageBlend(const ImageOptions& options, std::string* error) {
  if (options.fade) return ImageFade(options, error);
  MappedPicture a;
  MappedPicture b;
  MappedPicture result;
  if (!a.Read(options.in[0], error) || !b.Read(options.in[1], error)) return false;
  const PictureSize size = {a.picture.width, a.picture.height};
  if (size.width != b.picture.width || size.height != b.picture.height) {
    *error = options.in[0] + " is " + SizeText(size.width, size.height) + " and " + options.in[1] +
             " is " + SizeText(b.picture.width, b.picture.height) +
             "; both must have one size (`lumivane image resize`)";
    return false;
  }
  if (!result.Make(size, error)) return false;
  QPixMap_AlphaBlend32(a.map(), options.weights[0], b.map(), options.weights[1], result.map());
  return WritePicture(result.picture, options.out, error);
}

bool ImageOverlay(const ImageOptions& options, std::string* error) {
  MappedPicture base;
  MappedPicture top;
  if (!base.Read(options.in[0], error) || !top.Read(options.in[1], error)) return false;
  const auto [x, y] = options.at;
  if (x < 0 || y < 0 || top.picture.width > base.picture.width - x ||
      top.picture.height > base.picture.height - y) {
    *error = options.in[1] + " is " + SizeText(top.picture.width, top.picture.height) +
             " and does not fit at " + std::to_string(x) + "," + std::to_string(y) + " into " +
             options.in[0] + ", " + SizeText(base.picture.width, base.picture.height) +
             "; give another --at, or crop or resize it first";
    return false;
  }
  const Point where = {static_cast<SInt16>(y), static_cast<SInt16>(x)};
  QPM_4(base.map(), where, top.map(), static_cast<float>(options.opacity));
  return WritePicture(base.picture, options.out, error);
}

bool ImageFill(const ImageOptions& options, std::string* error) {
  if (!options.ycbcr.empty()) return ImageFillVideo(options, error);
  MappedPicture result;
  if (!result.Make(options.size, error)) return false;
  QPixMap_FillColor32(result.map(), PixelWord(options.colour));
  return WritePicture(result.picture, options.out, error);
}

}  // namespace lumivane
