// Every set of kernels has one whole form for each instruction set of this machine, and each form
// can be chosen by its name.
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <hwy/targets.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreGraphics/RowKernels.h"
#include "platform/CoreGraphics/ScaleKernels.h"
#include "platform/QuickTime/YCbCrRows.h"
#include "sdk/CoreGeometry/NoiseKernels.h"
#include "sdk/CoreX/XFrameKernels.h"
#include "sdk/QClasses/QPixMap_kernels.h"
#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace {

using Names = std::vector<std::string>;
using Pointer = void (*)();

/// The functions of one form, in the order of their declaration.
using Functions = std::vector<Pointer>;

template <typename... F>
Functions FunctionsOf(F*... functions) {
  return {reinterpret_cast<Pointer>(functions)...};
}

// The bindings name every member: a new one does not compile until it is looked at here.
Functions Of(const XFrameKernels::RowKernels& kernels) {
  const auto& [name, pairs, threeRows, field, fill, darken, bilinear, nearest] = kernels;
  return FunctionsOf(pairs, threeRows, field, fill, darken, bilinear, nearest);
}
Functions Of(const Q_2vuy::RowKernels& kernels) {
  const auto& [name, conversion, luma, blends] = kernels;
  const auto& [toARGB, fromARGB, overARGB] = conversion;
  const auto& [swap, map, countAndMap] = luma;
  const auto& [blend, blendMasked] = blends;
  return FunctionsOf(toARGB, fromARGB, overARGB, swap, map, countAndMap, blend, blendMasked);
}
Functions Of(const QPixMapKernels::RowKernels& kernels) {
  const auto& [name, grey, levels, duotone, planBlend, blend, overlay, overlay24, from24, from422,
               opaque] = kernels;
  return FunctionsOf(grey, levels, duotone, planBlend, blend, overlay, overlay24, from24, from422,
                     opaque);
}
Functions Of(const NoiseKernels::Kernels& kernels) {
  const auto& [name, fill] = kernels;
  return FunctionsOf(fill);
}
Functions Of(const raster::RowKernels& kernels) {
  const auto& [name, over, overMasked, premultiply, permute] = kernels;
  return FunctionsOf(over, overMasked, premultiply, permute);
}
Functions Of(const raster::ScaleKernels& kernels) {
  const auto& [name, columns, rows] = kernels;
  return FunctionsOf(columns, rows);
}
Functions Of(const YCbCrForm& form) {
  const auto& [name, convert] = form;
  return FunctionsOf(convert);
}

/// A set of kernels, seen from outside.
struct Set {
  std::string name;
  Names forms;
  std::vector<Functions> functions;
  std::function<bool(std::string_view)> select;
  std::function<std::string()> current;
};

template <typename Available, typename Select, typename Current>
Set SetOf(const char* name, const Available& available, Select* select, Current* current) {
  Set set{name, {}, {}, select, [current] { return std::string(current().name); }};
  for (const auto& form : available()) {
    set.forms.emplace_back(form.name);
    set.functions.push_back(Of(form));
  }
  return set;
}

const std::vector<Set>& Sets() {
  static const std::vector<Set> sets = {
      SetOf("frames", XFrameKernels::AvailableRowKernels, XFrameKernels::SelectRowKernels,
            XFrameKernels::CurrentRowKernels),
      SetOf("4:2:2", Q_2vuy::AvailableRowKernels, Q_2vuy::SelectRowKernels,
            Q_2vuy::CurrentRowKernels),
      SetOf("pixel maps", QPixMapKernels::AvailableRowKernels, QPixMapKernels::SelectRowKernels,
            QPixMapKernels::CurrentRowKernels),
      SetOf("noise", NoiseKernels::AvailableKernels, NoiseKernels::SelectKernels,
            NoiseKernels::CurrentKernels),
      SetOf("drawing", raster::AvailableRowKernels, raster::SelectRowKernels,
            raster::ActiveRowKernels),
      SetOf("scaling", raster::AvailableScaleKernels, raster::SelectScaleKernels,
            raster::ActiveScaleKernels),
      SetOf("decompression", AvailableYCbCrForms, SelectYCbCrForm, CurrentYCbCrForm),
  };
  return sets;
}

/// What this program's kernels are compiled for and this machine has, best first, and the
/// definition.
Names ExpectedForms() {
  Names names;
  const std::int64_t usable =
      hwy::SupportedTargets() & HWY_TARGETS & ~std::int64_t{HWY_SCALAR | HWY_EMU128};
  for (int bit = 0; bit < 62; ++bit) {
    const std::int64_t target = std::int64_t{1} << bit;
    if ((usable & target) != 0) names.emplace_back(hwy::TargetName(target));
  }
  names.emplace_back("scalar");
  return names;
}

TEST(Forms, AreThereForEachInstructionSet) {
  for (const Set& set : Sets()) EXPECT_EQ(set.forms, ExpectedForms()) << set.name;
}

/// By what the system says, not by what Highway finds.
TEST(Forms, IncludeTheMachinesBest) {
#if defined(__x86_64__)
  std::ifstream info("/proc/cpuinfo");
  std::string line;
  while (std::getline(info, line) && line.rfind("flags", 0) != 0) {
  }
  std::istringstream words(line);
  const Names flags{std::istream_iterator<std::string>(words), {}};
  const auto contains = [](const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  const auto have = [&](std::initializer_list<const char*> needed) {
    return std::all_of(needed.begin(), needed.end(),
                       [&](const char* flag) { return contains(flags, flag); });
  };
  const bool avx2 = have({"avx2", "fma", "bmi1", "bmi2", "f16c", "abm"});
  const bool avx3 = avx2 && have({"avx512f", "avx512vl", "avx512dq", "avx512bw", "avx512cd"});
  const bool avx3dl = avx3 && have({"avx512vbmi", "avx512_vbmi2", "avx512_vnni", "avx512_bitalg",
                                    "avx512_vpopcntdq", "vaes", "vpclmulqdq"});
  for (const Set& set : Sets()) {
    EXPECT_EQ(contains(set.forms, "SSSE3"), have({"ssse3"})) << set.name;
    EXPECT_EQ(contains(set.forms, "AVX2"), avx2) << set.name;
    EXPECT_EQ(contains(set.forms, "AVX3"), avx3) << set.name;
    EXPECT_EQ(contains(set.forms, "AVX3_DL"), avx3dl) << set.name;
  }
#elif defined(__aarch64__)
  for (const Set& set : Sets()) EXPECT_EQ(set.forms, (Names{"NEON", "scalar"})) << set.name;
#else
  GTEST_SKIP() << "another processor, which has the definitions at least";
#endif
}

TEST(Forms, AreWhole) {
  for (const Set& set : Sets()) {
    const Functions& definition = set.functions.back();
    for (std::size_t form = 0; form < set.forms.size(); ++form) {
      for (std::size_t i = 0; i < definition.size(); ++i) {
        SCOPED_TRACE(set.name + ", " + set.forms[form] + ", function " + std::to_string(i));
        EXPECT_NE(set.functions[form][i], nullptr);
        if (form + 1 == set.forms.size()) continue;
        EXPECT_NE(set.functions[form][i], definition[i]);
      }
    }
  }
}

TEST(Forms, AreChosenByName) {
  for (const Set& set : Sets()) {
    SCOPED_TRACE(set.name);
    EXPECT_EQ(set.current(), set.forms.front());
    for (const std::string& form : set.forms) {
      EXPECT_TRUE(set.select(form));
      EXPECT_EQ(set.current(), form);
      for (const char* none : {"", "AVX", "avx2", "Scalar", "scalar ", "NEON2"}) {
        EXPECT_FALSE(set.select(none)) << none;
        EXPECT_EQ(set.current(), form);
      }
    }
    EXPECT_TRUE(set.select("vector"));
    EXPECT_EQ(set.current(), set.forms.front());
  }
}

TEST(Forms, AreChosenForOneSetAlone) {
  for (const Set& set : Sets()) {
    EXPECT_TRUE(set.select("scalar"));
    for (const Set& other : Sets()) {
      if (other.name == set.name) continue;
      EXPECT_EQ(other.current(), other.forms.front()) << other.name;
    }
    EXPECT_TRUE(set.select("vector"));
  }
}

}  // namespace
