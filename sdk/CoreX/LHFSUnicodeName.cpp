// Names to and from text.
#include "sdk/CoreX/LHFSUnicodeName.h"

#include <exception>

#include "platform/CoreServices/FileForks.h"
#include "platform/CoreServices/Script.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/LUnicodeTextConverter.h"
#include "sdk/CoreX/StaticOrder.h"
#include "sdk/CoreX/T_CFString.h"

CORE_BUILT_EARLY const LHFSUnicodeName LHFSUnicodeName::sDataFork(kSpecialName_DataFork);
CORE_BUILT_EARLY const LHFSUnicodeName LHFSUnicodeName::sResourceFork(kSpecialName_ResourceFork);

bool LHFSUnicodeName::Construct(kSpecialName in_specialName) {
  Empty();
  OSErr err = noErr;
  switch (in_specialName) {
    case kSpecialName_None:
      return true;
    case kSpecialName_DataFork:
      err = FSGetDataForkName(this);
      break;
    case kSpecialName_ResourceFork:
      err = FSGetResourceForkName(this);
      break;
    default:
      return false;
  }
  ConstructPostfix();
  return err == noErr;
}

bool LHFSUnicodeName::Construct(const unsigned char* in_pstring, SInt16 forScriptCode) {
  Empty();
  HFSUniStr255 utf16_file_name = {};
  bool fOk = ConvertFileName(in_pstring, forScriptCode, utf16_file_name);
  if (!VERIFY_TEXT(__LINE__, "ConvertFileName(in_pstring, forScriptCode, utf16_file_name)", fOk)) {
    return false;
  }
  return VERIFY_TEXT(__LINE__, "fOk=Construct(utf16_file_name)", fOk = Construct(utf16_file_name));
}

bool LHFSUnicodeName::Construct(const unsigned char* in_mac_roman_file_name) {
  Empty();
  const bool fOk = TCFString::ToUnicode(in_mac_roman_file_name, *this, kCFStringEncodingMacRoman);
  ConstructPostfix();
  return fOk;
}

bool LHFSUnicodeName::Construct(const char* in_file_name) {
  Empty();
  bool fOk = in_file_name != nullptr;
  if (fOk) fOk = ConvertFileName(in_file_name, *this);
  ConstructPostfix();
  return VERIFY_TEXT(__LINE__, "ConvertFileName(in_file_name, *this)", fOk);
}

bool LHFSUnicodeName::Construct(const std::string& in_file_name) {
  bool fOk = false;
  return VERIFY(fOk = Construct(in_file_name.c_str()));
}

bool LHFSUnicodeName::GetUnixPath(std::string& out_file_name) const {
  out_file_name.clear();
  if (length == 0) return true;
  if (!VERIFY(IsNullTerminated())) return false;
  return VERIFY_TEXT(__LINE__, "TCFString::FromUnicode(*this, out_file_name)",
                     TCFString::FromUnicode(*this, out_file_name, kCFStringEncodingUTF8));
}

bool LHFSUnicodeName::GetUnixPath(std::wstring& out_file_name) const {
  out_file_name.clear();
  if (length == 0) return true;
  if (!VERIFY(IsNullTerminated())) return false;
  for (UInt16 i = 0; i < length; ++i) out_file_name += static_cast<wchar_t>(unicode[i]);
  return true;
}

bool LHFSUnicodeName::ConvertFileName(const std::string& in_file_name,
                                      HFSUniStr255& out_file_name) {
  return TCFString::ToUnicode(in_file_name.c_str(), out_file_name, kCFStringEncodingUTF8);
}

bool LHFSUnicodeName::ConvertFileName(const unsigned char* in_pstring, SInt16 forScriptCode,
                                      HFSUniStr255& out_file_name) {
  try {
    LUnicodeTextConverter converter(forScriptCode,
                                    static_cast<SInt16>(GetScriptManagerVariable(smRegionCode)));
    const OSStatus status = converter.TextToUnicode(in_pstring, out_file_name);
    bool fOk = false;
    return VERIFY_TEXT(__LINE__, "fOk = (status==noErr)", fOk = (status == noErr));
  } catch (const CoreException&) {
    return false;
  } catch (const std::exception&) {
    return false;
  }
}
