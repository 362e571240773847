// The part of the pixel-map operations that is compiled into its users. Included by QPixMap.h.
#pragma once

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"

inline void QPixMap_MemCopyPixels(PixMap** hDest, PixMap** hPixMap) {
  // Log lines name this file with its extension: it is not the source it is compiled in.
  if (!CoreMachDebug::VerifyTrue(hDest != nullptr && hPixMap != nullptr, __FUNCTION__,
                                 "sdk/QClasses/QPixMap_inl.h", __LINE__,
                                 " code : hDest!=nil && hPixMap!=nil")) {
    return;
  }
  void* const to = GetPixBaseAddr(hDest);
  const void* const from = GetPixBaseAddr(hPixMap);
  const SInt64 bytes = std::min(QPixMap_KnownBytes(hDest), QPixMap_KnownBytes(hPixMap));
  if (to != nullptr && from != nullptr) std::memmove(to, from, static_cast<std::size_t>(bytes));
}
