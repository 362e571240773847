// Core Foundation objects in tests: owners, and short ways between strings, paths and objects.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreFoundation/CFType.h"

namespace test {

/// Holds the reference it is given and releases it.
template <typename Ref>
class CFOwned {
 public:
  CFOwned() = default;
  explicit CFOwned(Ref owned) : ref_(owned) {}
  CFOwned(CFOwned&& other) noexcept : ref_(std::exchange(other.ref_, nullptr)) {}
  CFOwned& operator=(CFOwned&& other) noexcept {
    std::swap(ref_, other.ref_);
    return *this;
  }
  ~CFOwned() { CFRelease(ref_); }
  Ref get() const { return ref_; }
  operator Ref() const { return ref_; }
  /// For out-parameters; must hold nothing.
  Ref* out() { return &ref_; }
  void reset() { CFRelease(std::exchange(ref_, nullptr)); }

 private:
  Ref ref_ = nullptr;
};

/// The string's UTF-8; "(null)" for null.
std::string TextOf(CFStringRef string);
/// The same, and releases it.
std::string TakeText(CFStringRef owned);
CFOwned<CFStringRef> String(std::string_view utf8);

CFOwned<CFURLRef> FileURL(const std::filesystem::path& path, bool isDirectory = false);
/// The file-system path the URL, resolved, stands for; "(null)" when it has none.
std::string PathOf(CFURLRef url);
/// The same, and releases the URL.
std::string TakePath(CFURLRef owned);

}  // namespace test
