// Data providers and CFData.
#include <climits>

#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreGraphics/CGObjects.h"

namespace {

struct DataProvider final : CGDataProvider {
  explicit DataProvider(CFDataRef owned) : data(owned) {}
  ~DataProvider() override { CFRelease(data); }
  // Asked for at each reading: data that are mutable may have moved or shrunk meanwhile.
  raster::Bytes bytes() const override {
    return {CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data))};
  }

  const CFDataRef data;
};

}  // namespace

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
  if (!data || CFDataGetLength(data) <= 0) return nullptr;
  CFRetain(data);
  return new DataProvider(data);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
  if (!provider) return nullptr;
  const raster::Bytes bytes = provider->bytes();
  if (bytes.size > INT_MAX) return nullptr;
  return CFDataCreate(kCFAllocatorDefault, bytes.data, static_cast<CFIndex>(bytes.size));
}
