#include "platform/CoreImage/KernelParser.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lumivane::coreimage {

namespace {

/// Leaves the parser at once; caught where it starts.
struct SyntaxError {
  int line;
  std::string message;
};

struct TypeWord {
  std::string_view word;
  CIKernelType type;
};
constexpr std::array<TypeWord, 18> kTypeWords{{{"void", CIKernelType::kVoid},
                                               {"float", CIKernelType::kFloat},
                                               {"vec2", CIKernelType::kVec2},
                                               {"vec3", CIKernelType::kVec3},
                                               {"vec4", CIKernelType::kVec4},
                                               {"int", CIKernelType::kInt},
                                               {"ivec2", CIKernelType::kIVec2},
                                               {"ivec3", CIKernelType::kIVec3},
                                               {"ivec4", CIKernelType::kIVec4},
                                               {"bool", CIKernelType::kBool},
                                               {"bvec2", CIKernelType::kBVec2},
                                               {"bvec3", CIKernelType::kBVec3},
                                               {"bvec4", CIKernelType::kBVec4},
                                               {"mat2", CIKernelType::kMat2},
                                               {"mat3", CIKernelType::kMat3},
                                               {"mat4", CIKernelType::kMat4},
                                               {"sampler", CIKernelType::kSampler},
                                               {"__color", CIKernelType::kColor}}};

const TypeWord* TypeOf(const Token& token) {
  if (token.kind != TokenKind::kKeyword) return nullptr;
  const auto* const found = std::find_if(kTypeWords.begin(), kTypeWords.end(),
                                         [&](const TypeWord& t) { return t.word == token.text; });
  return found != kTypeWords.end() ? found : nullptr;
}

struct BinaryOperator {
  std::string_view text;
  int precedence;  ///< higher binds tighter
};
constexpr std::array<BinaryOperator, 13> kBinaryOperators{{{"||", 1},
                                                           {"^^", 2},
                                                           {"&&", 3},
                                                           {"==", 4},
                                                           {"!=", 4},
                                                           {"<", 5},
                                                           {">", 5},
                                                           {"<=", 5},
                                                           {">=", 5},
                                                           {"+", 6},
                                                           {"-", 6},
                                                           {"*", 7},
                                                           {"/", 7}}};

class Parser {
 public:
  explicit Parser(const std::vector<Token>& tokens) : next_(tokens.data()) {}

  KernelTree Source() {
    KernelTree tree;
    while (next_->kind != TokenKind::kEnd) {
      if (Accept(";")) continue;
      tree.push_back(Top());
    }
    return tree;
  }

 private:
  /// Counts one level of nesting while it lives.
  class Level {
   public:
    explicit Level(Parser& parser) : parser_(parser) {
      if (++parser_.depth_ > kMaxKernelDepth) parser_.Fail("this is nested too deeply");
    }
    ~Level() { --parser_.depth_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

   private:
    Parser& parser_;
  };

  [[noreturn]] void Fail(std::string message) const {
    throw SyntaxError{next_->line, std::move(message)};
  }

  [[noreturn]] void FailExpected(std::string_view what) const {
    const std::string found = next_->kind == TokenKind::kEnd
                                  ? "the end of the source"
                                  : "'" + std::string(next_->text.substr(0, 40)) + "'";
    Fail("expected " + std::string(what) + ", found " + found);
  }

  bool Accept(std::string_view word) {
    if (!next_->Is(word)) return false;
    ++next_;
    return true;
  }

  void Expect(std::string_view word) {
    if (!Accept(word)) FailExpected("'" + std::string(word) + "'");
  }

  std::string_view ExpectName(std::string_view what) {
    if (next_->kind != TokenKind::kIdentifier) FailExpected(what);
    return (next_++)->text;
  }

  CIKernelType ExpectType() {
    const TypeWord* const word = TypeOf(*next_);
    if (word == nullptr) FailExpected("a type");
    ++next_;
    return word->type;
  }

  TopLevel Top() {
    TopLevel top;
    if (next_->Is("const")) {
      top.constants = std::make_unique<Declaration>(ParseDeclaration());
      Expect(";");
      return top;
    }
    const bool isKernel = Accept("kernel");
    const CIKernelType type = ExpectType();
    const int line = next_->line;
    const std::string_view name = ExpectName("a function's name");
    if (!next_->Is("(")) {
      if (!isKernel && (next_->Is("=") || next_->Is(";") || next_->Is(","))) {
        Fail("a variable outside of functions must be const");
      }
      FailExpected("'('");
    }
    top.function = std::make_unique<Function>(
        Function{isKernel, name, line, type, ParseParameters(), nullptr});
    if (!Accept(";")) {
      if (!next_->Is("{")) FailExpected("'{'");
      top.function->body = ParseStatement();
    }
    return top;
  }

  std::vector<Parameter> ParseParameters() {
    std::vector<Parameter> parameters;
    Expect("(");
    if (Accept(")")) return parameters;
    if (next_->Is("void") && next_[1].Is(")")) {
      next_ += 2;
      return parameters;
    }
    do {
      Parameter parameter{{}, next_->line, CIKernelType::kVoid, Passing::kIn, false, false};
      parameter.isConst = Accept("const");
      parameter.isTable = Accept("__table");
      if (Accept("out")) {
        parameter.passing = Passing::kOut;
      } else if (Accept("inout")) {
        parameter.passing = Passing::kInOut;
      } else {
        Accept("in");
      }
      if (!parameter.isTable) parameter.isTable = Accept("__table");
      parameter.type = ExpectType();
      if (next_->kind == TokenKind::kIdentifier) parameter.name = (next_++)->text;
      RejectArray();
      parameters.push_back(parameter);
    } while (Accept(","));
    Expect(")");
    return parameters;
  }

  void RejectArray() const {
    if (next_->Is("[")) Fail("arrays are not part of the language");
  }

  bool StartsDeclaration() const {
    // A type's word that a parenthesis follows constructs a value.
    return next_->Is("const") || (TypeOf(*next_) != nullptr && !next_[1].Is("("));
  }

  Declaration ParseDeclaration() {
    Declaration declaration;
    declaration.isConst = Accept("const");
    declaration.type = ExpectType();
    do {
      Declarator declarator{{}, next_->line, nullptr};
      declarator.name = ExpectName("a variable's name");
      RejectArray();
      if (Accept("=")) declarator.initializer = ParseAssignment();
      declaration.declarators.push_back(std::move(declarator));
    } while (Accept(","));
    return declaration;
  }

  StatementPtr New(StatementKind kind) const {
    auto statement = std::make_unique<Statement>();
    statement->kind = kind;
    statement->line = next_->line;
    return statement;
  }

  StatementPtr ParseStatement() {
    const Level level(*this);
    if (next_->Is("{")) return ParseBlock();
    if (next_->Is("if")) return ParseIf();
    if (next_->Is("for")) return ParseFor();
    if (next_->Is("while")) return ParseWhile();
    if (next_->Is("do")) return ParseDo();
    if (next_->Is("discard")) Fail("'discard' is not part of the language");
    if (next_->Is("struct")) Fail("structures are not part of the language");

    StatementPtr statement = New(StatementKind::kEmpty);
    if (Accept(";")) return statement;
    if (Accept("return")) {
      statement->kind = StatementKind::kReturn;
      if (!next_->Is(";")) statement->expression = ParseExpression();
    } else if (Accept("break")) {
      statement->kind = StatementKind::kBreak;
    } else if (Accept("continue")) {
      statement->kind = StatementKind::kContinue;
    } else if (StartsDeclaration()) {
      statement->kind = StatementKind::kDeclaration;
      statement->declaration = ParseDeclaration();
    } else {
      statement->kind = StatementKind::kExpression;
      statement->expression = ParseExpression();
    }
    Expect(";");
    return statement;
  }

  StatementPtr ParseBlock() {
    StatementPtr block = New(StatementKind::kBlock);
    Expect("{");
    while (!Accept("}")) {
      if (next_->kind == TokenKind::kEnd) FailExpected("'}'");
      block->body.push_back(ParseStatement());
    }
    return block;
  }

  StatementPtr ParseIf() {
    StatementPtr statement = New(StatementKind::kIf);
    Expect("if");
    Expect("(");
    statement->expression = ParseExpression();
    Expect(")");
    statement->body.push_back(ParseStatement());
    if (Accept("else")) statement->body.push_back(ParseStatement());
    return statement;
  }

  StatementPtr ParseFor() {
    StatementPtr statement = New(StatementKind::kFor);
    Expect("for");
    Expect("(");
    StatementPtr start = New(StatementKind::kEmpty);
    if (StartsDeclaration()) {
      start->kind = StatementKind::kDeclaration;
      start->declaration = ParseDeclaration();
    } else if (!next_->Is(";")) {
      start->kind = StatementKind::kExpression;
      start->expression = ParseExpression();
    }
    Expect(";");
    statement->body.push_back(std::move(start));
    if (!next_->Is(";")) ParseCondition(*statement);
    Expect(";");
    if (!next_->Is(")")) statement->step = ParseExpression();
    Expect(")");
    statement->body.push_back(ParseStatement());
    return statement;
  }

  StatementPtr ParseWhile() {
    StatementPtr statement = New(StatementKind::kWhile);
    Expect("while");
    Expect("(");
    ParseCondition(*statement);
    Expect(")");
    statement->body.push_back(ParseStatement());
    return statement;
  }

  void ParseCondition(Statement& statement) {
    if (!StartsDeclaration()) {
      statement.expression = ParseExpression();
      return;
    }
    statement.declaration = ParseDeclaration();
    if (statement.declaration.declarators.size() != 1 ||
        statement.declaration.declarators.front().initializer == nullptr) {
      Fail("a condition declares one variable and gives it its value");
    }
  }

  StatementPtr ParseDo() {
    StatementPtr statement = New(StatementKind::kDo);
    Expect("do");
    statement->body.push_back(ParseStatement());
    Expect("while");
    Expect("(");
    statement->expression = ParseExpression();
    Expect(")");
    Expect(";");
    return statement;
  }

  ExpressionPtr New(ExpressionKind kind, const Token& token) const {
    auto expression = std::make_unique<Expression>();
    expression->kind = kind;
    expression->line = token.line;
    expression->text = token.text;
    return expression;
  }

  void Add(Expression& parent, ExpressionPtr operand) const {
    parent.height = std::max(parent.height, operand->height + 1);
    if (parent.height > kMaxExpressionHeight) Fail("this expression is too long");
    parent.operands.push_back(std::move(operand));
  }

  ExpressionPtr ParseExpression() {
    ExpressionPtr left = ParseAssignment();
    while (next_->Is(",")) {
      ExpressionPtr both = New(ExpressionKind::kBinary, *next_++);
      Add(*both, std::move(left));
      Add(*both, ParseAssignment());
      left = std::move(both);
    }
    return left;
  }

  ExpressionPtr ParseAssignment() {
    const Level level(*this);
    ExpressionPtr target = ParseConditional();
    static constexpr std::array<std::string_view, 5> kAssignments{"=", "+=", "-=", "*=", "/="};
    for (const std::string_view op : kAssignments) {
      if (!next_->Is(op)) continue;
      ExpressionPtr assignment = New(ExpressionKind::kAssign, *next_++);
      Add(*assignment, std::move(target));
      Add(*assignment, ParseAssignment());
      return assignment;
    }
    return target;
  }

  ExpressionPtr ParseConditional() {
    ExpressionPtr condition = ParseBinary(1);
    if (!next_->Is("?")) return condition;
    ExpressionPtr choice = New(ExpressionKind::kConditional, *next_++);
    Add(*choice, std::move(condition));
    Add(*choice, ParseExpression());
    Expect(":");
    Add(*choice, ParseAssignment());
    return choice;
  }

  const BinaryOperator* NextBinary(int lowest) const {
    if (next_->kind != TokenKind::kOperator) return nullptr;
    for (const BinaryOperator& op : kBinaryOperators) {
      if (op.text == next_->text && op.precedence >= lowest) return &op;
    }
    return nullptr;
  }

  ExpressionPtr ParseBinary(int lowest) {
    ExpressionPtr left = ParseUnary();
    while (const BinaryOperator* const op = NextBinary(lowest)) {
      ExpressionPtr both = New(ExpressionKind::kBinary, *next_++);
      Add(*both, std::move(left));
      Add(*both, ParseBinary(op->precedence + 1));
      left = std::move(both);
    }
    return left;
  }

  ExpressionPtr ParseUnary() {
    const Level level(*this);
    static constexpr std::array<std::string_view, 5> kUnary{"+", "-", "!", "++", "--"};
    for (const std::string_view op : kUnary) {
      if (!next_->Is(op)) continue;
      ExpressionPtr unary = New(ExpressionKind::kUnary, *next_++);
      Add(*unary, ParseUnary());
      return unary;
    }
    return ParsePostfix();
  }

  ExpressionPtr ParsePostfix() {
    ExpressionPtr expression = ParsePrimary();
    for (;;) {
      ExpressionPtr outer;
      if (next_->Is(".")) {
        const Token& dot = *next_++;
        outer = New(ExpressionKind::kMember, dot);
        outer->text = ExpectName("the components' names");
        Add(*outer, std::move(expression));
      } else if (next_->Is("[")) {
        outer = New(ExpressionKind::kIndex, *next_++);
        Add(*outer, std::move(expression));
        Add(*outer, ParseExpression());
        Expect("]");
      } else if (next_->Is("++") || next_->Is("--")) {
        outer = New(ExpressionKind::kPostfix, *next_++);
        Add(*outer, std::move(expression));
      } else {
        return expression;
      }
      expression = std::move(outer);
    }
  }

  ExpressionPtr ParsePrimary() {
    const Token& token = *next_;
    if (Accept("(")) {
      ExpressionPtr inner = ParseExpression();
      Expect(")");
      return inner;
    }
    if (Accept("true") || Accept("false")) return New(ExpressionKind::kBoolean, token);
    if (const TypeWord* const word = TypeOf(token)) {
      ++next_;
      ExpressionPtr constructor = New(ExpressionKind::kConstructor, token);
      constructor->type = word->type;
      ParseArguments(*constructor);
      return constructor;
    }
    switch (token.kind) {
      case TokenKind::kInteger:
        ++next_;
        return New(ExpressionKind::kInteger, token);
      case TokenKind::kReal:
        ++next_;
        return New(ExpressionKind::kReal, token);
      case TokenKind::kIdentifier: {
        ++next_;
        if (!next_->Is("(")) return New(ExpressionKind::kVariable, token);
        ExpressionPtr call = New(ExpressionKind::kCall, token);
        ParseArguments(*call);
        return call;
      }
      default:
        FailExpected("an expression");
    }
  }

  void ParseArguments(Expression& call) {
    Expect("(");
    if (Accept(")")) return;
    if (next_->Is("void") && next_[1].Is(")")) {
      next_ += 2;
      return;
    }
    do {
      Add(call, ParseAssignment());
    } while (Accept(","));
    Expect(")");
  }

  const Token* next_;  // never moves past the kEnd token, which no call above takes
  int depth_ = 0;
};

}  // namespace

bool ParseKernelSource(const std::vector<Token>& tokens, KernelTree& tree, CIKernelError& error) {
  try {
    tree = Parser(tokens).Source();
    return true;
  } catch (SyntaxError& problem) {
    error = {problem.line, std::move(problem.message)};
    return false;
  }
}

}  // namespace lumivane::coreimage
