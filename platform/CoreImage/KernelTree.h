// The syntax tree of kernel source. Internal to CoreImage.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreImage/CIKernel.h"

namespace lumivane::coreimage {

/// Greatest nesting of expressions and statements; deeper source is rejected, so that no walk over
/// a tree can exhaust the stack.
inline constexpr int kMaxKernelDepth = 256;
/// Greatest height of an expression's tree: a chain "a + b + c ..." of this many terms.
inline constexpr int kMaxExpressionHeight = 1024;

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

enum class ExpressionKind : UInt8 {
  kInteger,
  kReal,
  kBoolean,
  kVariable,     ///< `text`
  kCall,         ///< `text`, operands: arguments
  kConstructor,  ///< `type`, operands: arguments
  kMember,       ///< operands[0] . `text`
  kIndex,        ///< operands[0] [ operands[1] ]
  kUnary,        ///< `text` operands[0]
  kPostfix,      ///< operands[0] `text`
  kBinary,       ///< operands[0] `text` operands[1]; the comma included
  kAssign,       ///< operands[0] `text` operands[1]
  kConditional,  ///< operands[0] ? operands[1] : operands[2]
};

struct Expression {
  ExpressionKind kind;
  int line;
  std::string_view text;
  CIKernelType type = CIKernelType::kVoid;
  int height = 1;
  std::vector<ExpressionPtr> operands;
};

struct Declarator {
  std::string_view name;
  int line;
  ExpressionPtr initializer;  ///< may be null
};

struct Declaration {
  bool isConst = false;
  CIKernelType type = CIKernelType::kVoid;
  std::vector<Declarator> declarators;
};

struct Statement;
using StatementPtr = std::unique_ptr<Statement>;

enum class StatementKind : UInt8 {
  kEmpty,
  kBlock,        ///< body
  kDeclaration,  ///< declaration
  kExpression,   ///< expression
  kIf,           ///< expression, body[0], body[1] if there is an else
  kFor,          ///< body[0]: start; expression (may be null); step (may be null); body[1]
  kWhile,        ///< expression, body[0]
  kDo,           ///< body[0], expression
  kReturn,       ///< expression, may be null
  kBreak,
  kContinue,
};

struct Statement {
  StatementKind kind;
  int line;
  ExpressionPtr expression;
  ExpressionPtr step;
  /// A while's or for's condition may declare its one variable instead of an expression.
  Declaration declaration;
  std::vector<StatementPtr> body;
};

enum class Passing : UInt8 { kIn, kOut, kInOut };

struct Parameter {
  std::string_view name;  ///< may be empty
  int line;
  CIKernelType type;
  Passing passing;
  bool isConst;
  bool isTable;
};

struct Function {
  bool isKernel;
  std::string_view name;
  int line;
  CIKernelType result;
  std::vector<Parameter> parameters;
  StatementPtr body;  ///< null for a prototype
};

/// What stands at the top of a source, in its order.
struct TopLevel {
  std::unique_ptr<Function> function;      ///< or
  std::unique_ptr<Declaration> constants;  ///< null when it is a function
};

using KernelTree = std::vector<TopLevel>;

}  // namespace lumivane::coreimage
