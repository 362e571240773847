#include "sdk/CoreX/LFileFork.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LFSRef.h"
#include "sdk/CoreX/LHFSUnicodeName.h"

LFileFork::~LFileFork() {
  Close();
}

bool LFileFork::Open(const FSRef* theFileRef, const HFSUniStr255* forkName, SInt8 permission) {
  Close();
  if (!VERIFY(theFileRef)) return false;
  const HFSUniStr255* const name = forkName != nullptr ? forkName : &LHFSUnicodeName::sDataFork;
  FSIORefNum refNum = kClosed;
  const OSErr err = FSOpenFork(theFileRef, name->length, name->unicode, permission, &refNum);
  if (VERIFY_ERR(err) != noErr) return false;
  mRef = refNum;
  return true;
}

bool LFileFork::OpenRead(const FSRef* theFileRef, const HFSUniStr255* forkName) {
  return Open(theFileRef, forkName, fsRdPerm);
}

bool LFileFork::OpenWrite(const FSRef* theFileRef, const HFSUniStr255* forkName) {
  return Open(theFileRef, forkName, fsRdWrPerm);
}

bool LFileFork::OpenData(const FSRef* theFileRef, SInt8 permission) {
  return Open(theFileRef, &LHFSUnicodeName::sDataFork, permission);
}

bool LFileFork::OpenData(const LFSRef& file, SInt8 permission) {
  FSRef theFileRef;
  Close();
  return VERIFY(file.GetNormalizedRef(theFileRef)) && OpenData(&theFileRef, permission);
}

bool LFileFork::OpenData(const FSSpec& file, SInt8 permission) {
  FSRef theFileRef;
  Close();
  return VERIFY(noErr == ::FSpMakeFSRef(&file, &theFileRef)) && OpenData(&theFileRef, permission);
}

bool LFileFork::Create(const FSRef* theFileRef, const HFSUniStr255* forkName) {
  Close();
  return VERIFY(theFileRef) &&
                VERIFY_TEXT(__LINE__, "noErr==::FSCreateFork(theFileRef, 0, 0)",
                            noErr == ::FSCreateFork(theFileRef, 0, nullptr)) &&
                OpenWrite(theFileRef, forkName);
}

bool LFileFork::CreateData(const FSRef* theFileRef) {
  return Create(theFileRef, &LHFSUnicodeName::sDataFork);
}

bool LFileFork::Read(void* buffer, ByteCount count, UInt16 positionMode, SInt64 offset,
                     ByteCount* actual) {
  if (actual != nullptr) *actual = 0;
  if (!VERIFY(IsOpen())) return false;
  const OSErr err = FSReadFork(mRef, positionMode, offset, count, buffer, actual);
  const bool fOk = err == noErr || err == eofErr;
  VERIFY_TEXT(__LINE__, "fOk = ((err==noErr) || (err==eofErr))", fOk);
  return fOk;
}

bool LFileFork::Write(const void* buffer, ByteCount count, UInt16 positionMode, SInt64 offset,
                      ByteCount* actual) {
  if (actual != nullptr) *actual = 0;
  if (!VERIFY(IsOpen())) return false;
  const OSErr err = FSWriteFork(mRef, positionMode, offset, count, buffer, actual);
  return VERIFY_TEXT(__LINE__, "fOk = (err==noErr)", err == noErr);
}

bool LFileFork::SetPosition(SInt64 offset, UInt16 positionMode) {
  if (!VERIFY(IsOpen())) return false;
  const OSErr err = FSSetForkPosition(mRef, positionMode, offset);
  return VERIFY_TEXT(__LINE__, "fOk = (err==noErr)", err == noErr);
}

bool LFileFork::GetPosition(SInt64& out_position) const {
  if (!VERIFY(IsOpen())) return false;
  const OSErr err = FSGetForkPosition(mRef, &out_position);
  return VERIFY_TEXT(__LINE__, "fOk = (err==noErr)", err == noErr);
}

bool LFileFork::Close() {
  if (!IsOpen()) return true;
  const OSErr err = FSCloseFork(mRef);
  mRef = kClosed;
  return VERIFY_TEXT(__LINE__, "noErr==(err=::FSCloseFork(mRef))", noErr == err);
}

bool LFileFork::DeleteForkName(const FSRef& theFileRef, const HFSUniStr255& forkName) {
  return VERIFY(noErr == ::FSDeleteFork(&theFileRef, forkName.length, forkName.unicode));
}

bool LFileFork::DeleteDataFork(const FSRef& theFileRef) {
  return DeleteForkName(theFileRef, LHFSUnicodeName::sDataFork);
}

bool LFileFork::DeleteResourceFork(const FSRef& theFileRef) {
  return DeleteForkName(theFileRef, LHFSUnicodeName::sResourceFork);
}
