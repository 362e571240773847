// Platform values as the program's own.
#pragma once

#include <string>
#include <utility>

#include "nlohmann/json.hpp"
#include "platform/CoreFoundation/CFBase.h"

namespace lumivane {

void ReleaseValue(CFTypeRef value);

/// Owns one reference of a platform value; null is fine.
template <typename Ref>
class Held {
 public:
  Held() = default;
  explicit Held(Ref value) : value_(value) {}
  Held(Held&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
  Held& operator=(Held&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Held() {
    if (value_ != nullptr) ReleaseValue(value_);
  }
  Ref get() const { return value_; }
  Ref* out() { return &value_; }
  explicit operator bool() const { return value_ != nullptr; }

 private:
  Ref value_ = nullptr;
};

/// UTF-8 of a string; empty for null and for a value of another type.
std::string Text(CFTypeRef value);

/// The path a file URL names, as the file system's bytes; empty for null and for other URLs.
std::string PathText(CFURLRef url);

/// Strings, numbers, booleans, arrays and dictionaries as JSON; anything else by its description.
nlohmann::ordered_json Json(CFTypeRef value);

/// As text in lines. The bytes of file names and of components' texts need not be UTF-8: what is
/// none becomes U+FFFD.
std::string Lines(const nlohmann::ordered_json& json);

}  // namespace lumivane
