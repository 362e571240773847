// Keeps a relocatable handle locked while its bytes are in use.
#pragma once

#include "platform/CoreServices/MacMemory.h"

/// Locks a handle that is not locked yet and unlocks just those it has locked itself: a handle that
/// was locked before stays so. Null is accepted. The handle must outlive the guard.
class QAutoLock {
 public:
  explicit QAutoLock(char** h);
  ~QAutoLock();
  QAutoLock(const QAutoLock&) = delete;
  QAutoLock& operator=(const QAutoLock&) = delete;

  /// Lets go of the handle held so far and takes `h`.
  void Lock(char** h);
  /// The handle's size in bytes; 0 without one.
  UInt32 HandleSizeBytes() const;

 private:
  void UnlockIF();

  bool mWasUnlocked;
  char** mHandle;
};
