#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/T_CFString.h"

namespace {

constexpr SInt32 kMaxNameUnits = 255;

}  // namespace

TCFString::TCFString(const char* in_cstring) {
  if (VERIFY_TEXT(26, "in_cstring!=NULL", in_cstring != nullptr))
    SetValue(in_cstring, kCFStringEncodingUTF8);
}

TCFString::TCFString(const std::string& text) {
  SetValue(text, kCFStringEncodingUTF8);
}

TCFString::TCFString(const HFSUniStr255& name) {
  SetValue(name);
}

TCFString::TCFString(const wchar_t* in_wide_cstring) {
  if (VERIFY_TEXT(37, "in_wide_cstring!=NULL", in_wide_cstring != nullptr))
    SetValue(in_wide_cstring);
}

TCFString::TCFString(const std::wstring& text) {
  SetValue(text.c_str());
}

TCFString& TCFString::operator=(const char* in_cstring) {
  if (VERIFY_TEXT(46, "in_cstring!=NULL", in_cstring != nullptr)) {
    SetValue(in_cstring, kCFStringEncodingUTF8);
  } else {
    destruct();
  }
  return *this;
}

TCFString& TCFString::operator=(const HFSUniStr255& name) {
  SetValue(name);
  return *this;
}

TCFString& TCFString::operator=(const wchar_t* in_wide_cstring) {
  if (VERIFY_TEXT(37, "in_wide_cstring!=NULL", in_wide_cstring != nullptr)) {
    SetValue(in_wide_cstring);
  } else {
    destruct();
  }
  return *this;
}

bool TCFString::IsTypeValid() const {
  return mValueRef != nullptr && CFGetTypeID(mValueRef) == T_CFTypeID<CFStringRef>::sTypeID;
}

SInt32 TCFString::strlen() const {
  return VERIFY_AT(67, IsValid()) ? CFStringGetLength(mValueRef) : 0;
}

int TCFString::strcmp(const char* in_rhs_utf8_cstring) const {
  if (!VERIFY_AT(76, IsValid())) return -1;
  if (!VERIFY_TEXT(78, "in_rhs_utf8_cstring!=NULL", in_rhs_utf8_cstring != nullptr)) return -1;
  return strcmp(TCFString(in_rhs_utf8_cstring).GetRef());
}

int TCFString::strcmp(CFStringRef rhs_StringRef) const {
  if (!VERIFY_AT(90, IsValid())) return -1;
  if (!VERIFY_TEXT(92, "rhs_StringRef!=NULL", rhs_StringRef != nullptr)) return -1;
  return CFStringCompare(mValueRef, rhs_StringRef, 0);
}

bool TCFString::Adopt(CFStringRef newString) {
  if (newString == nullptr) {
    destruct();
    return false;
  }
  construct(newString, kCFTypeRef_Owned);
  strlen();  // Logs if the new object is none.
  return true;
}

bool TCFString::SetValue(const char* in_cstring, CFStringBuiltInEncodings inFromThisEncoding) {
  if (!VERIFY_TEXT(105, "in_cstring!=NULL", in_cstring != nullptr)) {
    destruct();
    return false;
  }
  if (Adopt(CFStringCreateWithCString(kCFAllocatorDefault, in_cstring, inFromThisEncoding))) {
    return true;
  }
  CoreMachDebugLog("TCFString::SetValue in_cstring:%s inFromThisEncoding:%d\n", in_cstring,
                   static_cast<int>(inFromThisEncoding));
  return false;
}

bool TCFString::SetValue(const std::string& text, CFStringBuiltInEncodings inFromThisEncoding) {
  return SetValue(text.c_str(), inFromThisEncoding);
}

bool TCFString::SetValue(const UniChar* in_cstring) {
  if (!VERIFY_TEXT(134, "in_cstring!=NULL", in_cstring != nullptr)) {
    destruct();
    return false;
  }
  SInt32 string_length = 0;
  while (in_cstring[string_length] != 0) ++string_length;
  if (!Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault, in_cstring, string_length))) {
    return false;
  }
  VERIFY_AT(140, string_length == strlen());
  return true;
}

bool TCFString::SetValue(const HFSUniStr255& name) {
  const SInt32 length = std::min<SInt32>(name.length, kMaxNameUnits);
  return Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault, name.unicode, length));
}

bool TCFString::SetValue(const wchar_t* in_wide_cstring) {
  if (!VERIFY_TEXT(216, "in_wide_cstring!=NULL", in_wide_cstring != nullptr)) {
    destruct();
    return false;
  }
  const CoreUnicode::string_t<wchar_t, UniChar> narrow(in_wide_cstring);
  return SetValue(reinterpret_cast<const char*>(narrow.c_str()), kCFStringEncodingUnicode);
}

bool TCFString::SetValue(const unsigned char* in_pstring,
                         CFStringBuiltInEncodings inFromThisEncoding) {
  if (!VERIFY_TEXT(247, "in_pstring!=NULL", in_pstring != nullptr)) {
    destruct();
    return false;
  }
  return Adopt(CFStringCreateWithPascalString(kCFAllocatorDefault, in_pstring, inFromThisEncoding));
}

bool TCFString::GetValue(std::string& out, CFStringBuiltInEncodings encoding) const {
  if (GetConstCharStarValue(out, encoding)) return true;
  out.clear();
  return false;
}

bool TCFString::GetValue(unsigned char* out) const {
  if (out == nullptr) return false;
  std::string text;
  const bool fOk = GetValue(text, kCFStringEncodingMacRoman);
  const std::size_t length = std::min<std::size_t>(text.size(), 255);
  out[0] = static_cast<unsigned char>(length);
  std::copy_n(text.data(), length, out + 1);
  CoreMachDebugLogNull("%d=TCFString::GetValue(pstring_t)\n", fOk);
  return fOk;
}

bool TCFString::GetValue(HFSUniStr255& out) const {
  constexpr CFIndex kMaxBytes = 255;
  const CFRange range = CFRangeMake(0, std::min(strlen(), kMaxNameUnits));
  CFIndex converted = 0;
  if (range.length > 0) {
    converted = CFStringGetBytes(mValueRef, range, kCFStringEncodingUnicode, 0, 0,
                                 reinterpret_cast<UInt8*>(out.unicode), kMaxBytes, nullptr);
  }
  out.length = static_cast<UInt16>(converted);
  return converted != 0;
}

bool TCFString::GetValue(const UniChar*& out, SInt32& out_length) const {
  out = nullptr;
  out_length = 0;
  if (!VERIFY_AT(151, IsTypeValid())) return false;
  const SInt32 length = CFStringGetLength(mValueRef);
  UniChar* uszValue = T_cstring<UniChar>::alloc_string_length(length);
  if (!VERIFY_AT(156, uszValue)) return false;
  const CFIndex converted =
      CFStringGetBytes(mValueRef, CFRangeMake(0, length), kCFStringEncodingUnicode, 0, 0,
                       reinterpret_cast<UInt8*>(uszValue), 2 * length, nullptr);
  if (converted != length) {
    std::free(uszValue);
    return false;
  }
  uszValue[length] = 0;
  out = uszValue;
  out_length = length;
  return true;
}

bool TCFString::GetValue(T_cstring<UniChar>& out_cstring) const {
  if (!VERIFY_AT(174, IsTypeValid())) return false;
  const SInt32 length = CFStringGetLength(mValueRef);
  if (!out_cstring.set_length(length)) return false;
  const CFIndex uszValue_sizebytes = 2 * length + 2;
  const bool fOk = CFStringGetCString(mValueRef, reinterpret_cast<char*>(out_cstring.m_cstring),
                                      uszValue_sizebytes, kCFStringEncodingUnicode) != 0;
  if (!VERIFY_TEXT(180,
                   "fOk = ::CFStringGetCString(mValueRef,(char*)out_cstring.m_cstring,"
                   "uszValue_sizebytes,kCFStringEncodingUnicode)",
                   fOk)) {
    out_cstring.clear();
  }
  return fOk;
}

bool TCFString::GetValue(std::wstring& out) const {
  const UniChar* text = nullptr;
  SInt32 length = 0;
  out.clear();
  if (!GetValue(text, length)) return false;
  const CoreUnicode::string_t<UniChar, wchar_t> wide(text);
  std::free(const_cast<UniChar*>(text));
  out.assign(wide.c_str());
  return true;
}

bool TCFString::FromUnicode(const wchar_t* in_wide_cstring, std::string& out,
                            CFStringBuiltInEncodings encoding) {
  if (!VERIFY_TEXT(277, "in_wide_cstring!=NULL", in_wide_cstring != nullptr)) return false;
  return TCFString(in_wide_cstring).GetValue(out, encoding);
}

bool TCFString::FromUnicode(const HFSUniStr255& name, std::string& out,
                            CFStringBuiltInEncodings encoding) {
  return TCFString(name).GetValue(out, encoding);
}

bool TCFString::ToUnicode(const char* in_utf8_cstring, std::wstring& out,
                          CFStringBuiltInEncodings encoding) {
  if (!VERIFY_TEXT(294, "in_utf8_cstring!=NULL", in_utf8_cstring != nullptr)) return false;
  TCFString string;
  return string.SetValue(in_utf8_cstring, encoding) && string.GetValue(out);
}

bool TCFString::ToUnicode(const unsigned char* in_pstring, HFSUniStr255& out,
                          CFStringBuiltInEncodings encoding) {
  if (!VERIFY_TEXT(308, "in_pstring!=NULL", in_pstring != nullptr)) return false;
  TCFString string;
  return string.SetValue(in_pstring, encoding) && string.GetValue(out);
}

bool TCFString::ToUnicode(const char* in_utf8_cstring, HFSUniStr255& out,
                          CFStringBuiltInEncodings encoding) {
  if (!VERIFY_TEXT(322, "in_utf8_cstring!=NULL", in_utf8_cstring != nullptr)) return false;
  TCFString string;
  return string.SetValue(in_utf8_cstring, encoding) && string.GetValue(out);
}
