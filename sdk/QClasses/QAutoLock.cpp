#include "sdk/QClasses/QAutoLock.h"

QAutoLock::QAutoLock(char** h) : mWasUnlocked(false), mHandle(nullptr) {
  if (h != nullptr) Lock(h);
}

QAutoLock::~QAutoLock() {
  UnlockIF();
  mWasUnlocked = false;
  mHandle = nullptr;
}

void QAutoLock::UnlockIF() {
  if (mWasUnlocked) HUnlock(mHandle);
}

void QAutoLock::Lock(char** h) {
  UnlockIF();
  mHandle = h;
  mWasUnlocked = false;
  if (mHandle == nullptr) return;
  const bool isLocked = (static_cast<UInt8>(HGetState(mHandle)) & (1u << kHandleLockedBit)) != 0;
  if (!isLocked) {
    HLock(mHandle);
    mWasUnlocked = true;
  }
}

UInt32 QAutoLock::HandleSizeBytes() const {
  return mHandle == nullptr ? 0 : static_cast<UInt32>(GetHandleSize(mHandle));
}
