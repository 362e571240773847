// QuickTime's functions that are reached by name, because not every system has them.
#pragma once

#include "platform/CoreServices/Aliases.h"
#include "platform/QuickTime/Movies.h"
#include "sdk/CoreX/CoreBundleDLL.h"

/// QuickTime.framework is loaded from the system frameworks folder when it is not, also after an
/// earlier failure; its functions are looked up at each call. Failures are logged.
class QFramework {
 public:
  /// Where a sample begins in its media, and how long it lasts, in the media's time units. False
  /// without the framework or the function in it, and on an error of the movie toolbox.
  static bool SampleNumToMediaDecodeTime(Media theMedia, SInt64 logicalSampleNum,
                                         SInt64* sampleDecodeTime, SInt64* sampleDecodeDuration);

  /// A new data reference to an existing file; the caller disposes of the handle. Linked directly.
  static OSErr NewDataReferenceFromFSRef(const FSRef* fileRef, UInt32 flags, Handle* outDataRef,
                                         OSType* outDataRefType);

  /// The same for a file, which need not exist, by name in a folder. paramErr (-50) without the
  /// framework, 0 with nothing delivered without the function in it.
  static OSErr NewDataReferenceFromFSRefCFString(const FSRef* folderRef, CFStringRef fileName,
                                                 UInt32 flags, Handle* outDataRef,
                                                 OSType* outDataRefType);

  /// There before the static initialisers of ordinary sources run, and until after their ends.
  static CFBundleDLL sQuickTime;
};
