// The Finder's information about files and folders.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// Of a file. On disk it is kept big-endian; in memory in the machine's order.
struct FInfo {
  OSType fdType;
  OSType fdCreator;
  UInt16 fdFlags;
  Point fdLocation;
  SInt16 fdFldr;
};
struct FXInfo {
  SInt16 fdIconID;
  SInt16 fdReserved[3];
  SInt8 fdScript;
  SInt8 fdXFlags;
  SInt16 fdComment;
  SInt32 fdPutAway;
};
/// Of a folder.
struct DInfo {
  Rect frRect;
  UInt16 frFlags;
  Point frLocation;
  SInt16 frView;
};
struct DXInfo {
  Point frScroll;
  SInt32 frOpenChain;
  SInt8 frScript;
  SInt8 frXFlags;
  SInt16 frComment;
  SInt32 frPutAway;
};
static_assert(sizeof(FInfo) == 16 && sizeof(FXInfo) == 16);
static_assert(sizeof(DInfo) == 16 && sizeof(DXInfo) == 16);

/// Bits of FInfo::fdFlags and DInfo::frFlags.
enum : UInt16 {
  kIsOnDesk = 0x0001,
  kColor = 0x000E,
  kIsShared = 0x0040,
  kHasNoINITs = 0x0080,
  kHasBeenInited = 0x0100,
  kHasCustomIcon = 0x0400,
  kIsStationery = 0x0800,
  kNameLocked = 0x1000,
  kHasBundle = 0x2000,
  kIsInvisible = 0x4000,
  kIsAlias = 0x8000,
};
