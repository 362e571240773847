// The library's one exported function, and the table it hands out. Nothing is thrown across it.
#include <cstdio>
#include <exception>
#include <string>

#include "hosts/source/SharedSource.h"

using lumivane::source::SharedSource;

namespace {

/// Runs `work`; what it throws, want of memory for the most part, is its failure.
template <typename Result, typename Work>
Result Guarded(Result failure, Work work) {
  try {
    return work();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lumivane: %s\n", error.what());
    return failure;
  }
}

void Acquire() {
  Guarded(0, [] {
    SharedSource::Shared().Acquire();
    return 0;
  });
}

void Release() {
  Guarded(0, [] {
    SharedSource::Shared().Release();
    return 0;
  });
}

std::int32_t Draw(const LumivaneSourceBitmap* bitmap) {
  if (bitmap == nullptr) return LUMIVANE_SOURCE_NOTHING;
  return Guarded<std::int32_t>(LUMIVANE_SOURCE_NOTHING,
                               [bitmap] { return SharedSource::Shared().Draw(*bitmap); });
}

std::int32_t GetSize(std::uint32_t* width, std::uint32_t* height) {
  if (width == nullptr || height == nullptr) return 0;
  return Guarded<std::int32_t>(
      0, [&] { return SharedSource::Shared().GetSize(width, height) ? 1 : 0; });
}

void GetError(char* text, std::size_t size) {
  if (text == nullptr || size == 0) return;
  Guarded(0, [&] {
    std::snprintf(text, size, "%s", SharedSource::Shared().Error().c_str());
    return 0;
  });
}

constexpr LumivaneSourceApi kApi = {
    LUMIVANE_SOURCE_VERSION, Acquire, Release, Draw, GetSize, GetError};

}  // namespace

extern "C" __attribute__((visibility("default"))) const LumivaneSourceApi* LumivaneSource_GetApi(
    std::uint32_t version) {
  return version == LUMIVANE_SOURCE_VERSION ? &kApi : nullptr;
}
