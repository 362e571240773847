// The types of expressions. Internal to CoreImage.
#pragma once

#include "platform/CoreImage/KernelScope.h"

namespace lumivane::coreimage {

/// What an expression is.
struct KernelValue {
  CIKernelType type;        ///< decayed
  bool isAssignable;        ///< may stand left of "="
  bool isConstant;          ///< known when the source is compiled
  const char* whyNot = "";  ///< why it is not assignable
};

/// Checks expressions of one function, or of the source's constants.
class KernelExpressions {
 public:
  /// `function` is the index of the function whose body is checked, or -1.
  KernelExpressions(const KernelScopes& scopes, KernelFunctions& functions, std::ptrdiff_t function)
      : scopes_(scopes), functions_(functions), function_(function) {}

  /// Throws KernelRuleError at a violation.
  KernelValue Check(const Expression& expression);
  /// The expression must convert to `wanted`.
  KernelValue CheckAs(const Expression& expression, CIKernelType wanted, const std::string& where);

 private:
  KernelValue CheckVariable(const Expression& e);
  KernelValue CheckCall(const Expression& e);
  KernelValue CheckConstructor(const Expression& e);
  KernelValue CheckMember(const Expression& e);
  KernelValue CheckIndex(const Expression& e);
  KernelValue CheckStep(const Expression& e);
  KernelValue CheckUnary(const Expression& e);
  KernelValue CheckBinary(const Expression& e);
  KernelValue CheckAssign(const Expression& e);
  KernelValue CheckConditional(const Expression& e);
  KernelValue CheckValue(const Expression& e);
  void RequireAssignable(const Expression& e, const KernelValue& value);

  const KernelScopes& scopes_;
  KernelFunctions& functions_;
  std::ptrdiff_t function_;
};

}  // namespace lumivane::coreimage
