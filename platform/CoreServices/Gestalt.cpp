#include "platform/CoreServices/Gestalt.h"

#include "platform/CoreServices/Files.h"

OSErr Gestalt(OSType selector, SInt32* response) {
  if (response == nullptr) return paramErr;
  switch (selector) {
    case gestaltSystemVersion:
      *response = 0x1048;
      return noErr;
    case gestaltSystemVersionMajor:
      *response = 10;
      return noErr;
    case gestaltSystemVersionMinor:
      *response = 4;
      return noErr;
    case gestaltSystemVersionBugFix:
      *response = 8;
      return noErr;
    default:
      return gestaltUndefSelectorErr;
  }
}
