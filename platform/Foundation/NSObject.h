// The root class of the object layer, and the registry of classes by name.
//
// Rules that hold for all of platform/Foundation and platform/CoreImage:
// - A selector is a method without its colons: `initWithName:type:` is initWithNametype(name,
// type).
// - `new` (or a class record's alloc) gives the caller one reference. Objects that class methods
//   return are autoreleased: they live until the thread's innermost pool is drained
//   (NSAutoreleasePool.h). Retain what is to outlive it.
// - NSString, NSNumber, NSArray, NSDictionary and NSData are the Core Foundation types themselves:
//   an NSString* is a CFStringRef and goes wherever one does. Their class methods are the free
//   functions of NSValues.h.
// - Every object is a CFRuntimeObject at the same address, so CFRetain, CFRelease and Core
//   Foundation's collections take it as it is.
// - Reference counts, the class registry and the filter registry may be used from any thread. One
//   object is used by one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "platform/CoreFoundation/CFRuntime.h"

using BOOL = signed char;
inline constexpr BOOL YES = 1;
inline constexpr BOOL NO = 0;

using NSString = const struct __CFString;
using NSMutableString = struct __CFString;
using NSNumber = const struct __CFNumber;
using NSArray = const struct __CFArray;
using NSDictionary = const struct __CFDictionary;
using NSData = const struct __CFData;
using NSUInteger = std::uint32_t;

class NSObject;
class NSClassRecord;
using id = NSObject*;  ///< an object of this layer; where Core Foundation's may come too: CFTypeRef
using Class = const NSClassRecord*;

CFTypeID NSObjectGetTypeID();

/// An object with key-value coding. Subclasses make their instance variables known to it with
/// exposeVariable in their constructor; a value set by key is retained by the variable and the
/// value it replaces is released. The last value is the subclass's to release in its dealloc.
class NSObject : public CFRuntimeObject {
 public:
  NSObject();

  /// Second step of creation. Returns the object to use from then on: itself, or null after
  /// giving back its reference when it cannot be used. Overrides call their superclass's first.
  virtual id init();
  /// Called when the last reference is given back, and by nobody else. An override frees what the
  /// object holds and then calls its superclass's dealloc; the root's frees the object itself.
  virtual void dealloc();

  NSObject* retain() noexcept;
  void release() noexcept;
  /// Gives back one reference when the thread's innermost pool is drained. Returns the object.
  NSObject* autorelease();
  NSUInteger retainCount() const noexcept;

  /// The record of the object's class: the one it was allocated by, else the registered class of
  /// its C++ type's name; null when there is none.
  Class classRecord() const;

  /// Sets the exposed variable named `key`; a null value clears it. False, with nothing changed,
  /// when there is no such variable or the value is not of the variable's type.
  virtual bool setValueforKey(CFTypeRef value, NSString* key);
  /// The value, not retained; null when it is unset or there is no such variable.
  virtual CFTypeRef valueForKey(NSString* key);

 protected:
  explicit NSObject(CFTypeID typeID);
  ~NSObject() override;
  void finalize() noexcept final;

  /// Makes `variable` reachable as `key`, a text that lives as long as the object. Only values of
  /// the variable's own type are taken; a CFTypeRef variable takes any.
  template <typename T>
  void exposeVariable(const char* key, T** variable);
  void exposeVariable(const char* key, CFTypeRef* variable);

  /// One variable under key-value coding.
  struct KeyedVariable {
    const char* key;
    void* address;  ///< of a pointer variable
    bool (*accepts)(CFTypeRef value);
    const char* className;       ///< the values' class, for Core Foundation's types
    const std::type_info* type;  ///< the values' class, for this layer's
    KeyedVariable* next;
  };
  const KeyedVariable* keyedVariables() const { return variables_; }

 private:
  friend class NSClassRecord;
  void addVariable(const char* key, void* address, bool (*accepts)(CFTypeRef),
                   const char* className, const std::type_info* type);
  const KeyedVariable* findVariable(NSString* key) const;

  Class class_ = nullptr;
  KeyedVariable* variables_ = nullptr;
};

/// A class that can be found and instantiated by name. Records are the registry's; one stays valid
/// while the module that registered it is loaded.
class NSClassRecord {
 public:
  const std::string& name() const { return name_; }
  /// The C++ base class's; empty for the root class.
  const std::string& superclassName() const;
  /// Whether `superclass` is among the class's bases, however far up.
  bool isSubclassOf(std::string_view superclass) const;
  /// An address in the code of the module that registered the class.
  const void* codeAddress() const;
  /// A new object, one reference for the caller, init not yet called. Null when memory is short,
  /// the class's constructor throws, or the class is registered no more.
  NSObject* alloc() const;
  /// Objects made by alloc that still live.
  CFIndex liveInstances() const noexcept;

  /// False once the module has withdrawn the class.
  bool isRegistered() const noexcept;
  /// Keeps the record (not the module) in memory until as many drops.
  void hold() const noexcept;
  void drop() const noexcept;

 private:
  friend class NSObject;
  friend class NSClassRegistration;
  using Factory = NSObject* (*)();
  NSClassRecord(const char* name, const std::type_info& type, Factory factory);
  ~NSClassRecord() = default;

  std::string name_;
  std::vector<std::string> superclasses_;  // nearest first
  Factory factory_;
  std::atomic<bool> registered_{true};
  mutable std::atomic<CFIndex> holders_{1};
  mutable std::atomic<CFIndex> instances_{0};
};

/// The class registered under `name`; null when there is none. When several modules registered the
/// name, the one loaded first wins for as long as it stays loaded.
Class NSClassFromString(NSString* name);

/// The class registered under `name` by the module that contains `codeAddress`, whichever module
/// wins the name process-wide; null when that module registered none.
Class NSClassInModule(NSString* name, const void* codeAddress);

/// Registers a class from the module's load to its unloading; use NS_REGISTER_CLASS.
class NSClassRegistration {
 public:
  NSClassRegistration(const char* name, const std::type_info& type, NSObject* (*factory)());
  ~NSClassRegistration();
  NSClassRegistration(const NSClassRegistration&) = delete;
  NSClassRegistration& operator=(const NSClassRegistration&) = delete;

 private:
  NSClassRecord* record_;
};

/// In one source file of a module, at namespace scope: registers the default-constructible class
/// `ClassName` (an unqualified name) while the module is loaded. The superclass is the C++ base.
#define NS_REGISTER_CLASS(ClassName)                                                       \
  namespace {                                                                              \
  const NSClassRegistration NSClassRegistration_##ClassName(#ClassName, typeid(ClassName), \
                                                            []() -> NSObject* {            \
                                                              return new ClassName;        \
                                                            });                            \
  }

/// For values of any type, Core Foundation's own included: the type-preserving forms of retain,
/// release and autorelease. Null is passed through.
CFTypeRef NSRetainObject(CFTypeRef object);
void NSReleaseObject(CFTypeRef object);
CFTypeRef NSAutoreleaseObject(CFTypeRef object);
template <typename T>
T* NSRetain(T* object) {
  NSRetainObject(object);
  return object;
}
template <typename T>
void NSRelease(T* object) {
  NSReleaseObject(object);
}
template <typename T>
T* NSAutorelease(T* object) {
  NSAutoreleaseObject(object);
  return object;
}

// Whether an object is of a Core Foundation type; the names are declared here so that this header
// needs no value type's own.
bool NSIsString(CFTypeRef object);
bool NSIsNumber(CFTypeRef object);
bool NSIsArray(CFTypeRef object);
bool NSIsDictionary(CFTypeRef object);
bool NSIsData(CFTypeRef object);
/// Whether an object is an NSObject, and if so, which.
NSObject* NSObjectFrom(CFTypeRef object);

template <typename T>
void NSObject::exposeVariable(const char* key, T** variable) {
  using Value = std::remove_const_t<T>;
  if constexpr (std::is_same_v<Value, __CFString>) {
    addVariable(key, variable, NSIsString, "NSString", nullptr);
  } else if constexpr (std::is_same_v<Value, __CFNumber>) {
    addVariable(key, variable, NSIsNumber, "NSNumber", nullptr);
  } else if constexpr (std::is_same_v<Value, __CFArray>) {
    addVariable(key, variable, NSIsArray, "NSArray", nullptr);
  } else if constexpr (std::is_same_v<Value, __CFDictionary>) {
    addVariable(key, variable, NSIsDictionary, "NSDictionary", nullptr);
  } else if constexpr (std::is_same_v<Value, __CFData>) {
    addVariable(key, variable, NSIsData, "NSData", nullptr);
  } else {
    static_assert(std::is_base_of_v<NSObject, Value>);
    addVariable(
        key, variable,
        [](CFTypeRef value) { return dynamic_cast<Value*>(NSObjectFrom(value)) != nullptr; },
        nullptr, &typeid(Value));
  }
}
