// A typed Core Foundation reference that knows whether it owns what it refers to.
#pragma once

#include "sdk/CoreX/CFTypeRefClass.h"
#include "sdk/CoreX/T_CFTypeID.h"

enum CFTypeRef_Ownership : UInt32 {
  kCFTypeRef_NotOwned = 0,  ///< borrowed: never released by the holder
  kCFTypeRef_Owned = 1,     ///< the holder has one reference and gives it back when it lets go
};

/// `T` is the reference type (CFStringRef). Not copyable: it would be unclear who releases.
template <typename T>
class T_CFTypeRef {
 public:
  T_CFTypeRef() = default;
  /// Takes any reference, null too; the type is not checked.
  T_CFTypeRef(T ref, CFTypeRef_Ownership ownership) : mValueRef(ref), mOwnership(ownership) {}
  ~T_CFTypeRef() { destruct(); }
  T_CFTypeRef(const T_CFTypeRef&) = delete;
  T_CFTypeRef& operator=(const T_CFTypeRef&) = delete;

  /// Lets go of what is held and holds `ref` instead. False for null. An object of another type
  /// throws CFTypeRefClass::TypeException, and is held (and later released, if owned) nevertheless.
  bool construct(T ref, CFTypeRef_Ownership ownership) {
    if (mValueRef != nullptr) destruct();
    mValueRef = ref;
    mOwnership = ownership;
    if (ref == nullptr) return false;
    CFTypeRefClass::ThrowIfNotTypeMatch(ref, T_CFTypeID<T>::sTypeID);
    return true;
  }

  /// Lets go: releases an owned object. Null and not owned afterwards.
  void destruct() {
    if (mValueRef != nullptr && mOwnership == kCFTypeRef_Owned) CFRelease(mValueRef);
    mValueRef = nullptr;
    mOwnership = kCFTypeRef_NotOwned;
  }

  /// The reference; stays the holder's.
  T GetRef() const { return mValueRef; }
  operator T() const { return mValueRef; }
  CFTypeRef_Ownership GetOwnership() const { return mOwnership; }

 protected:
  T mValueRef = nullptr;
  CFTypeRef_Ownership mOwnership = kCFTypeRef_NotOwned;
};
