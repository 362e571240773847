// A file's name in the form that the file system's calls take.
#pragma once

#include <string>

#include "platform/CoreServices/MacTypes.h"

/// Names that the platform knows.
enum kSpecialName : int {
  kSpecialName_None = 0,            ///< the empty name
  kSpecialName_DataFork = 256,      ///< the data fork's
  kSpecialName_ResourceFork = 257,  ///< the resource fork's
};

/// Up to 255 UTF-16 units, kept NUL-terminated and followed by two guard words that tell when
/// something wrote on behind them. The NUL has to fit: a valid name has 253 units at most.
///
/// Failures are one or more log lines and false; nothing throws. A construction that is refused
/// leaves an empty, valid name.
class LHFSUnicodeName : public HFSUniStr255 {
 public:
  using superclass_t = HFSUniStr255;

  static constexpr UInt16 kMaxLength = 254;

  static const LHFSUnicodeName sDataFork;
  static const LHFSUnicodeName sResourceFork;

  // The empty name, and the matching Construct with its failure logged.
  LHFSUnicodeName();
  explicit LHFSUnicodeName(kSpecialName in_specialName);
  explicit LHFSUnicodeName(const HFSUniStr255& copyOf);
  LHFSUnicodeName(const LHFSUnicodeName& copyOf);
  LHFSUnicodeName(const unsigned char* in_pstring, SInt16 forScriptCode);
  explicit LHFSUnicodeName(const unsigned char* in_mac_roman_file_name);
  explicit LHFSUnicodeName(const char* in_file_name);
  explicit LHFSUnicodeName(const std::string& in_file_name);
  explicit LHFSUnicodeName(const wchar_t* in_file_name);
  explicit LHFSUnicodeName(const unsigned short* in_file_name);
  /// Logs when a guard word was overwritten.
  ~LHFSUnicodeName();
  LHFSUnicodeName& operator=(const HFSUniStr255& copyOf);
  LHFSUnicodeName& operator=(const LHFSUnicodeName& copyOf);

  /// False for other numbers than the three.
  bool Construct(kSpecialName in_specialName);
  /// Always true. A name of 254 units is taken, but not valid; a longer one is refused.
  bool Construct(const HFSUniStr255& copyOf);
  /// A Pascal string in a script of the system's region.
  bool Construct(const unsigned char* in_pstring, SInt16 forScriptCode);
  /// A Pascal string in Mac OS Roman, of 127 characters at most.
  bool Construct(const unsigned char* in_mac_roman_file_name);
  /// UTF-8; the first 127 units.
  bool Construct(const char* in_file_name);
  bool Construct(const std::string& in_file_name);
  /// 253 units; each is cut to 16 bits, as names beyond them have been all along. False for an
  /// empty name, too.
  bool Construct(const wchar_t* in_file_name);
  bool Construct(const unsigned short* in_file_name);

  /// Length 0, all units zero, guards set.
  void Empty();
  /// Stores `n`, with a log line when a name of that length has no room for its NUL.
  void set_length(UInt16 in_length);
  /// False, with a log line, when there is no room for the NUL.
  bool NullTerminateIt();

  bool IsMarked() const;
  void MarkOverflow();
  /// The unit after the name is a NUL that belongs to it: never so for 254 units and more.
  bool IsNullTerminated() const;
  bool IsValid() const { return IsMarked() && IsNullTerminated(); }

  /// In UTF-8. False, with an empty text, for a name without its NUL and for half a surrogate pair.
  bool GetUnixPath(std::string& out_file_name) const;
  /// Every unit as a character of its own.
  bool GetUnixPath(std::wstring& out_file_name) const;

  /// UTF-8 to units; the first 127.
  static bool ConvertFileName(const std::string& in_file_name, HFSUniStr255& out_file_name);
  /// A Pascal string in a script of the system's region.
  static bool ConvertFileName(const unsigned char* in_pstring, SInt16 forScriptCode,
                              HFSUniStr255& out_file_name);

  /// The same units: case counts, and composed is not decomposed. False for null.
  static bool Identical(const HFSUniStr255* a, const HFSUniStr255* b);
  bool operator==(const HFSUniStr255& other) const { return Identical(this, &other); }

 private:
  static constexpr UInt16 kFirstGuard = 0xBAAD;
  static constexpr UInt16 kSecondGuard = 0xDEAD;

  /// Sets guards and NUL; no NUL, with a log line, where there is no room for it.
  void ConstructPostfix();
  template <typename T>
  bool Constructor(const T* in_file_name);

  UInt16 mFirstGuard;
  UInt16 mSecondGuard;
};
