#include <cxxabi.h>
#include <dlfcn.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "platform/Foundation/ClassRegistry.h"
#include "platform/Foundation/Text.h"

using lumivane::foundation::ClassRegistry;
using lumivane::foundation::TypeName;

namespace {

const std::type_info* FirstBase(const std::type_info& type) {
  if (const auto* single = dynamic_cast<const abi::__si_class_type_info*>(&type)) {
    return single->__base_type;
  }
  if (const auto* several = dynamic_cast<const abi::__vmi_class_type_info*>(&type)) {
    return several->__base_count > 0 ? several->__base_info[0].__base_type : nullptr;
  }
  return nullptr;
}

const void* ModuleOf(const void* codeAddress) {
  Dl_info info{};
  return codeAddress != nullptr && dladdr(codeAddress, &info) != 0 ? info.dli_fbase : nullptr;
}

}  // namespace

NSClassRecord::NSClassRecord(const char* name, const std::type_info& type, Factory factory)
    : name_(name), factory_(factory) {
  for (const std::type_info* base = FirstBase(type); base != nullptr; base = FirstBase(*base)) {
    std::string text = TypeName(*base);
    if (text == "CFRuntimeObject") break;
    superclasses_.push_back(std::move(text));
  }
}

const std::string& NSClassRecord::superclassName() const {
  static const std::string& none = *new std::string;
  return superclasses_.empty() ? none : superclasses_.front();
}

bool NSClassRecord::isSubclassOf(std::string_view superclass) const {
  return std::find(superclasses_.begin(), superclasses_.end(), superclass) != superclasses_.end();
}

const void* NSClassRecord::codeAddress() const {
  return reinterpret_cast<const void*>(factory_);
}

NSObject* NSClassRecord::alloc() const {
  if (!isRegistered()) return nullptr;
  NSObject* object = nullptr;
  try {
    object = factory_();
  } catch (...) {
    return nullptr;
  }
  if (object == nullptr) return nullptr;
  hold();
  instances_.fetch_add(1, std::memory_order_acq_rel);
  object->class_ = this;
  return object;
}

CFIndex NSClassRecord::liveInstances() const noexcept {
  return instances_.load(std::memory_order_acquire);
}

bool NSClassRecord::isRegistered() const noexcept {
  return registered_.load(std::memory_order_acquire);
}

void NSClassRecord::hold() const noexcept {
  holders_.fetch_add(1, std::memory_order_relaxed);
}

void NSClassRecord::drop() const noexcept {
  if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

NSClassRegistration::NSClassRegistration(const char* name, const std::type_info& type,
                                         NSObject* (*factory)())
    : record_(new NSClassRecord(name, type, factory)) {
  ClassRegistry::Shared().Add(record_);
}

NSClassRegistration::~NSClassRegistration() {
  record_->registered_.store(false, std::memory_order_release);
  ClassRegistry::Shared().Remove(record_);
  record_->drop();
}

namespace lumivane::foundation {

// Never destroyed: modules withdraw their classes until the process ends.
ClassRegistry& ClassRegistry::Shared() {
  static ClassRegistry& registry = *new ClassRegistry;
  return registry;
}

void ClassRegistry::Add(Class record) {
  const std::lock_guard guard(lock_);
  records_.push_back(record);
}

void ClassRegistry::Remove(Class record) {
  const std::lock_guard guard(lock_);
  std::erase(records_, record);
}

Class ClassRegistry::Find(const std::string& name) {
  const std::lock_guard guard(lock_);
  for (const Class record : records_) {
    if (record->name() == name) return record;
  }
  return nullptr;
}

std::vector<Class> ClassRegistry::InModule(const void* codeAddress) {
  const void* const module = ModuleOf(codeAddress);
  std::vector<Class> found;
  if (module == nullptr) return found;
  const std::lock_guard guard(lock_);
  for (const Class record : records_) {
    if (ModuleOf(record->codeAddress()) == module) found.push_back(record);
  }
  return found;
}

std::vector<Class> ClassRegistry::All() {
  const std::lock_guard guard(lock_);
  return records_;
}

std::vector<Class> ClassRegistry::All(const std::string& name) {
  const std::lock_guard guard(lock_);
  std::vector<Class> found;
  std::copy_if(records_.begin(), records_.end(), std::back_inserter(found),
               [&](Class record) { return record->name() == name; });
  return found;
}

}  // namespace lumivane::foundation

Class NSClassFromString(NSString* name) {
  return name == nullptr ? nullptr : ClassRegistry::Shared().Find(lumivane::foundation::Utf8(name));
}

Class NSClassInModule(NSString* name, const void* codeAddress) {
  if (name == nullptr) return nullptr;
  const std::string wanted = lumivane::foundation::Utf8(name);
  for (const Class record : ClassRegistry::Shared().InModule(codeAddress)) {
    if (record->name() == wanted) return record;
  }
  return nullptr;
}
