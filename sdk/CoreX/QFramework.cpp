#include "sdk/CoreX/QFramework.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/StaticOrder.h"

CORE_BUILT_EARLY CFBundleDLL QFramework::sQuickTime(CFSTR("QuickTime.framework"));

bool QFramework::SampleNumToMediaDecodeTime(Media theMedia, SInt64 logicalSampleNum,
                                            SInt64* sampleDecodeTime,
                                            SInt64* sampleDecodeDuration) {
  VERIFY_AT(14, sQuickTime.LoadSystemFramework());
  if (!VERIFY_AT(16, sQuickTime.IsLoaded())) return false;
  using Function = void(Media, SInt64, SInt64*, SInt64*);
  if (!VERIFY_TEXT(
          18,
          "sQuickTime.Call(CFSTR(\"SampleNumToMediaDecodeTime\"), theMedia, logicalSampleNum, "
          "sampleDecodeTime, sampleDecodeDuration)",
          sQuickTime.Call<Function>(CFSTR("SampleNumToMediaDecodeTime"), theMedia, logicalSampleNum,
                                    sampleDecodeTime, sampleDecodeDuration))) {
    return false;
  }
  const OSErr error = GetMoviesError();
  const bool fOk = error == noErr;
  if (!VERIFY_TEXT(21, "fOk = (error==noErr)", fOk)) {
    CoreMachDebugLog("%d=SampleNumToMediaDecodeTime()\n", error);
  }
  return fOk;
}

OSErr QFramework::NewDataReferenceFromFSRef(const FSRef* fileRef, UInt32 flags, Handle* outDataRef,
                                            OSType* outDataRefType) {
  return QTNewDataReferenceFromFSRef(fileRef, flags, outDataRef, outDataRefType);
}

OSErr QFramework::NewDataReferenceFromFSRefCFString(const FSRef* folderRef, CFStringRef fileName,
                                                    UInt32 flags, Handle* outDataRef,
                                                    OSType* outDataRefType) {
  VERIFY_AT(59, sQuickTime.LoadSystemFramework());
  if (!VERIFY_AT(61, sQuickTime.IsLoaded())) return paramErr;
  using Function = OSErr(const FSRef*, CFStringRef, UInt32, Handle*, OSType*);
  const OSErr result =
      sQuickTime.FnCall<Function>(CFSTR("QTNewDataReferenceFromFSRefCFString"), folderRef, fileName,
                                  flags, outDataRef, outDataRefType);
  VERIFY_TEXT(64, "result==noErr", result == noErr);
  return result;
}
