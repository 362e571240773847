// The type identifier that the objects behind a typed Core Foundation reference bear.
#pragma once

#include "platform/CoreFoundation/CoreFoundation.h"

/// A type identifier under a process-wide name. It has its value before any static initialiser of
/// any source runs, whatever the order: it asks the platform whenever it is read.
class CFTypeIDConstant {
 public:
  using Source = CFTypeID (*)();
  constexpr explicit CFTypeIDConstant(Source source) : source_(source) {}
  operator CFTypeID() const { return source_ == nullptr ? 0 : source_(); }

 private:
  Source source_;
};

/// `T_CFTypeID<CFStringRef>::sTypeID` is the identifier of strings, and so on for each reference
/// type below. References of no particular type (CFTypeRef) have 0.
template <typename T>
struct T_CFTypeID;

template <>
struct T_CFTypeID<CFStringRef> {
  static constexpr CFTypeIDConstant sTypeID{CFStringGetTypeID};
};
template <>
struct T_CFTypeID<CFNumberRef> {
  static constexpr CFTypeIDConstant sTypeID{CFNumberGetTypeID};
};
template <>
struct T_CFTypeID<CFBooleanRef> {
  static constexpr CFTypeIDConstant sTypeID{CFBooleanGetTypeID};
};
template <>
struct T_CFTypeID<CFArrayRef> {
  static constexpr CFTypeIDConstant sTypeID{CFArrayGetTypeID};
};
template <>
struct T_CFTypeID<CFMutableArrayRef> {
  static constexpr CFTypeIDConstant sTypeID{CFArrayGetTypeID};
};
template <>
struct T_CFTypeID<CFDictionaryRef> {
  static constexpr CFTypeIDConstant sTypeID{CFDictionaryGetTypeID};
};
template <>
struct T_CFTypeID<CFDataRef> {
  static constexpr CFTypeIDConstant sTypeID{CFDataGetTypeID};
};
template <>
struct T_CFTypeID<CFSetRef> {
  static constexpr CFTypeIDConstant sTypeID{CFSetGetTypeID};
};
template <>
struct T_CFTypeID<CFMutableSetRef> {
  static constexpr CFTypeIDConstant sTypeID{CFSetGetTypeID};
};
template <>
struct T_CFTypeID<CFBagRef> {
  static constexpr CFTypeIDConstant sTypeID{CFBagGetTypeID};
};
template <>
struct T_CFTypeID<CFMutableBagRef> {
  static constexpr CFTypeIDConstant sTypeID{CFBagGetTypeID};
};
template <>
struct T_CFTypeID<CFBundleRef> {
  static constexpr CFTypeIDConstant sTypeID{CFBundleGetTypeID};
};
template <>
struct T_CFTypeID<CFURLRef> {
  static constexpr CFTypeIDConstant sTypeID{CFURLGetTypeID};
};
template <>
struct T_CFTypeID<CFTypeRef> {
  static constexpr CFTypeIDConstant sTypeID{nullptr};
};
