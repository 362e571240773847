#include "platform/CoreImage/KernelExpressions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

#include "platform/CoreImage/KernelBuiltins.h"
#include "platform/CoreImage/KernelTypes.h"

namespace lumivane::coreimage {

namespace {

constexpr CIKernelType kNoType = CIKernelType::kVoid;

[[noreturn]] void Fail(const Expression& e, std::string message) {
  throw KernelRuleError{e.line, std::move(message)};
}

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}
std::string Named(CIKernelType type) {
  return CIKernelTypeName(type);
}

std::string NamesOf(const std::vector<CIKernelType>& types) {
  std::string names;
  for (const CIKernelType type : types) names += (names.empty() ? "" : ", ") + Named(type);
  return "(" + names + ")";
}

KernelValue Temporary(CIKernelType type, bool isConstant) {
  return {type, false, isConstant, "it is no variable"};
}

/// Both operands in one type where whole numbers meet real ones.
void Widen(CIKernelType& a, CIKernelType& b) {
  const auto widen = [](CIKernelType& one, CIKernelType other) {
    if (BaseOf(one) == KernelBase::kInt && BaseOf(other) == KernelBase::kFloat) {
      one = VectorOf(KernelBase::kFloat, SizeOf(one));
    }
  };
  widen(a, b);
  widen(b, a);
}

/// Type of a + b, a - b, a * b, a / b; kNoType when they do not go together.
CIKernelType Arithmetic(std::string_view op, CIKernelType a, CIKernelType b) {
  if (!IsNumeric(a) || !IsNumeric(b)) return kNoType;
  Widen(a, b);
  if (BaseOf(a) != BaseOf(b)) return kNoType;
  if (a == b) return a;
  if (IsScalar(a)) return b;
  if (IsScalar(b)) return a;
  // A matrix by a vector, either way round, is a vector.
  if (op == "*" && SizeOf(a) == SizeOf(b) && IsMatrix(a) != IsMatrix(b)) {
    return IsMatrix(a) ? b : a;
  }
  return kNoType;
}

CIKernelType BinaryType(std::string_view op, CIKernelType a, CIKernelType b) {
  if (op == "+" || op == "-" || op == "*" || op == "/") return Arithmetic(op, a, b);
  if (op == "<" || op == ">" || op == "<=" || op == ">=") {
    return IsScalar(a) && IsScalar(b) && IsNumeric(a) && IsNumeric(b) ? CIKernelType::kBool
                                                                      : kNoType;
  }
  if (op == "==" || op == "!=") {
    Widen(a, b);
    return a == b ? CIKernelType::kBool : kNoType;
  }
  // "&&", "||", "^^"
  return a == CIKernelType::kBool && b == CIKernelType::kBool ? CIKernelType::kBool : kNoType;
}

}  // namespace

KernelValue KernelExpressions::Check(const Expression& e) {
  switch (e.kind) {
    case ExpressionKind::kInteger:
      return Temporary(CIKernelType::kInt, true);
    case ExpressionKind::kReal:
      return Temporary(CIKernelType::kFloat, true);
    case ExpressionKind::kBoolean:
      return Temporary(CIKernelType::kBool, true);
    case ExpressionKind::kVariable:
      return CheckVariable(e);
    case ExpressionKind::kCall:
      return CheckCall(e);
    case ExpressionKind::kConstructor:
      return CheckConstructor(e);
    case ExpressionKind::kMember:
      return CheckMember(e);
    case ExpressionKind::kIndex:
      return CheckIndex(e);
    case ExpressionKind::kUnary:
      return CheckUnary(e);
    case ExpressionKind::kPostfix:
      return CheckStep(e);
    case ExpressionKind::kBinary:
      return CheckBinary(e);
    case ExpressionKind::kAssign:
      return CheckAssign(e);
    case ExpressionKind::kConditional:
      return CheckConditional(e);
  }
  return Temporary(kNoType, false);
}

KernelValue KernelExpressions::CheckAs(const Expression& e, CIKernelType wanted,
                                       const std::string& where) {
  const KernelValue value = Check(e);
  if (!Converts(value.type, wanted)) {
    Fail(e, where + " must be " + Named(wanted) + ", not " + Named(value.type));
  }
  return value;
}

/// An operand one can calculate with.
KernelValue KernelExpressions::CheckValue(const Expression& e) {
  const KernelValue value = Check(e);
  if (!IsValue(value.type)) Fail(e, "a " + Named(value.type) + " cannot be used as a value");
  return value;
}

KernelValue KernelExpressions::CheckVariable(const Expression& e) {
  const KernelVariable* const variable = scopes_.Find(e.text);
  if (variable == nullptr) Fail(e, Quoted(e.text) + " is not declared");
  if (variable->type == CIKernelType::kSampler) {
    return {variable->type, false, false, "it is a sampler"};
  }
  return {variable->type, !variable->isConst, variable->isConstant, "it is const"};
}

KernelValue KernelExpressions::CheckCall(const Expression& e) {
  std::vector<CIKernelType> types;
  std::vector<KernelValue> values;
  bool isConstant = true;
  for (const ExpressionPtr& argument : e.operands) {
    values.push_back(Check(*argument));
    types.push_back(values.back().type);
    isConstant = isConstant && values.back().isConstant;
  }
  // A local variable hides the functions of its name.
  if (scopes_.Find(e.text) != nullptr) Fail(e, Quoted(e.text) + " is a variable, not a function");

  if (const std::ptrdiff_t found = functions_.Find(e.text, e.line, types); found >= 0) {
    const auto index = static_cast<std::size_t>(found);
    const Function& callee = *functions_[index].function;
    if (callee.isKernel) Fail(e, "the kernel " + Quoted(e.text) + " cannot be called");
    if (functions_[index].firstCallLine == 0) functions_[index].firstCallLine = e.line;
    if (function_ >= 0) functions_[static_cast<std::size_t>(function_)].calls.push_back(index);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const Parameter& parameter = callee.parameters[i];
      if (parameter.passing == Passing::kIn) continue;
      RequireAssignable(*e.operands[i], values[i]);
      if (types[i] != Decay(parameter.type)) {
        Fail(*e.operands[i], "an out argument must have its parameter's type, " +
                                 Named(Decay(parameter.type)) + ", not " + Named(types[i]));
      }
    }
    return Temporary(Decay(callee.result), false);
  }
  if (const auto result = BuiltinResult(e.text, types)) {
    const bool readsPlace = e.text == "destCoord" || e.text.starts_with("sample");
    return Temporary(*result, isConstant && !readsPlace);
  }
  if (functions_.Has(e.text) || IsBuiltin(e.text)) {
    Fail(e, Quoted(e.text) + " does not take " + NamesOf(types));
  }
  Fail(e, "the function " + Quoted(e.text) + " is not declared");
}

KernelValue KernelExpressions::CheckConstructor(const Expression& e) {
  const CIKernelType type = e.type;
  if (!IsValue(type) || type == CIKernelType::kColor) {
    Fail(e, "a " + Named(type) + " cannot be constructed");
  }
  if (e.operands.empty()) Fail(e, Named(type) + "() needs at least one argument");
  bool isConstant = true;
  const int wanted = ComponentsOf(type);
  int have = 0;
  for (const ExpressionPtr& argument : e.operands) {
    const KernelValue value = CheckValue(*argument);
    isConstant = isConstant && value.isConstant;
    if (IsMatrix(type) && IsMatrix(value.type)) {
      Fail(*argument, "a matrix cannot be constructed from a matrix");
    }
    if (have >= wanted) Fail(*argument, "too many arguments for " + Named(type) + "()");
    have += ComponentsOf(value.type);
  }
  // One scalar fills a vector, or a matrix's diagonal.
  const bool fills = e.operands.size() == 1 && have == 1;
  if (have < wanted && !fills) {
    Fail(e, Named(type) + "() needs " + std::to_string(wanted) + " components, not " +
                std::to_string(have));
  }
  if (IsMatrix(type) && have > wanted) {
    Fail(e, Named(type) + "() takes " + std::to_string(wanted) + " components, not " +
                std::to_string(have));
  }
  return Temporary(type, isConstant);
}

KernelValue KernelExpressions::CheckMember(const Expression& e) {
  const KernelValue whole = CheckValue(*e.operands[0]);
  if (!IsVector(whole.type)) Fail(e, "a " + Named(whole.type) + " has no components to name");
  static constexpr std::array<std::string_view, 3> kNameSets{"xyzw", "rgba", "stpq"};
  if (e.text.size() > 4) Fail(e, Quoted(e.text) + " names more than four components");
  const auto size = static_cast<std::size_t>(SizeOf(whole.type));
  for (const std::string_view set : kNameSets) {
    const std::string_view names = set.substr(0, size);
    if (e.text.find_first_not_of(names) != std::string_view::npos) continue;
    const std::set<char> distinct(e.text.begin(), e.text.end());
    KernelValue part = whole;
    part.type = VectorOf(BaseOf(whole.type), static_cast<int>(e.text.size()));
    if (distinct.size() != e.text.size()) {
      part.isAssignable = false;
      part.whyNot = "it names a component twice";
    }
    return part;
  }
  Fail(e, Quoted(e.text) + " does not name components of a " + Named(whole.type));
}

KernelValue KernelExpressions::CheckIndex(const Expression& e) {
  const KernelValue whole = CheckValue(*e.operands[0]);
  const Expression& index = *e.operands[1];
  const KernelValue place = Check(index);
  if (IsScalar(whole.type)) Fail(e, "a " + Named(whole.type) + " cannot be indexed");
  if (place.type != CIKernelType::kInt) {
    Fail(index, "an index must be int, not " + Named(place.type));
  }
  if (index.kind == ExpressionKind::kInteger) {
    // Whole numbers were proven readable when they were split off.
    const bool hex = index.text.starts_with("0x") || index.text.starts_with("0X");
    const bool octal = !hex && index.text.size() > 1 && index.text.front() == '0';
    UInt32 value = 0;
    std::from_chars(index.text.data() + (hex ? 2 : 0), index.text.data() + index.text.size(), value,
                    hex     ? 16
                    : octal ? 8
                            : 10);
    if (value >= static_cast<UInt32>(SizeOf(whole.type))) {
      Fail(index, "the index " + std::string(index.text) + " is beyond a " + Named(whole.type));
    }
  }
  KernelValue part = whole;
  part.type = IsMatrix(whole.type) ? VectorOf(KernelBase::kFloat, SizeOf(whole.type))
                                   : VectorOf(BaseOf(whole.type), 1);
  part.isConstant = whole.isConstant && place.isConstant;
  return part;
}

void KernelExpressions::RequireAssignable(const Expression& e, const KernelValue& value) {
  if (!value.isAssignable) Fail(e, std::string("this cannot be assigned to: ") + value.whyNot);
}

/// "++" and "--", before or behind.
KernelValue KernelExpressions::CheckStep(const Expression& e) {
  const KernelValue value = CheckValue(*e.operands[0]);
  if (!IsNumeric(value.type)) {
    Fail(e, Quoted(e.text) + " cannot be used on " + Named(value.type));
  }
  RequireAssignable(*e.operands[0], value);
  return Temporary(value.type, false);
}

KernelValue KernelExpressions::CheckUnary(const Expression& e) {
  if (e.text == "++" || e.text == "--") return CheckStep(e);
  const KernelValue value = CheckValue(*e.operands[0]);
  const bool fits = e.text == "!" ? value.type == CIKernelType::kBool : IsNumeric(value.type);
  if (!fits) Fail(e, Quoted(e.text) + " cannot be used on " + Named(value.type));
  return Temporary(value.type, value.isConstant);
}

KernelValue KernelExpressions::CheckBinary(const Expression& e) {
  if (e.text == ",") {
    Check(*e.operands[0]);
    KernelValue last = Check(*e.operands[1]);
    return Temporary(last.type, false);
  }
  const KernelValue a = CheckValue(*e.operands[0]);
  const KernelValue b = CheckValue(*e.operands[1]);
  const CIKernelType type = BinaryType(e.text, a.type, b.type);
  if (type == kNoType) {
    Fail(e, Quoted(e.text) + " cannot be used on " + Named(a.type) + " and " + Named(b.type));
  }
  return Temporary(type, a.isConstant && b.isConstant);
}

KernelValue KernelExpressions::CheckAssign(const Expression& e) {
  const KernelValue target = CheckValue(*e.operands[0]);
  RequireAssignable(*e.operands[0], target);
  const KernelValue source = CheckValue(*e.operands[1]);
  CIKernelType type = source.type;
  if (e.text != "=") type = BinaryType(e.text.substr(0, 1), target.type, source.type);
  if (type == kNoType || !Converts(type, target.type)) {
    Fail(e, "a " + Named(source.type) + " cannot be assigned to a " + Named(target.type) +
                " with " + Quoted(e.text));
  }
  return Temporary(target.type, false);
}

KernelValue KernelExpressions::CheckConditional(const Expression& e) {
  const KernelValue condition =
      CheckAs(*e.operands[0], CIKernelType::kBool, "a condition before '?'");
  const KernelValue a = CheckValue(*e.operands[1]);
  const KernelValue b = CheckValue(*e.operands[2]);
  CIKernelType first = a.type;
  CIKernelType second = b.type;
  Widen(first, second);
  if (first != second) {
    Fail(e, "the two sides of ':' differ: " + Named(a.type) + " and " + Named(b.type));
  }
  return Temporary(first, condition.isConstant && a.isConstant && b.isConstant);
}

}  // namespace lumivane::coreimage
