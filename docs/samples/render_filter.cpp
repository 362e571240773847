// A host in one file: loads a plug-in, makes one of its filters, renders frames, writes the last
// one as a PNG.
//
//   render_filter PLUGIN.plugin FILTER_NAME OUT.png [WIDTH HEIGHT FRAMES]
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/CoreImage/CoreImage.h"
#include "platform/ImageIO/ImageData.h"

namespace {

/// Sets inputClock, asks for the picture and renders it. False when the filter has none.
bool RenderFrame(CIFilter* filter, double clock, const CIBitmap& bitmap) {
  // One pool per frame: what the filter hands out goes at the end of it.
  const NSAutoreleasePool pool;
  filter->setValueforKey(NSNumber_numberWithDouble(clock), CFSTR("inputClock"));
  CIImage* const image = filter->outputImage();
  return image != nullptr &&
         CIContext::context()->renderToBitmap(image, bitmap, CIRenderMode::kFitted);
}

/// The bitmap's pixels as a PNG file.
bool WritePicture(const CIBitmap& bitmap, const std::string& path, std::string& error) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context =
      CGBitmapContextCreate(bitmap.data, bitmap.width, bitmap.height, 8, bitmap.rowBytes, space,
                            kCGImageAlphaPremultipliedLast);
  const CGImageRef image = CGBitmapContextCreateImage(context);
  const bool written = ImageIOWritePNG(image, path, {}, &error);
  CGImageRelease(image);
  CGContextRelease(context);
  CGColorSpaceRelease(space);
  return written;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4 && count != 7) {
    std::fprintf(stderr, "usage: %s PLUGIN.plugin FILTER OUT.png [WIDTH HEIGHT FRAMES]\n",
                 arguments[0]);
    return 2;
  }
  const std::string plugIn = arguments[1];
  const auto number = [&](int index, std::size_t otherwise) {
    return count > index ? std::strtoul(arguments[index], nullptr, 10) : otherwise;
  };
  const std::size_t width = number(4, 640);
  const std::size_t height = number(5, 480);
  const std::size_t frames = number(6, 1);

  CIPlugInStatus status;
  if (!CIPlugIn::loadPlugIn(plugIn, &status)) {
    std::fprintf(stderr, "%s: %s\n", status.path.c_str(), status.error.c_str());
    return 1;
  }

  bool ok = true;
  {
    // The filter is autoreleased into this pool and lives to the end of the block.
    const NSAutoreleasePool pool;
    CIFilter* const filter = CIFilter::filterWithName(NSString_stringWithUTF8String(arguments[2]));
    if (filter == nullptr) {
      std::fprintf(stderr, "no filter named %s; the plug-in has", arguments[2]);
      for (const std::string& name : status.filters) std::fprintf(stderr, " %s", name.c_str());
      std::fprintf(stderr, "\n");
      ok = false;
    } else {
      std::vector<UInt8> pixels(width * height * 4);
      const CIBitmap bitmap{pixels.data(), width * 4, width, height, CIPixelOrder::kRGBA};
      for (std::size_t i = 0; ok && i < frames; ++i) {
        const double clock =
            frames > 1 ? static_cast<double>(i) / static_cast<double>(frames - 1) : 0.5;
        ok = RenderFrame(filter, clock, bitmap);
      }
      std::string error = "the filter has no picture";
      ok = ok && WritePicture(bitmap, arguments[3], error);
      if (!ok) std::fprintf(stderr, "%s: %s\n", arguments[3], error.c_str());
    }
  }

  // Every filter and image of the plug-in is gone now, so it can be unloaded.
  std::string error;
  if (!CIPlugIn::unloadPlugIn(plugIn, &error)) {
    std::fprintf(stderr, "%s stays loaded: %s\n", plugIn.c_str(), error.c_str());
    ok = false;
  }
  return ok ? 0 : 1;
}
