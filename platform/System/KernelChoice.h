// Which form of a set of row kernels is in use.
#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <string_view>

/// A choice among forms, best first; `Kernels` has a member `name`. Constant-initialised, so that
/// it can be asked from any static initialiser. Safe from any thread.
template <typename Kernels>
class KernelChoice {
 public:
  constexpr KernelChoice() = default;

  /// The selected form, else the best one. The forms outlive the choice.
  const Kernels& Current(std::span<const Kernels> forms) const {
    const Kernels* selected = selected_.load(std::memory_order_relaxed);
    return selected != nullptr ? *selected : forms.front();
  }

  /// "vector" is the best form, whatever its name. False, with nothing changed, when no form has
  /// the name.
  bool Select(std::span<const Kernels> forms, std::string_view name) {
    if (name == "vector") name = forms.front().name;
    for (const Kernels& form : forms) {
      if (form.name == name) {
        selected_.store(&form, std::memory_order_relaxed);
        return true;
      }
    }
    return false;
  }

 private:
  std::atomic<const Kernels*> selected_{nullptr};
};
