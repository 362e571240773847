// What system this is, and the system's functions that are reached by name.
#pragma once

#include <cstddef>

#include "sdk/CoreX/CoreBundleDLL.h"

/// System versions as binary-coded decimal numbers, 0xVVMB: version, minor, bug fix.
enum CoreSystemName : SInt32 {
  kCoreSystem_10_0 = 0x1000,
  kCoreSystem_10_1 = 0x1010,
  kCoreSystem_10_2 = 0x1020,
  kCoreSystem_10_3 = 0x1030,
  kCoreSystem_10_4 = 0x1040,
  kCoreSystem_10_5 = 0x1050,
};

class CoreSystem {
 public:
  /// Asks the system for its version. Without an answer, one log line, it is 0.
  CoreSystem();

  /// The version as the system gives it (0x1048 for 10.4.8).
  SInt32 Version() const { return mVersion; }
  /// Whether the version, its bug-fix digit taken as 0, is at least `version`.
  bool IsAtLeast(CoreSystemName version) const;
  /// The same of a version given: what IsAtLeast decides by.
  static bool IsAtLeast(SInt32 systemVersion, CoreSystemName version);

  /// There before the static initialisers of ordinary sources run.
  static CoreSystem sSingleton;

 private:
  SInt32 mVersion = 0;
};

/// Functions of System.framework, looked up by name at each call; the framework is loaded from the
/// system frameworks folder when it is not, also after an earlier failure. Missing functions count
/// as returning 0 or null.
class SystemFramework {
 public:
  /// 0 without the framework too: callers go on with memory as it was.
  static int mprotect(const void* address, std::size_t length, int protection);
  /// -1 without the framework or, with a log line, for a null path.
  static int chdir(const char* in_utf8_path_string);
  /// Null without the framework.
  static char* getcwd(char* buffer, std::size_t size);

  /// There before the static initialisers of ordinary sources run, and until after their ends.
  static CFBundleDLL sSystem;
};
