#include "platform/CoreImage/KernelBuiltins.h"

#include <algorithm>
#include <array>

#include "platform/CoreImage/KernelTypes.h"

namespace lumivane::coreimage {

namespace {

/// One signature: result first, then the parameters, a letter each.
///   f 2 3 4   float, vec2, vec3, vec4
///   b         bool
///   S         sampler
///   G         float or a vec, the same one everywhere in the signature
///   N         a vec or ivec, the same one everywhere
///   A         a vec, ivec or bvec, the same one everywhere
///   B         a bvec; in a result, of the size of N or A
///   M         a mat, the same one everywhere
struct Signature {
  std::string_view name;
  std::string_view types;
};

constexpr std::array<Signature, 74> kSignatures{{
    // Angles, powers, common functions.
    {"radians", "GG"},
    {"degrees", "GG"},
    {"sin", "GG"},
    {"cos", "GG"},
    {"tan", "GG"},
    {"asin", "GG"},
    {"acos", "GG"},
    {"atan", "GG"},
    {"atan", "GGG"},
    {"sin_", "GG"},
    {"cos_", "GG"},
    {"tan_", "GG"},
    {"cossin", "2f"},
    {"cossin_", "2f"},
    {"sincos", "2f"},
    {"sincos_", "2f"},
    {"pow", "GGG"},
    {"exp", "GG"},
    {"log", "GG"},
    {"exp2", "GG"},
    {"log2", "GG"},
    {"sqrt", "GG"},
    {"inversesqrt", "GG"},
    {"abs", "GG"},
    {"sign", "GG"},
    {"floor", "GG"},
    {"ceil", "GG"},
    {"fract", "GG"},
    {"mod", "GGG"},
    {"mod", "GGf"},
    {"min", "GGG"},
    {"min", "GGf"},
    {"max", "GGG"},
    {"max", "GGf"},
    {"clamp", "GGGG"},
    {"clamp", "GGff"},
    {"mix", "GGGG"},
    {"mix", "GGGf"},
    {"step", "GGG"},
    {"step", "GfG"},
    {"smoothstep", "GGGG"},
    {"smoothstep", "GffG"},
    {"compare", "GGGG"},
    // Geometry.
    {"length", "fG"},
    {"distance", "fGG"},
    {"dot", "fGG"},
    {"cross", "333"},
    {"normalize", "GG"},
    {"faceforward", "GGGG"},
    {"reflect", "GGG"},
    {"refract", "GGGf"},
    {"matrixCompMult", "MMM"},
    // Comparisons by component.
    {"lessThan", "BNN"},
    {"lessThanEqual", "BNN"},
    {"greaterThan", "BNN"},
    {"greaterThanEqual", "BNN"},
    {"equal", "BAA"},
    {"notEqual", "BAA"},
    {"any", "bB"},
    {"all", "bB"},
    {"not", "BB"},
    // Samplers, places and colours.
    {"sample", "4S2"},
    {"samplerCoord", "2S"},
    {"samplerTransform", "2S2"},
    {"samplerExtent", "4S"},
    {"samplerOrigin", "2S"},
    {"samplerSize", "2S"},
    {"destCoord", "2"},
    {"premultiply", "44"},
    {"unpremultiply", "44"},
    {"srgb_to_linear", "33"},
    {"srgb_to_linear", "44"},
    {"linear_to_srgb", "33"},
    {"linear_to_srgb", "44"},
}};

bool Fits(char letter, CIKernelType type) {
  switch (letter) {
    case 'G':
      return BaseOf(type) == KernelBase::kFloat && !IsMatrix(type);
    case 'N':
      return IsVector(type) && IsNumeric(type);
    case 'A':
      return IsVector(type);
    case 'B':
      return IsVector(type) && BaseOf(type) == KernelBase::kBool;
    case 'M':
      return IsMatrix(type);
    default:
      return false;
  }
}

CIKernelType Fixed(char letter) {
  switch (letter) {
    case 'f':
      return CIKernelType::kFloat;
    case '2':
      return CIKernelType::kVec2;
    case '3':
      return CIKernelType::kVec3;
    case '4':
      return CIKernelType::kVec4;
    case 'b':
      return CIKernelType::kBool;
    case 'S':
      return CIKernelType::kSampler;
    default:
      return CIKernelType::kVoid;
  }
}

CIKernelType RealForm(CIKernelType type) {
  return BaseOf(type) == KernelBase::kInt ? VectorOf(KernelBase::kFloat, SizeOf(type)) : type;
}

/// Tries one signature; `real` widens whole numbers first.
std::optional<CIKernelType> Match(std::string_view types, std::span<const CIKernelType> arguments,
                                  bool real) {
  if (types.size() != arguments.size() + 1) return std::nullopt;
  CIKernelType bound = CIKernelType::kVoid;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const char letter = types[i + 1];
    const CIKernelType type = real ? RealForm(arguments[i]) : arguments[i];
    if (const CIKernelType fixed = Fixed(letter); fixed != CIKernelType::kVoid) {
      if (type != fixed) return std::nullopt;
      continue;
    }
    if (!Fits(letter, type)) return std::nullopt;
    if (bound != CIKernelType::kVoid && bound != type) return std::nullopt;
    bound = type;
  }
  const char result = types.front();
  if (const CIKernelType fixed = Fixed(result); fixed != CIKernelType::kVoid) return fixed;
  return result == 'B' ? VectorOf(KernelBase::kBool, SizeOf(bound)) : bound;
}

}  // namespace

bool IsBuiltin(std::string_view name) {
  return std::any_of(kSignatures.begin(), kSignatures.end(),
                     [&](const Signature& signature) { return signature.name == name; });
}

std::optional<CIKernelType> BuiltinResult(std::string_view name,
                                          std::span<const CIKernelType> arguments) {
  for (const bool real : {false, true}) {
    for (const Signature& signature : kSignatures) {
      if (signature.name != name) continue;
      if (const auto result = Match(signature.types, arguments, real)) return result;
    }
  }
  return std::nullopt;
}

}  // namespace lumivane::coreimage
