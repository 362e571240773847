// The loader's executable policy over Core Foundation bundles.
#pragma once

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreX/CoreBaseDLL.h"

class I_CFBundleDLL {
 public:
  /// Borrows the name (of the bundle, with extension; may be null). Loads nothing.
  explicit I_CFBundleDLL(CFStringRef bundleName) : mBundleName(bundleName) {}
  ~I_CFBundleDLL();
  I_CFBundleDLL(const I_CFBundleDLL&) = delete;
  I_CFBundleDLL& operator=(const I_CFBundleDLL&) = delete;

  /// Creates the bundle at the URL and loads its executable. False, with log lines, when either
  /// fails. Whatever was held before is let go of; a bundle whose executable failed to load stays
  /// held, unloaded, until it is replaced.
  bool LoadFromURL(CFURLRef bundleURL);

  /// Unloads the executable and lets go of the bundle. False, with nothing changed, when no
  /// executable is loaded.
  bool Unload();

  bool IsLoaded() const;

  CFStringRef BundleName() const { return mBundleName; }
  void SetBundleName(CFStringRef bundleName) { mBundleName = bundleName; }
  /// The bundle held, or null. Stays this object's.
  CFBundleRef BundleHandle() const { return mDLLHandle; }

 protected:
  /// The executable's symbol, or null. Only for a loaded executable.
  void* SymbolNamed(CFStringRef name) const;

 private:
  CFStringRef mBundleName;
  CFBundleRef mDLLHandle = nullptr;
};

using CFBundleDLL = T_CFBaseDLL<I_CFBundleDLL>;
