// What the types of the kernel language are made of. Internal to CoreImage.
#pragma once

#include "platform/CoreImage/CIKernel.h"

namespace lumivane::coreimage {

enum class KernelBase : UInt8 { kNone, kFloat, kInt, kBool };

/// The scalar that a scalar, vector or matrix type is made of; kNone for void and sampler.
KernelBase BaseOf(CIKernelType type);
/// Components of a scalar (1) or vector (2 to 4), or columns of a matrix; 0 for void and sampler.
int SizeOf(CIKernelType type);
bool IsMatrix(CIKernelType type);
bool IsScalar(CIKernelType type);
bool IsVector(CIKernelType type);
/// Values one can calculate with: not void, not a sampler.
bool IsValue(CIKernelType type);
/// Numbers: values but for the boolean ones.
bool IsNumeric(CIKernelType type);
/// How many scalars a value holds.
int ComponentsOf(CIKernelType type);
/// A scalar (`size` 1) or vector type; kVoid when there is none.
CIKernelType VectorOf(KernelBase base, int size);
/// The type as it behaves in expressions: a colour is a vec4.
CIKernelType Decay(CIKernelType type);
/// Whether a value of type `from` may stand where `to` is wanted: the same type, or whole numbers
/// for real ones of the same size.
bool Converts(CIKernelType from, CIKernelType to);

}  // namespace lumivane::coreimage
