// The process's table of registered classes. Internal to the object layer.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Foundation/NSObject.h"

namespace lumivane::foundation {

/// Records in the order of registration. Safe from any thread; what it returns is valid while the
/// record's module is loaded.
class ClassRegistry {
 public:
  static ClassRegistry& Shared();

  void Add(Class record);
  void Remove(Class record);
  /// The first registered under `name`, or null.
  Class Find(const std::string& name);
  /// Every one.
  std::vector<Class> All();
  /// Every one registered under `name`.
  std::vector<Class> All(const std::string& name);
  /// Every class of the module that contains `codeAddress`.
  std::vector<Class> InModule(const void* codeAddress);

 private:
  std::mutex lock_;
  std::vector<Class> records_;
};

}  // namespace lumivane::foundation
