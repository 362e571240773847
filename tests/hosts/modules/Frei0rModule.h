// The module through its ABI, as a host has it.
#pragma once

#include <dlfcn.h>
#include <frei0r.h>
#include <gtest/gtest.h>

#include <string>

namespace modules {

class Frei0rModule {
 public:
  explicit Frei0rModule(const std::string& path)
      : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
      ADD_FAILURE() << dlerror();
      return;
    }
    Find(init, "f0r_init");
    Find(deinit, "f0r_deinit");
    Find(getPluginInfo, "f0r_get_plugin_info");
    Find(getParamInfo, "f0r_get_param_info");
    Find(construct, "f0r_construct");
    Find(destruct, "f0r_destruct");
    Find(setParamValue, "f0r_set_param_value");
    Find(getParamValue, "f0r_get_param_value");
    Find(update, "f0r_update");
    Find(update2, "f0r_update2");
  }
  ~Frei0rModule() { dlclose(handle_); }
  Frei0rModule(const Frei0rModule&) = delete;
  Frei0rModule& operator=(const Frei0rModule&) = delete;

  void* handle() const { return handle_; }

  decltype(&f0r_init) init = nullptr;
  decltype(&f0r_deinit) deinit = nullptr;
  decltype(&f0r_get_plugin_info) getPluginInfo = nullptr;
  decltype(&f0r_get_param_info) getParamInfo = nullptr;
  decltype(&f0r_construct) construct = nullptr;
  decltype(&f0r_destruct) destruct = nullptr;
  decltype(&f0r_set_param_value) setParamValue = nullptr;
  decltype(&f0r_get_param_value) getParamValue = nullptr;
  decltype(&f0r_update) update = nullptr;
  decltype(&f0r_update2) update2 = nullptr;

 private:
  template <typename Function>
  void Find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(handle_, name));
    EXPECT_NE(function, nullptr) << name;
  }

  void* handle_;
};

}  // namespace modules
