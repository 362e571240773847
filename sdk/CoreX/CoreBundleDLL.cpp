#include "sdk/CoreX/CoreBundleDLL.h"

#include "sdk/CoreX/CoreMachDebugLog.h"

I_CFBundleDLL::~I_CFBundleDLL() {
  if (mDLLHandle != nullptr) CFRelease(mDLLHandle);
}

bool I_CFBundleDLL::LoadFromURL(CFURLRef bundleURL) {
  if (!VERIFY_AT(21, bundleURL)) return false;
  // Created before the old one goes, so that a bundle that has not changed is not made anew.
  CFBundleRef old = mDLLHandle;
  mDLLHandle = CFBundleCreate(kCFAllocatorSystemDefault, bundleURL);
  if (old != nullptr) CFRelease(old);
  if (!VERIFY_TEXT(23, "mDLLHandle = ::CFBundleCreate(kCFAllocatorSystemDefault,bundleURL)",
                   mDLLHandle)) {
    CFBaseDLL::print_URL("I_CFBundleDLL::LoadFromURL: ", bundleURL);
    return false;
  }
  const bool fOk = CFBundleLoadExecutable(mDLLHandle) != 0;
  return VERIFY_TEXT(24, "fOk = ::CFBundleLoadExecutable(mDLLHandle)", fOk);
}

bool I_CFBundleDLL::Unload() {
  if (!IsLoaded()) return false;
  CFBundleUnloadExecutable(mDLLHandle);
  CFRelease(mDLLHandle);
  mDLLHandle = nullptr;
  return true;
}

bool I_CFBundleDLL::IsLoaded() const {
  return mDLLHandle != nullptr && CFBundleIsExecutableLoaded(mDLLHandle);
}

void* I_CFBundleDLL::SymbolNamed(CFStringRef name) const {
  return CFBundleGetFunctionPointerForName(mDLLHandle, name);
}
