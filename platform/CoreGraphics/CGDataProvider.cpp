#include "platform/CoreGraphics/CGDataProvider.h"

#include "platform/CoreGraphics/CGObjects.h"

namespace {

struct MemoryProvider final : CGDataProvider {
  MemoryProvider(void* ownerInfo, raster::Bytes memoryBytes,
                 CGDataProviderReleaseDataCallback callback)
      : info(ownerInfo), memory(memoryBytes), releaseData(callback) {}
  ~MemoryProvider() override {
    if (releaseData) releaseData(info, memory.data, memory.size);
  }
  raster::Bytes bytes() const override { return memory; }

  void* const info;
  const raster::Bytes memory;
  const CGDataProviderReleaseDataCallback releaseData;
};

}  // namespace

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, std::size_t size,
                                               CGDataProviderReleaseDataCallback releaseData) {
  if (!data || size == 0) return nullptr;
  return new MemoryProvider(info, {static_cast<const std::uint8_t*>(data), size}, releaseData);
}

CFTypeID CGDataProviderGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CGDataProvider");
  return type;
}

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
  if (provider) provider->retainReference();
  return provider;
}

void CGDataProviderRelease(CGDataProviderRef provider) {
  if (provider) provider->releaseReference();
}
