#include "platform/CoreImage/KernelChecker.h"

#include <algorithm>
#include <utility>

#include "platform/CoreImage/KernelBuiltins.h"
#include "platform/CoreImage/KernelExpressions.h"
#include "platform/CoreImage/KernelTypes.h"

namespace lumivane::coreimage {

namespace {

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

/// Types that a host has objects for: numbers, vectors, colours, samplers.
bool CanBePassedToKernel(CIKernelType type) {
  switch (type) {
    case CIKernelType::kFloat:
    case CIKernelType::kVec2:
    case CIKernelType::kVec3:
    case CIKernelType::kVec4:
    case CIKernelType::kInt:
    case CIKernelType::kBool:
    case CIKernelType::kSampler:
    case CIKernelType::kColor:
      return true;
    default:
      return false;
  }
}

class Checker {
 public:
  void Source(const KernelTree& tree) {
    for (const TopLevel& top : tree) {
      if (top.constants != nullptr) {
        KernelExpressions expressions(scopes_, functions_, -1);
        Declare(*top.constants, expressions, /*atTop=*/true);
      } else {
        CheckFunction(*top.function);
      }
    }
    functions_.CheckCalls();
  }

 private:
  [[noreturn]] static void Fail(int line, std::string message) {
    throw KernelRuleError{line, std::move(message)};
  }

  void CheckFunction(const Function& function) {
    CheckSignature(function);
    const std::size_t index = functions_.Declare(function);
    if (function.body == nullptr) return;

    KernelExpressions expressions(scopes_, functions_, static_cast<std::ptrdiff_t>(index));
    function_ = &function;
    hasReturn_ = false;
    scopes_.Open();
    for (const Parameter& parameter : function.parameters) {
      if (parameter.name.empty()) continue;
      scopes_.Declare(parameter.name, parameter.line,
                      {Decay(parameter.type), parameter.isConst, false});
    }
    // The body's braces open no scope of their own: a parameter cannot be declared again in it.
    for (const StatementPtr& statement : function.body->body) Check(*statement, expressions);
    scopes_.Close();
    if (function.result != CIKernelType::kVoid && !hasReturn_) {
      Fail(function.line, Quoted(function.name) + " returns no value");
    }
  }

  void CheckSignature(const Function& function) const {
    const std::string name = Quoted(function.name);
    if (scopes_.IsGlobal(function.name)) Fail(function.line, name + " is declared twice");
    if (function.result == CIKernelType::kSampler || function.result == CIKernelType::kColor) {
      Fail(function.line,
           name + " cannot return a " + std::string(CIKernelTypeName(function.result)));
    }
    for (const Parameter& parameter : function.parameters) CheckParameter(function, parameter);
    if (!function.isKernel) return;
    if (function.result != CIKernelType::kVec4) {
      Fail(function.line, "the kernel " + name + " must return vec4");
    }
    if (function.body == nullptr) Fail(function.line, "the kernel " + name + " has no body");
    if (IsBuiltin(function.name)) {
      Fail(function.line, "a kernel cannot bear the built-in function's name " + name);
    }
  }

  static void CheckParameter(const Function& function, const Parameter& parameter) {
    if (parameter.type == CIKernelType::kVoid) Fail(parameter.line, "a parameter cannot be void");
    if (parameter.isTable && parameter.type != CIKernelType::kSampler) {
      Fail(parameter.line, "__table goes with sampler only");
    }
    const bool isOut = parameter.passing != Passing::kIn;
    if (isOut && parameter.type == CIKernelType::kSampler) {
      Fail(parameter.line, "a sampler cannot be an out parameter");
    }
    if (isOut && parameter.isConst) Fail(parameter.line, "an out parameter cannot be const");
    if (!function.isKernel) return;
    if (isOut) Fail(parameter.line, "a kernel cannot have out parameters");
    if (parameter.name.empty()) Fail(parameter.line, "a kernel's parameter needs a name");
    if (!CanBePassedToKernel(parameter.type)) {
      Fail(parameter.line,
           "a kernel's parameter cannot be " + std::string(CIKernelTypeName(parameter.type)));
    }
  }

  void Declare(const Declaration& declaration, KernelExpressions& expressions, bool atTop) {
    for (const Declarator& declarator : declaration.declarators) {
      const CIKernelType type = declaration.type;
      if (!IsValue(type) || type == CIKernelType::kColor) {
        Fail(declarator.line, "a variable cannot be " + std::string(CIKernelTypeName(type)));
      }
      bool isConstant = false;
      if (declarator.initializer != nullptr) {
        const KernelValue value = expressions.CheckAs(*declarator.initializer, type,
                                                      "the value of " + Quoted(declarator.name));
        isConstant = declaration.isConst && value.isConstant;
      }
      if (declaration.isConst && !isConstant) {
        Fail(declarator.line, "the const " + Quoted(declarator.name) + " needs a constant value");
      }
      if (atTop && functions_.Has(declarator.name)) {
        Fail(declarator.line, Quoted(declarator.name) + " is declared twice");
      }
      scopes_.Declare(declarator.name, declarator.line, {type, declaration.isConst, isConstant});
    }
  }

  void CheckIn(const Statement& statement, KernelExpressions& expressions) {
    scopes_.Open();
    Check(statement, expressions);
    scopes_.Close();
  }

  void CheckCondition(const Statement& statement, KernelExpressions& expressions) {
    if (statement.expression != nullptr) {
      expressions.CheckAs(*statement.expression, CIKernelType::kBool, "a condition");
    } else if (!statement.declaration.declarators.empty()) {
      if (statement.declaration.type != CIKernelType::kBool) {
        Fail(statement.line, "a condition must be bool, not " +
                                 std::string(CIKernelTypeName(statement.declaration.type)));
      }
      Declare(statement.declaration, expressions, /*atTop=*/false);
    }
  }

  void CheckLoopBody(const Statement& body, KernelExpressions& expressions) {
    ++loops_;
    CheckIn(body, expressions);
    --loops_;
  }

  void Check(const Statement& statement, KernelExpressions& expressions) {
    switch (statement.kind) {
      case StatementKind::kEmpty:
        return;
      case StatementKind::kBlock:
        scopes_.Open();
        for (const StatementPtr& inner : statement.body) Check(*inner, expressions);
        scopes_.Close();
        return;
      case StatementKind::kDeclaration:
        Declare(statement.declaration, expressions, /*atTop=*/false);
        return;
      case StatementKind::kExpression:
        expressions.Check(*statement.expression);
        return;
      case StatementKind::kIf:
        CheckCondition(statement, expressions);
        for (const StatementPtr& branch : statement.body) CheckIn(*branch, expressions);
        return;
      case StatementKind::kFor:
        scopes_.Open();
        Check(*statement.body[0], expressions);
        CheckCondition(statement, expressions);
        if (statement.step != nullptr) expressions.Check(*statement.step);
        CheckLoopBody(*statement.body[1], expressions);
        scopes_.Close();
        return;
      case StatementKind::kWhile:
        scopes_.Open();
        CheckCondition(statement, expressions);
        CheckLoopBody(*statement.body[0], expressions);
        scopes_.Close();
        return;
      case StatementKind::kDo:
        CheckLoopBody(*statement.body[0], expressions);
        CheckCondition(statement, expressions);
        return;
      case StatementKind::kReturn:
        CheckReturn(statement, expressions);
        return;
      case StatementKind::kBreak:
      case StatementKind::kContinue:
        if (loops_ == 0) {
          Fail(statement.line, statement.kind == StatementKind::kBreak
                                   ? "'break' outside of a loop"
                                   : "'continue' outside of a loop");
        }
        return;
    }
  }

  void CheckReturn(const Statement& statement, KernelExpressions& expressions) {
    hasReturn_ = true;
    const std::string name = Quoted(function_->name);
    if (statement.expression == nullptr) {
      if (function_->result != CIKernelType::kVoid) {
        Fail(statement.line, name + " must return a value");
      }
      return;
    }
    if (function_->result == CIKernelType::kVoid) {
      Fail(statement.line, name + " is void and cannot return a value");
    }
    expressions.CheckAs(*statement.expression, function_->result, "the result of " + name);
  }

  KernelScopes scopes_;
  KernelFunctions functions_;
  const Function* function_ = nullptr;
  bool hasReturn_ = false;
  int loops_ = 0;
};

}  // namespace

bool CheckKernelSource(const KernelTree& tree, CIKernelError& error) {
  try {
    Checker().Source(tree);
    return true;
  } catch (KernelRuleError& problem) {
    error = {problem.line, std::move(problem.message)};
    return false;
  }
}

}  // namespace lumivane::coreimage
