// The URL object, for the files that implement CFURL.h.
#pragma once

#include <optional>
#include <string>

#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreFoundation/CFURL.h"
#include "platform/CoreFoundation/CFURLText.h"

struct __CFURL final : CFRuntimeObject {
  /// Retains `base`. `parts` hold only characters a URL may hold.
  __CFURL(CFURLText::Parts parts, CFURLRef base);
  ~__CFURL() override;

  bool isEqualTo(const CFRuntimeObject& other) const override;
  CFHashCode hashValue() const override;
  CFStringRef copyDescriptionText() const override;

  /// The parts resolved against the base.
  CFURLText::Parts resolvedParts() const;

  const CFURLText::Parts parts;
  const std::string text;
  const CFStringRef string;
  const CFURLRef base;
};

/// The bytes of a file URL's path, decoded and without trailing slash; see
/// CFURLGetFileSystemRepresentation for when there are none.
std::optional<std::string> CFURLPathBytes(CFURLRef url, bool resolveAgainstBase);
/// The absolute file URL of an absolute path.
CFURLRef CFURLCreateWithPathBytes(std::string_view path, bool isDirectory);
