#include "platform/CoreFoundation/CFDate.h"

#include <chrono>
#include <functional>

#include "platform/CoreFoundation/CFRuntime.h"
#include "platform/CoreFoundation/CFUTF8.h"

struct __CFDate final : CFRuntimeObject {
  explicit __CFDate(CFAbsoluteTime at) : CFRuntimeObject(CFDateGetTypeID()), time(at) {}
  bool isEqualTo(const CFRuntimeObject& other) const override {
    return time == static_cast<const __CFDate&>(other).time;
  }
  CFHashCode hashValue() const override {
    return static_cast<CFHashCode>(std::hash<double>()(time));
  }
  CFStringRef copyDescriptionText() const override {
    return CFUTF8CreateString("<CFDate>{time = " + std::to_string(time) + "}");
  }

  const CFAbsoluteTime time;
};

CFTypeID CFDateGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFDate");
  return typeID;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime time) {
  return new __CFDate(time);
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
  return date->time;
}

CFAbsoluteTime CFAbsoluteTimeGetCurrent() {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  return now.count() - kCFAbsoluteTimeIntervalSince1970;
}
