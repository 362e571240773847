#include "platform/Foundation/NSObject.h"

#include <cstring>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/Text.h"

using lumivane::foundation::TypeName;
using lumivane::foundation::Utf8;

CFTypeID NSObjectGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("NSObject");
  return type;
}

NSObject::NSObject() : NSObject(NSObjectGetTypeID()) {}

NSObject::NSObject(CFTypeID typeID) : CFRuntimeObject(typeID) {}

NSObject::~NSObject() {
  while (variables_ != nullptr) {
    KeyedVariable* const next = variables_->next;
    delete variables_;
    variables_ = next;
  }
  if (class_ != nullptr) {
    class_->instances_.fetch_sub(1, std::memory_order_acq_rel);
    class_->drop();
  }
}

id NSObject::init() {
  return this;
}

void NSObject::dealloc() {
  delete this;
}

void NSObject::finalize() noexcept {
  dealloc();
}

NSObject* NSObject::retain() noexcept {
  retainReference();
  return this;
}

void NSObject::release() noexcept {
  releaseReference();
}

NSObject* NSObject::autorelease() {
  NSAutoreleasePool::addObject(static_cast<const CFRuntimeObject*>(this));
  return this;
}

NSUInteger NSObject::retainCount() const noexcept {
  return static_cast<NSUInteger>(referenceCount());
}

Class NSObject::classRecord() const {
  if (class_ != nullptr) return class_;
  NSString* const name = lumivane::foundation::CreateString(TypeName(typeid(*this)));
  const Class found = NSClassFromString(name);
  NSReleaseObject(name);
  return found;
}

void NSObject::exposeVariable(const char* key, CFTypeRef* variable) {
  addVariable(
      key, variable, [](CFTypeRef) { return true; }, nullptr, nullptr);
}

void NSObject::addVariable(const char* key, void* address, bool (*accepts)(CFTypeRef),
                           const char* className, const std::type_info* type) {
  variables_ = new KeyedVariable{key, address, accepts, className, type, variables_};
}

const NSObject::KeyedVariable* NSObject::findVariable(NSString* key) const {
  if (key == nullptr) return nullptr;
  const std::string wanted = Utf8(key);
  for (const KeyedVariable* variable = variables_; variable != nullptr; variable = variable->next) {
    if (wanted == variable->key) return variable;
  }
  return nullptr;
}

// A variable is a pointer of its own type; its bytes are copied as those of the object's address,
// which every object pointer of these layers is.
bool NSObject::setValueforKey(CFTypeRef value, NSString* key) {
  const KeyedVariable* const variable = findVariable(key);
  if (variable == nullptr || (value != nullptr && !variable->accepts(value))) return false;
  CFTypeRef old = nullptr;
  std::memcpy(&old, variable->address, sizeof old);
  NSRetainObject(value);
  std::memcpy(variable->address, &value, sizeof value);
  NSReleaseObject(old);
  return true;
}

CFTypeRef NSObject::valueForKey(NSString* key) {
  const KeyedVariable* const variable = findVariable(key);
  if (variable == nullptr) return nullptr;
  CFTypeRef value = nullptr;
  std::memcpy(&value, variable->address, sizeof value);
  return value;
}

CFTypeRef NSRetainObject(CFTypeRef object) {
  if (object != nullptr) static_cast<const CFRuntimeObject*>(object)->retainReference();
  return object;
}

void NSReleaseObject(CFTypeRef object) {
  if (object != nullptr) static_cast<const CFRuntimeObject*>(object)->releaseReference();
}

CFTypeRef NSAutoreleaseObject(CFTypeRef object) {
  NSAutoreleasePool::addObject(object);
  return object;
}

namespace {

bool IsOfType(CFTypeRef object, CFTypeID type) {
  return object != nullptr && static_cast<const CFRuntimeObject*>(object)->typeID() == type;
}

}  // namespace

bool NSIsString(CFTypeRef object) {
  return IsOfType(object, CFStringGetTypeID());
}
bool NSIsNumber(CFTypeRef object) {
  return IsOfType(object, CFNumberGetTypeID());
}
bool NSIsArray(CFTypeRef object) {
  return IsOfType(object, CFArrayGetTypeID());
}
bool NSIsDictionary(CFTypeRef object) {
  return IsOfType(object, CFDictionaryGetTypeID());
}
bool NSIsData(CFTypeRef object) {
  return IsOfType(object, CFDataGetTypeID());
}

NSObject* NSObjectFrom(CFTypeRef object) {
  if (object == nullptr) return nullptr;
  auto* const base = const_cast<CFRuntimeObject*>(static_cast<const CFRuntimeObject*>(object));
  return dynamic_cast<NSObject*>(base);
}
