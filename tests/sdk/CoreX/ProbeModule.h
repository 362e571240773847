// A freshly loaded copy of the probe module.
#pragma once

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/sdk/CoreX/ToolkitProbe.h"
#include "tests/support/HermeticHome.h"

namespace test {

class ProbeModule {
 public:
  ProbeModule() {
    std::filesystem::copy_file(TEST_PROBE_MODULE, file());
    handle_ = dlopen(file().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~ProbeModule() { Unload(); }
  ProbeModule(const ProbeModule&) = delete;
  ProbeModule& operator=(const ProbeModule&) = delete;

  void Unload() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
  }

  std::filesystem::path file() const { return folder_ / "probe.so"; }

  /// `call<decltype(probe_f)>("probe_f", arguments...)`.
  template <typename Function, typename... Arguments>
  auto call(const char* name, Arguments... arguments) const {
    auto* function = reinterpret_cast<Function*>(dlsym(handle_, name));
    if (function == nullptr) throw std::runtime_error(name);
    return function(arguments...);
  }

 private:
  TempFolder folder_;
  void* handle_ = nullptr;
};

#define PROBE(module, function, ...) \
  (module).call<decltype(function)>(#function __VA_OPT__(, ) __VA_ARGS__)

}  // namespace test
