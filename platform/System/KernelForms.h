// The forms of a set of row kernels that this machine can run. For the `*_simd.cpp` files: include
// it after <hwy/highway.h>, in the part that is compiled once.
//
// On x86-64 the sets are AVX3_DL, AVX3, AVX2, SSE4 and SSSE3; on ARM64, NEON. AVX3_DL adds byte
// look-ups in whole registers (AVX-512 VBMI); ask for it by HWY_TARGET == HWY_AVX3_DL. Highway lets
// the compiler use AVX-VNNI there too, which not every machine with VBMI has: keep integer dot
// products out of that form.
#pragma once

#include <hwy/targets.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

/// One form, compiled for one instruction set. `Kernels` has a member `name`.
template <typename Kernels>
struct KernelForm {
  std::int64_t target;  ///< the instruction set's bit: HWY_TARGET where the form is compiled
  Kernels kernels;      ///< its name is hwy::TargetName(target): "AVX2", "NEON" and so on
};

/// The vector forms this machine can run, best first, then `scalar`: `table` is what
/// HWY_EXPORT(Form) declared, each entry a function that gives one set's form. The set of one lane
/// is left out: the scalar form stands for it. Never empty.
template <typename Kernels, std::size_t size>
std::vector<Kernels> SupportedForms(const KernelForm<Kernels>* (*const (&table)[size])(),
                                    const Kernels& scalar) {
  std::vector<Kernels> forms;
  std::int64_t seen = HWY_SCALAR | HWY_EMU128;
  // With several sets the first entry chooses one of the others.
  for (std::size_t i = size == 1 ? 0 : 1; i < size; ++i) {
    if (table[i] == nullptr) continue;
    const KernelForm<Kernels>& form = *table[i]();
    const bool usable = (form.target & hwy::SupportedTargets()) != 0;
    if (!usable || (form.target & seen) != 0) continue;
    seen |= form.target;
    forms.push_back(form.kernels);
  }
  forms.push_back(scalar);
  return forms;
}
