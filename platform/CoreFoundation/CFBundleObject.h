// The bundle object, for the files that implement CFBundle.h.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFBundle.h"
#include "platform/CoreFoundation/CFBundleLayout.h"
#include "platform/CoreFoundation/CFRuntime.h"

struct __CFBundle final : CFRuntimeObject {
  /// Takes over the layout's dictionary. The main bundle is immortal.
  __CFBundle(CFBundleLayout::Layout found, bool main);
  ~__CFBundle() override;

  CFStringRef copyDescriptionText() const override;

  bool hasFolders() const { return layout.kind == CFBundleLayout::Kind::kFolder; }
  /// The parts folder `name`; for folder bundles only.
  std::string folder(const char* name) const { return layout.contents + "/" + name; }

  const CFBundleLayout::Layout layout;
  const bool isMain;

  std::mutex lock;         ///< guards what follows
  void* handle = nullptr;  ///< the dynamic loader's, while loaded
  void* image = nullptr;   ///< the loader's record of the mapped file, while loaded

 protected:
  void finalize() noexcept override;
};

/// Owns one reference of each bundle in it.
class CFBundleList {
 public:
  CFBundleList() = default;
  CFBundleList(const CFBundleList&) = delete;
  CFBundleList& operator=(const CFBundleList&) = delete;
  ~CFBundleList() {
    for (const CFBundleRef bundle : bundles_) bundle->releaseReference();
  }
  void adopt(CFBundleRef bundle) { bundles_.push_back(bundle); }
  auto begin() const { return bundles_.begin(); }
  auto end() const { return bundles_.end(); }

 private:
  std::vector<CFBundleRef> bundles_;
};

/// Adds every live bundle but the main one, oldest first.
void CFBundleCollectLive(CFBundleList& list);
