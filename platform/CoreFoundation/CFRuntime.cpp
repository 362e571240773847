#include "platform/CoreFoundation/CFRuntime.h"

#include <mutex>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFStringInternal.h"

namespace {

struct TypeTable {
  std::mutex lock;
  std::vector<std::string> names{"Not A Type"};
};

// Never destroyed: modules register and look up types until the process ends.
TypeTable& Types() {
  static TypeTable& table = *new TypeTable;
  return table;
}

}  // namespace

CFTypeID CFRuntimeRegisterType(const char* className) {
  TypeTable& table = Types();
  const std::lock_guard guard(table.lock);
  table.names.emplace_back(className);
  return static_cast<CFTypeID>(table.names.size() - 1);
}

std::string CFRuntimeTypeName(CFTypeID typeID) {
  TypeTable& table = Types();
  const std::lock_guard guard(table.lock);
  return typeID != 0 && typeID < table.names.size() ? table.names[typeID] : std::string();
}

CFRuntimeObject::CFRuntimeObject(CFTypeID typeID, bool immortal) noexcept
    : typeID_(typeID), immortal_(immortal) {}

CFRuntimeObject::~CFRuntimeObject() = default;

bool CFRuntimeObject::isEqualTo(const CFRuntimeObject& other) const {
  return this == &other;
}

CFHashCode CFRuntimeObject::hashValue() const {
  return static_cast<CFHashCode>(reinterpret_cast<std::uintptr_t>(this) >> 4);
}

CFStringRef CFRuntimeObject::copyDescriptionText() const {
  return cftext::Make(u"<" + cftext::DescriptionHead(*this) + u">");
}

CFStringRef CFRuntimeObject::copyFormattingText() const {
  return copyDescriptionText();
}

void CFRuntimeObject::retainReference() const noexcept {
  if (!immortal_) references_.fetch_add(1, std::memory_order_relaxed);
}

bool CFRuntimeObject::retainIfAlive() const noexcept {
  if (immortal_) return true;
  CFIndex count = references_.load(std::memory_order_relaxed);
  while (count != 0) {
    if (references_.compare_exchange_weak(count, count + 1, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
      return true;
    }
  }
  return false;
}

void CFRuntimeObject::releaseReference() const noexcept {
  if (immortal_) return;
  if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    const_cast<CFRuntimeObject*>(this)->finalize();
  }
}

CFIndex CFRuntimeObject::referenceCount() const noexcept {
  return references_.load(std::memory_order_relaxed);
}

void CFRuntimeObject::finalize() noexcept {
  delete this;
}
