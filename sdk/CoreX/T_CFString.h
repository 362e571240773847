// Core Foundation strings to and from every form of text the program uses.
//
// Conversions report by their result and a log line; none throws. Texts that come out in 8 bits are
// NUL-terminated or std::string; "Pascal string" is a length byte followed by that many bytes.
// `wide` texts have 32-bit units; they go through UTF-16 units one by one, so that what lies beyond
// 16 bits is cut on the way in, and a surrogate pair stays two units on the way out.
#pragma once

#include <string>

#include "sdk/CoreX/T_CFTypeRef.h"
#include "sdk/CoreX/T_cstring.h"

/// No preferred encoding: 8-bit text comes out in UTF-8.
inline constexpr auto kTCFString_NoPreference =
    static_cast<CFStringBuiltInEncodings>(kCFStringEncodingInvalidId);

class TCFString : public T_CFTypeRef<CFStringRef> {
 public:
  TCFString() = default;
  /// Stores any reference; the type is not checked.
  explicit TCFString(CFStringRef ref, CFTypeRef_Ownership ownership = kCFTypeRef_NotOwned)
      : T_CFTypeRef(ref, ownership) {}

  // The other constructors and assignments are the matching SetValue, UTF-8 for 8-bit text, with
  // its result ignored. A null text is one log line and leaves the string empty.
  explicit TCFString(const char* in_cstring);
  explicit TCFString(const std::string& text);
  explicit TCFString(const HFSUniStr255& name);
  explicit TCFString(const wchar_t* in_wide_cstring);
  explicit TCFString(const std::wstring& text);
  TCFString& operator=(const char* in_cstring);
  TCFString& operator=(const HFSUniStr255& name);
  TCFString& operator=(const wchar_t* in_wide_cstring);

  bool IsTypeValid() const;
  /// A string is held, not null and no object of another type. An empty text is a valid string.
  bool IsValid() const { return IsTypeValid(); }

  // Setters: replace the string by a new, owned one. False leaves no string behind.

  bool SetValue(const char* in_cstring, CFStringBuiltInEncodings inFromThisEncoding);
  bool SetValue(const std::string& text, CFStringBuiltInEncodings inFromThisEncoding);
  /// A Pascal string.
  bool SetValue(const unsigned char* in_pstring, CFStringBuiltInEncodings inFromThisEncoding);
  /// UTF-16, NUL-terminated.
  bool SetValue(const UniChar* in_cstring);
  /// A record that claims more than 255 units is read to its end.
  bool SetValue(const HFSUniStr255& name);
  /// Cuts every unit to 16 bits, then reads the result as bytes in UTF-16 up to the first zero
  /// byte. Text in Latin letters, whose every second byte is zero, thus becomes an empty string;
  /// units without a zero byte arrive whole.
  bool SetValue(const wchar_t* in_wide_cstring);

  // Getters.

  /// UTF-16 units; 0, with a log line, when there is no string.
  SInt32 strlen() const;
  /// Literal comparison of the UTF-16 units: -1, 0 or 1. Also -1, with a log line, when there is no
  /// string on either side.
  int strcmp(CFStringRef rhs_StringRef) const;
  /// Of UTF-8 text.
  int strcmp(const char* in_rhs_utf8_cstring) const;

  /// GetConstCharStarValue, but false leaves `out` empty.
  bool GetValue(std::string& out, CFStringBuiltInEncodings encoding = kCFStringEncodingUTF8) const;
  /// The text in `encoding` or, where it has no form there or the system lacks the encoding, in
  /// UTF-8. False, with `out` untouched, for an empty string and for one that holds half a
  /// surrogate pair.
  ///
  /// Each success leaves its conversion buffer, up to 3 bytes for each unit in UTF-8, allocated for
  /// the life of the process: as in every release so far. Do not convert long texts in a loop.
  bool GetConstCharStarValue(std::string& out, CFStringBuiltInEncodings encoding) const;
  /// A Pascal string in Mac OS Roman (else UTF-8), cut to 255 bytes. `out` has room for 256; false
  /// makes it empty. False for null.
  bool GetValue(unsigned char* out) const;
  /// The first 127 units at most: the conversion is limited to 255 bytes. False for an empty
  /// string.
  bool GetValue(HFSUniStr255& out) const;
  /// A new NUL-terminated UTF-16 buffer, which the caller frees with `free`, and its length in
  /// units without the NUL. False, with a null pointer and 0, on failure.
  bool GetValue(const UniChar*& out, SInt32& out_length) const;
  /// False leaves `out` empty.
  bool GetValue(std::wstring& out) const;
  /// Replaces the buffer of `out`. An empty string goes only where a buffer already is.
  bool GetValue(T_cstring<UniChar>& out_cstring) const;

  // Conversions in one step, with the limits of the setters and getters they are made of.

  static bool ToUnicode(const char* in_utf8_cstring, HFSUniStr255& out,
                        CFStringBuiltInEncodings encoding);
  static bool ToUnicode(const char* in_utf8_cstring, std::wstring& out,
                        CFStringBuiltInEncodings encoding);
  static bool ToUnicode(const unsigned char* in_pstring, HFSUniStr255& out,
                        CFStringBuiltInEncodings encoding);
  static bool FromUnicode(const HFSUniStr255& name, std::string& out,
                          CFStringBuiltInEncodings encoding);
  static bool FromUnicode(const wchar_t* in_wide_cstring, std::string& out,
                          CFStringBuiltInEncodings encoding);

 private:
  /// Takes over a newly created string; false, and no string, for null.
  bool Adopt(CFStringRef newString);
};
