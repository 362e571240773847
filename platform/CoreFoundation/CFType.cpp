#include "platform/CoreFoundation/CFType.h"

#include <cstdio>

#include "platform/CoreFoundation/CFStringInternal.h"

namespace {

const CFRuntimeObject* Object(CFTypeRef object) {
  return static_cast<const CFRuntimeObject*>(object);
}

}  // namespace

CFTypeRef CFRetain(CFTypeRef object) {
  if (object != nullptr) Object(object)->retainReference();
  return object;
}

void CFRelease(CFTypeRef object) {
  if (object != nullptr) Object(object)->releaseReference();
}

CFIndex CFGetRetainCount(CFTypeRef object) {
  return object != nullptr ? Object(object)->referenceCount() : 0;
}

CFTypeID CFGetTypeID(CFTypeRef object) {
  return object != nullptr ? Object(object)->typeID() : 0;
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
  if (a == b) return true;
  if (a == nullptr || b == nullptr || Object(a)->typeID() != Object(b)->typeID()) return false;
  return Object(a)->isEqualTo(*Object(b));
}

CFHashCode CFHash(CFTypeRef object) {
  return object != nullptr ? Object(object)->hashValue() : 0;
}

CFStringRef CFCopyDescription(CFTypeRef object) {
  return object != nullptr ? Object(object)->copyDescriptionText() : nullptr;
}

CFStringRef CFCopyTypeIDDescription(CFTypeID typeID) {
  const std::string name = CFRuntimeTypeName(typeID);
  return cftext::MakeFromUTF8(name.empty() ? "Not A Type" : name);
}

void CFShow(CFTypeRef object) {
  const CFStringRef description = CFCopyDescription(object);
  const std::string text =
      description != nullptr ? cftext::ToUTF8(cftext::View(description)) : "(null)";
  CFRelease(description);
  std::fprintf(stderr, "%s\n", text.c_str());
}
