// Catalogue information for a new file: all zero but its Finder information.
#pragma once

#include <cstring>

#include "platform/CoreServices/Files.h"

struct FSCatalogInfo_t : FSCatalogInfo {
  FSCatalogInfo_t() : FSCatalogInfo{} {}
  FSCatalogInfo_t(OSType type, OSType creator) : FSCatalogInfo{} { SetTypeCreator(type, creator); }
  explicit FSCatalogInfo_t(const FInfo& info) : FSCatalogInfo{} {
    std::memcpy(finderInfo, &info, sizeof(finderInfo));
  }

  /// Flags and location become 0.
  void SetTypeCreator(OSType type, OSType creator) {
    const FInfo info = {type, creator, 0, {0, 0}, 0};
    std::memcpy(finderInfo, &info, sizeof(finderInfo));
  }
};
