#include "platform/CoreFoundation/CFNull.h"

#include <new>

#include "platform/CoreFoundation/CFConstant.h"
#include "platform/CoreFoundation/CFStringInternal.h"

struct __CFNull final : CFRuntimeObject {
  __CFNull() : CFRuntimeObject(CFNullGetTypeID(), true) {}
  CFStringRef copyFormattingText() const override { return cftext::Make(u"<null>"); }
};

namespace {

alignas(__CFNull) unsigned char nullStorage[sizeof(__CFNull)];

const struct Constants {
  Constants() { new (nullStorage) __CFNull; }
} constants CF_CONSTANT_OBJECTS;

}  // namespace

const CFNullRef kCFNull = reinterpret_cast<CFNullRef>(nullStorage);

CFTypeID CFNullGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFNull");
  return typeID;
}
