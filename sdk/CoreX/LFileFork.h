// One open fork of a file.
#pragma once

#include "platform/CoreServices/Files.h"

class LFSRef;

/// Closes its fork when it dies; not copied. Operations return false and log one line on failure;
/// those on an open fork fail when it is closed. A fork that is opened while another is open closes
/// that one first.
class LFileFork {
 public:
  LFileFork() = default;
  ~LFileFork();
  LFileFork(const LFileFork&) = delete;
  LFileFork& operator=(const LFileFork&) = delete;

  bool IsOpen() const { return mRef != kClosed; }
  /// The open fork's number; -1 when closed.
  FSIORefNum GetRefNum() const { return mRef; }

  /// `permission` is one of FileForks.h. A null name is the data fork's.
  bool Open(const FSRef* theFileRef, const HFSUniStr255* forkName, SInt8 permission);
  bool OpenRead(const FSRef* theFileRef, const HFSUniStr255* forkName);
  /// For reading and writing.
  bool OpenWrite(const FSRef* theFileRef, const HFSUniStr255* forkName);
  // The data fork.
  bool OpenData(const FSRef* theFileRef, SInt8 permission);
  bool OpenData(const LFSRef& file, SInt8 permission);
  bool OpenData(const FSSpec& file, SInt8 permission);

  /// Makes sure of the file's data fork, whatever `forkName` is (the other fork comes into being
  /// when it is written), then opens `forkName` for reading and writing.
  bool Create(const FSRef* theFileRef, const HFSUniStr255* forkName);
  bool CreateData(const FSRef* theFileRef);

  /// Reads up to `count` bytes. Stopping at the end of the fork is a success: `actual`, which may
  /// be null, says how many bytes came. Positions as in FileForks.h (fsFromStart and the like).
  bool Read(void* buffer, ByteCount count, UInt16 positionMode, SInt64 offset,
            ByteCount* actual = nullptr);
  bool Write(const void* buffer, ByteCount count, UInt16 positionMode, SInt64 offset,
             ByteCount* actual = nullptr);
  bool SetPosition(SInt64 offset, UInt16 positionMode);
  bool GetPosition(SInt64& out_position) const;
  /// True, silently, when nothing is open.
  bool Close();

  // Empty a fork; the file stays.
  static bool DeleteForkName(const FSRef& theFileRef, const HFSUniStr255& forkName);
  static bool DeleteDataFork(const FSRef& theFileRef);
  static bool DeleteResourceFork(const FSRef& theFileRef);

 private:
  static constexpr FSIORefNum kClosed = -1;
  FSIORefNum mRef = kClosed;
};
