#include "sdk/CoreX/CFTypeRefClass.h"

#include "sdk/CoreX/T_CFString.h"

namespace {

/// UTF-8 text of a string the caller has just been given, which is released.
bool ConvertOwnedString(CFStringRef string, std::string& out) {
  return TCFString(string, kCFTypeRef_Owned).GetValue(out, kTCFString_NoPreference);
}

}  // namespace

CFTypeRefClass::TypeException::~TypeException() = default;

const char* CFTypeRefClass::TypeException::what() const noexcept {
  return "CFTypeRefClass::TypeException";
}

void CFTypeRefClass::ThrowIfNotTypeMatch(CFTypeRef ref, CFTypeID typeID) {
  if (ref != nullptr && (typeID == 0 || CFGetTypeID(ref) == typeID)) return;
  throw TypeException();
}

bool CFTypeRefClass::ConvertTo(CFTypeRef ref, std::string& out) {
  if (ref == nullptr) return false;
  if (CFGetTypeID(ref) != T_CFTypeID<CFStringRef>::sTypeID) return GetDescription(ref, out);
  return TCFString(static_cast<CFStringRef>(ref), kCFTypeRef_NotOwned)
      .GetValue(out, kTCFString_NoPreference);
}

bool CFTypeRefClass::GetDescription(CFTypeRef ref, std::string& out) {
  return ConvertOwnedString(CFCopyDescription(ref), out);
}

bool CFTypeRefClass::GetTypeDescription(CFTypeID typeID, std::string& out) {
  return ConvertOwnedString(CFCopyTypeIDDescription(typeID), out);
}
