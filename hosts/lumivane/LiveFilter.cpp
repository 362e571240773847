#include "hosts/lumivane/LiveFilter.h"

#include <cmath>

#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/PlugInSearch.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "platform/Foundation/Foundation.h"
#include "platform/ImageIO/ImageData.h"

namespace lumivane {
namespace {

constexpr int kLargestSide = 16384;

/// Takes over one reference.
std::shared_ptr<CIImage> Adopt(CIImage* image) {
  return {image, [](CIImage* last) { last->release(); }};
}

PictureSize SizeOf(CIImage& image) {
  const CGRect extent = image.extent();
  return {static_cast<int>(std::ceil(extent.size.width)),
          static_cast<int>(std::ceil(extent.size.height))};
}

}  // namespace

std::optional<PictureSize> ParseSize(const std::string& text) {
  int width = 0;
  int height = 0;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%5dx%5d%c", &width, &height, &rest) != 2) return std::nullopt;
  if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide) return std::nullopt;
  return PictureSize{width, height};
}

std::vector<std::uint8_t> EncodePng(const Picture& picture,
                                    const std::vector<std::pair<std::string, std::string>>& texts,
                                    std::string* error) {
  const std::size_t rowBytes = 4 * static_cast<std::size_t>(picture.width);
  const Held<CGDataProviderRef> provider(
      CGDataProviderCreateWithData(nullptr, picture.rgba.data(), picture.rgba.size(), nullptr));
  const Held<CGColorSpaceRef> space(CGColorSpaceCreateDeviceRGB());
  const Held<CGImageRef> image(CGImageCreate(
      static_cast<std::size_t>(picture.width), static_cast<std::size_t>(picture.height), 8, 32,
      rowBytes, space.get(), kCGImageAlphaPremultipliedLast, provider.get(), nullptr, false,
      kCGRenderingIntentDefault));
  return ImageIOEncodePNG(image.get(), texts, error);
}

LiveFilter::LiveFilter(CIFilter* filter, std::string plugInPath, const PictureSource& source)
    : filter_(filter), plugInPath_(std::move(plugInPath)), size_(source.size) {}

LiveFilter::~LiveFilter() {
  // The filter keeps its parameter's last value for good; taken back here, nothing is left behind.
  filter_->setValueforKey(nullptr, CFSTR("inputClock"));
  filter_->release();
}

std::unique_ptr<LiveFilter> LiveFilter::Open(const PictureSource& source, std::string* error) {
  const NSAutoreleasePool pool;
  const CIPlugInStatus status = LoadPlugIn(source.plugIn);
  if (!status.loaded) {
    *error = status.error;
    return nullptr;
  }
  CIFilter* filter = CIFilter::filterWithName(CFSTR("CILumivaneInput"));
  if (filter == nullptr) {
    *error = status.path + " registers no filter " + kFilterName;
    return nullptr;
  }
  const Held<CFNumberRef> clock(
      CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &source.clock));
  filter->setValueforKey(clock.get(), CFSTR("inputClock"));
  filter->retain();
  return std::unique_ptr<LiveFilter>(new LiveFilter(filter, status.path, source));
}

Frame LiveFilter::NextFrame() {
  const NSAutoreleasePool pool;
  CIImage* const image = filter_->outputImage();
  if (image == nullptr) return {};
  // A camera's image is new and its one reference the pool's. The no-camera picture is the filter's
  // own, and handed out with one more reference that is nobody's: that one is taken over here, so
  // that the count cannot run over in a host that shows it for days.
  const bool live = image->retainCount() == 1;
  if (live) image->retain();
  return {Adopt(image), live};
}

Picture LiveFilter::Render(const Frame& frame) const {
  if (!frame.image) return {};
  return Render(frame, size_ ? *size_ : SizeOf(*frame.image));
}

Picture LiveFilter::Render(const Frame& frame, PictureSize size) const {
  if (!frame.image || size.width < 1 || size.height < 1 || size.width > kLargestSide ||
      size.height > kLargestSide) {
    return {};
  }
  const NSAutoreleasePool pool;
  Picture picture{size.width, size.height, {}};
  const std::size_t rowBytes = 4 * static_cast<std::size_t>(size.width);
  picture.rgba.resize(rowBytes * static_cast<std::size_t>(size.height));
  const CIBitmap bitmap{picture.rgba.data(), rowBytes, static_cast<std::size_t>(size.width),
                        static_cast<std::size_t>(size.height), CIPixelOrder::kRGBA};
  if (!CIContext::context()->renderToBitmap(frame.image.get(), bitmap, CIRenderMode::kFitted)) {
    return {};
  }
  return picture;
}

}  // namespace lumivane
