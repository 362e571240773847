// Data providers: bytes of a known size that someone else owns, read in place whenever they are
// needed, so that an image over a provider shows what its memory holds at the time it is drawn.
#pragma once

#include "platform/CoreGraphics/CGBase.h"

/// Called once, when the provider's last reference goes, with the arguments it was created with.
using CGDataProviderReleaseDataCallback = void (*)(void* info, const void* data, std::size_t size);

/// A provider over `size` bytes at `data`, not copied; they must stay readable for the provider's
/// life. `releaseData` may be null. Null (and no callback, ever) when `data` is null or `size` 0.
CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, std::size_t size,
                                               CGDataProviderReleaseDataCallback releaseData);
/// A provider over the bytes of `data`, which it retains. Null when `data` is null or empty.
CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data);

CFTypeID CGDataProviderGetTypeID();
CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider);
void CGDataProviderRelease(CGDataProviderRef provider);
/// A copy of the provider's bytes as they are now; null for null and past 2 GiB.
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
