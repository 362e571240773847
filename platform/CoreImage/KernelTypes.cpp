#include "platform/CoreImage/KernelTypes.h"

#include <array>

namespace lumivane::coreimage {

namespace {

struct TypeRow {
  CIKernelType type;
  const char* name;
  KernelBase base;
  int size;
  bool isMatrix;
};

// In the order of the enumeration.
constexpr std::array<TypeRow, 18> kTypes{{
    {CIKernelType::kVoid, "void", KernelBase::kNone, 0, false},
    {CIKernelType::kFloat, "float", KernelBase::kFloat, 1, false},
    {CIKernelType::kVec2, "vec2", KernelBase::kFloat, 2, false},
    {CIKernelType::kVec3, "vec3", KernelBase::kFloat, 3, false},
    {CIKernelType::kVec4, "vec4", KernelBase::kFloat, 4, false},
    {CIKernelType::kInt, "int", KernelBase::kInt, 1, false},
    {CIKernelType::kIVec2, "ivec2", KernelBase::kInt, 2, false},
    {CIKernelType::kIVec3, "ivec3", KernelBase::kInt, 3, false},
    {CIKernelType::kIVec4, "ivec4", KernelBase::kInt, 4, false},
    {CIKernelType::kBool, "bool", KernelBase::kBool, 1, false},
    {CIKernelType::kBVec2, "bvec2", KernelBase::kBool, 2, false},
    {CIKernelType::kBVec3, "bvec3", KernelBase::kBool, 3, false},
    {CIKernelType::kBVec4, "bvec4", KernelBase::kBool, 4, false},
    {CIKernelType::kMat2, "mat2", KernelBase::kFloat, 2, true},
    {CIKernelType::kMat3, "mat3", KernelBase::kFloat, 3, true},
    {CIKernelType::kMat4, "mat4", KernelBase::kFloat, 4, true},
    {CIKernelType::kSampler, "sampler", KernelBase::kNone, 0, false},
    {CIKernelType::kColor, "__color", KernelBase::kFloat, 4, false},
}};

const TypeRow& Row(CIKernelType type) {
  return kTypes[static_cast<std::size_t>(type)];
}

}  // namespace

KernelBase BaseOf(CIKernelType type) {
  return Row(type).base;
}
int SizeOf(CIKernelType type) {
  return Row(type).size;
}
bool IsMatrix(CIKernelType type) {
  return Row(type).isMatrix;
}
bool IsScalar(CIKernelType type) {
  return SizeOf(type) == 1;
}
bool IsVector(CIKernelType type) {
  return SizeOf(type) >= 2 && !IsMatrix(type);
}
bool IsValue(CIKernelType type) {
  return SizeOf(type) > 0;
}
bool IsNumeric(CIKernelType type) {
  return BaseOf(type) == KernelBase::kFloat || BaseOf(type) == KernelBase::kInt;
}
int ComponentsOf(CIKernelType type) {
  return IsMatrix(type) ? SizeOf(type) * SizeOf(type) : SizeOf(type);
}

CIKernelType VectorOf(KernelBase base, int size) {
  for (const TypeRow& row : kTypes) {
    if (row.base == base && row.size == size && !row.isMatrix) return row.type;
  }
  return CIKernelType::kVoid;
}

CIKernelType Decay(CIKernelType type) {
  return type == CIKernelType::kColor ? CIKernelType::kVec4 : type;
}

bool Converts(CIKernelType from, CIKernelType to) {
  from = Decay(from);
  to = Decay(to);
  if (from == to) return true;
  return BaseOf(from) == KernelBase::kInt && BaseOf(to) == KernelBase::kFloat && !IsMatrix(to) &&
         SizeOf(from) == SizeOf(to);
}

}  // namespace lumivane::coreimage

const char* CIKernelTypeName(CIKernelType type) {
  return lumivane::coreimage::Row(type).name;
}
