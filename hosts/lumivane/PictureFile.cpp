#include "hosts/lumivane/PictureFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "hosts/lumivane/HostText.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/ImageIO/ImageData.h"

namespace lumivane {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1} << 30;

/// The decoder's RGBA or RGBX to A, R, G, B.
void CopyDecoded(CGImageRef image, const std::uint8_t* bytes, std::size_t size,
                 ArgbPicture* picture) {
  const bool hasAlpha = CGImageGetAlphaInfo(image) == kCGImageAlphaLast;
  const std::size_t rowBytes = CGImageGetBytesPerRow(image);
  const std::size_t width = static_cast<std::size_t>(picture->width);
  for (int y = 0; y < picture->height; ++y) {
    const std::size_t start = rowBytes * static_cast<std::size_t>(y);
    if (start + 4 * width > size) return;
    const std::uint8_t* from = bytes + start;
    std::uint8_t* to = picture->Row(y);
    for (std::size_t x = 0; x < width; ++x, from += 4, to += 4) {
      to[0] = hasAlpha ? from[3] : 255;
      to[1] = from[0];
      to[2] = from[1];
      to[3] = from[2];
    }
  }
}

bool IsOpaque(const ArgbPicture& picture) {
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.Row(y);
    for (int x = 0; x < picture.width; ++x) {
      if (row[4 * x] != 255) return false;
    }
  }
  return true;
}

}  // namespace

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

ArgbPicture::ArgbPicture(int pictureWidth, int pictureHeight)
    : width(pictureWidth), height(pictureHeight), rowBytes(4 * (pictureWidth + pictureWidth % 2)) {
  pixels.resize(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height));
}

XFrameBuffer ArgbPicture::FrameBuffer() {
  XFrameBuffer frame;
  frame.Width = width;
  frame.Height = height;
  frame.PixelType = XFrame_Pel_ARGB;
  frame.Pixels = pixels.data();
  frame.RowBytes = rowBytes;
  frame.PelBytes = 4;
  return frame;
}

bool ArgbPicture::MakeWorld(QGWorld& world) {
  const Point size = {static_cast<SInt16>(height), static_cast<SInt16>(width)};
  return world.ConstructAlias(reinterpret_cast<char*>(pixels.data()), rowBytes, size,
                              k32ARGBPixelFormat);
}

std::optional<std::vector<std::uint8_t>> ReadBytes(const std::string& path, std::size_t limit,
                                                   std::string* error) {
  const std::string name = path == "-" ? "standard input" : path;
  std::FILE* const file = path == "-" ? stdin : std::fopen(path.c_str(), "rbe");
  if (file == nullptr) {
    *error = name + " cannot be read: " + std::strerror(errno);
    return std::nullopt;
  }
  std::vector<std::uint8_t> bytes;
  std::uint8_t block[65536];
  bool tooLarge = false;
  for (std::size_t n; (n = std::fread(block, 1, sizeof(block), file)) > 0;) {
    tooLarge = bytes.size() + n > limit;
    if (tooLarge) break;
    bytes.insert(bytes.end(), block, block + n);
  }
  const int failure = std::ferror(file) != 0 ? errno : 0;
  if (file != stdin) std::fclose(file);
  if (failure != 0) {
    *error = name + " cannot be read: " + std::strerror(failure);
    return std::nullopt;
  }
  if (tooLarge) {
    *error = name + " has more than the " + std::to_string(limit) + " bytes it can have";
    return std::nullopt;
  }
  return bytes;
}

bool WriteBytes(const std::string& path, const std::vector<std::uint8_t>& bytes,
                std::string* error) {
  if (path != "-") {
    std::string reason;
    if (ImageIOWriteFile(path, bytes, &reason)) return true;
    *error = path + " cannot be written: " + reason;
    return false;
  }
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() &&
      std::fflush(stdout) == 0) {
    return true;
  }
  *error = std::string("standard output cannot be written: ") + std::strerror(errno);
  return false;
}

ArgbPicture ReadPicture(const std::string& path, std::string* error, std::string* format) {
  const auto bytes = ReadBytes(path, kLargestFile, error);
  if (!bytes) return {};
  const std::string name = path == "-" ? "standard input" : path;
  const ImageIODecoded stored = ImageIODecode(*bytes, true);
  const Held<CGImageRef> image(stored.image);
  if (!image || !stored.complete) {
    *error = stored.format == ImageIOFormat::kUnknown
                 ? name + " is not a picture: PNG and JPEG files are"
                 : name + " is damaged: " + stored.error;
    return {};
  }
  const std::size_t width = CGImageGetWidth(image.get());
  const std::size_t height = CGImageGetHeight(image.get());
  if (width > kLargestPictureSide || height > kLargestPictureSide) {
    *error = name + " is " + std::to_string(width) + " x " + std::to_string(height) +
             "; neither side may be above " + std::to_string(kLargestPictureSide);
    return {};
  }
  const Held<CFDataRef> data(CGDataProviderCopyData(CGImageGetDataProvider(image.get())));
  if (!data) {
    *error = name + " does not fit into memory";
    return {};
  }
  if (format != nullptr) *format = stored.format == ImageIOFormat::kPNG ? "PNG" : "JPEG";
  ArgbPicture picture(static_cast<int>(width), static_cast<int>(height));
  CopyDecoded(image.get(), CFDataGetBytePtr(data.get()),
              static_cast<std::size_t>(CFDataGetLength(data.get())), &picture);
  return picture;
}

bool WritePicture(ArgbPicture& picture, const std::string& path, std::string* error) {
  const Held<CGDataProviderRef> provider(
      CGDataProviderCreateWithData(nullptr, picture.pixels.data(), picture.pixels.size(), nullptr));
  const Held<CGColorSpaceRef> space(CGColorSpaceCreateDeviceRGB());
  const CGBitmapInfo alpha = IsOpaque(picture) ? kCGImageAlphaNoneSkipFirst : kCGImageAlphaFirst;
  const Held<CGImageRef> image(CGImageCreate(
      static_cast<std::size_t>(picture.width), static_cast<std::size_t>(picture.height), 8, 32,
      static_cast<std::size_t>(picture.rowBytes), space.get(), alpha, provider.get(), nullptr,
      false, kCGRenderingIntentDefault));
  std::string reason;
  const std::vector<std::uint8_t> png =
      ImageIOEncodePNG(image.get(), {{"Software", "Lumivane"}}, &reason);
  if (png.empty()) {
    *error = path + " cannot be written: " + reason;
    return false;
  }
  return WriteBytes(path, png, error);
}

}  // namespace lumivane
