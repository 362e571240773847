// The object model under every reference-counted platform object (CF..., CG..., NS..., CI...).
//
// An object derives from CFRuntimeObject as its first and only base, so that a CFTypeRef, whatever
// typed reference it came from, is the address of the CFRuntimeObject. Counts are atomic; an object
// is destroyed by the thread that gives back the last reference.
#pragma once

#include <atomic>

#include "platform/CoreFoundation/CFBase.h"

class CFRuntimeObject {
 public:
  CFRuntimeObject(const CFRuntimeObject&) = delete;
  CFRuntimeObject& operator=(const CFRuntimeObject&) = delete;

  CFTypeID typeID() const noexcept { return typeID_; }

  /// Value equality; `other` is non-null and of the same type. The default is identity.
  virtual bool isEqualTo(const CFRuntimeObject& other) const;
  virtual CFHashCode hashValue() const;
  /// A new description string, owned by the caller; never null.
  virtual CFStringRef copyDescriptionText() const;
  /// What "%@" prints: a string's content, a number's value. The default is the description.
  virtual CFStringRef copyFormattingText() const;

  void retainReference() const noexcept;
  /// Takes a reference unless the last one has been given back: for tables that find objects
  /// without owning them. The caller must know that the memory is still the object's.
  bool retainIfAlive() const noexcept;
  /// Gives back one reference; the last one calls `finalize`.
  void releaseReference() const noexcept;
  CFIndex referenceCount() const noexcept;

 protected:
  /// A new object starts with one reference. `immortal` objects ignore retain and release.
  explicit CFRuntimeObject(CFTypeID typeID, bool immortal = false) noexcept;
  virtual ~CFRuntimeObject();
  /// Ends the object's life; the default deletes it.
  virtual void finalize() noexcept;

 private:
  mutable std::atomic<CFIndex> references_{1};
  const CFTypeID typeID_;
  const bool immortal_;
};

/// A new type identifier for a class of objects named `className` ("CGImage"). Never 0, and stable
/// for the life of the process. The name is copied.
CFTypeID CFRuntimeRegisterType(const char* className);

/// The object as `T`, or null when it is null or of another type.
template <class T>
const T* CFRuntimeCast(CFTypeRef object, CFTypeID typeID) {
  const auto* base = static_cast<const CFRuntimeObject*>(object);
  return base != nullptr && base->typeID() == typeID ? static_cast<const T*>(base) : nullptr;
}
template <class T>
T* CFRuntimeCast(void* object, CFTypeID typeID) {
  auto* base = static_cast<CFRuntimeObject*>(object);
  return base != nullptr && base->typeID() == typeID ? static_cast<T*>(base) : nullptr;
}
