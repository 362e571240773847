// Kernels: per-pixel routines in the kernel language, compiled into checked, named objects.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Foundation/NSObject.h"

/// A value's type in the kernel language.
enum class CIKernelType : UInt8 {
  kVoid,
  kFloat,
  kVec2,
  kVec3,
  kVec4,
  kInt,
  kIVec2,
  kIVec3,
  kIVec4,
  kBool,
  kBVec2,
  kBVec3,
  kBVec4,
  kMat2,
  kMat3,
  kMat4,
  kSampler,
  kColor,  ///< __color: a vec4 that the host converts into the working colour space
};

/// The type's word in the language ("vec4", "sampler", "__color").
const char* CIKernelTypeName(CIKernelType type);

struct CIKernelArgument {
  std::string name;
  CIKernelType type;
  bool isTable;  ///< a `__table sampler`: a look-up table, not colour-matched or resampled
};

/// What was wrong with kernel source.
struct CIKernelError {
  int line = 0;  ///< counted from 1
  std::string message;
};

/// One kernel of a source text. Immutable.
class CIKernel : public NSObject {
 public:
  /// The kernels of a source, in its order, autoreleased. Null when the source has no kernel or is
  /// not valid: then `error`, if given, says where and why. docs/kernel-language.md lists what is
  /// accepted.
  static NSArray* kernelsWithString(NSString* source);
  static NSArray* kernelsWithStringerror(NSString* source, CIKernelError* error);

  NSString* name() const { return name_; }
  CIKernelType resultType() const { return resultType_; }
  const std::vector<CIKernelArgument>& arguments() const { return arguments_; }

  void dealloc() override;

 protected:
  CIKernel(NSString* name, CIKernelType resultType, std::vector<CIKernelArgument> arguments);
  ~CIKernel() override = default;

 private:
  NSString* name_;
  CIKernelType resultType_;
  std::vector<CIKernelArgument> arguments_;
};

CFTypeID CIKernelGetTypeID();
