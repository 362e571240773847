// A module that asks, while it is being loaded, which bundle it is in.
#include "platform/CoreFoundation/CFBundle.h"
#include "platform/CoreFoundation/CFType.h"

extern "C" {
CFBundleRef bundleAtInitialisation = nullptr;
int anAddressInIt = 0;
CFBundleRef BundleNow() {
  return CFBundleCopyBundleForCodeAddress(&anAddressInIt);
}
}

namespace {
struct Asker {
  Asker() {
    bundleAtInitialisation = BundleNow();
    // Only the address is compared later; a reference held here would keep the bundle loaded.
    CFRelease(bundleAtInitialisation);
  }
} asker;
}  // namespace
