// A QuickTime.framework whose functions report what they were given.
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreServices/Files.h"
#include "platform/QuickTime/Movies.h"

extern "C" {

/// Each sample lasts 10 units; a negative number is an error of the toolbox.
void SampleNumToMediaDecodeTime(Media media, SInt64 sample, SInt64* time, SInt64* duration);
/// Delivers its arguments; a null folder is an error.
OSErr QTNewDataReferenceFromFSRefCFString(const FSRef* folder, CFStringRef name, UInt32 flags,
                                          Handle* outHandle, OSType* outType);

void SampleNumToMediaDecodeTime(Media media, SInt64 sample, SInt64* time, SInt64* duration) {
  if (media == nullptr || sample < 0) {
    SetMoviesError(paramErr);
    return;
  }
  *time = sample * 10;
  *duration = 10;
  SetMoviesError(noErr);
}

OSErr QTNewDataReferenceFromFSRefCFString(const FSRef* folder, CFStringRef name, UInt32 flags,
                                          Handle* outHandle, OSType* outType) {
  if (folder == nullptr) return fnfErr;
  static char* master = nullptr;
  *outHandle = &master;
  *outType = 1000 * flags + static_cast<OSType>(CFStringGetLength(name));
  return noErr;
}

}  // extern "C"
