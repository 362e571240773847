// Text in one legacy encoding to and from Unicode, as file names hold it.
#pragma once

#include <string>

#include "platform/CoreServices/TextEncodingConverter.h"
#include "platform/CoreServices/UnicodeConverter.h"

/// Converts between an encoding, given as such or by script and region, and Unicode.
///
/// What comes out of the encoding is decomposed as HFS Plus stores names, and what goes into it may
/// be; UTF-8 to and from UTF-16 keeps the form it is given. All conversions return the platform's
/// status and never throw; when the encoding has no table, those that need it fail (paramErr).
class LUnicodeTextConverter {
 public:
  /// `textEncodingHint`: an encoding, of which the base alone counts.
  explicit LUnicodeTextConverter(UInt32 textEncodingHint);
  /// The encoding of a script in a region; Mac Roman when there is no such script.
  LUnicodeTextConverter(SInt16 script, SInt16 region);
  ~LUnicodeTextConverter();
  LUnicodeTextConverter(const LUnicodeTextConverter&) = delete;
  LUnicodeTextConverter& operator=(const LUnicodeTextConverter&) = delete;

  /// All handles null, without disposing of them.
  void InitEmpty();
  /// Disposes of the four converters of the legacy encoding.
  void DeleteCurrentConverters();

  // Into a name: up to 255 units (kTECOutputBufferFullStatus when there are more, with the first
  // ones in the name). `length` tells the units written whatever the status.

  OSStatus TextToUnicode(const std::string& text, HFSUniStr255& name);
  /// A Pascal string.
  OSStatus TextToUnicode(const unsigned char* pstr, HFSUniStr255& name);
  OSStatus UTF8ToUnicode(const std::string& utf8, HFSUniStr255& name);

  // Into a string, which holds what was written whatever the status. The first buffer has as many
  // bytes as noted; a second one of that size is tried when it is full, and that is all
  // (kTECOutputBufferFullStatus).

  OSStatus UnicodeToUTF8(const HFSUniStr255& name, std::string& utf8);  ///< 5 for each unit
  OSStatus UTF8ToText(const std::string& utf8, std::string& text);      ///< 1 for each byte
  OSStatus UnicodeToText(const HFSUniStr255& name, std::string& text);  ///< 1 for each unit
  OSStatus TextToUTF8(const std::string& text, std::string& utf8);      ///< 5 for each byte

 private:
  void InitUnicodeTextConverter(UInt32 textEncodingHint);
  void InitUnicodeTextConverter(SInt16 inForScript, SInt16 inForRegion);
  void CreateUnicodeConverters();

  UnicodeToTextInfo mUTF8ToTextInfo = nullptr;
  UnicodeToTextInfo mUnicodeToTextInfo = nullptr;
  TextToUnicodeInfo mTextToUTF8Info = nullptr;
  TextToUnicodeInfo mTextToUnicodeInfo = nullptr;
  TECObjectRef mUTF8ToUnicode = nullptr;
  TECObjectRef mUnicodeToUTF8 = nullptr;
};
