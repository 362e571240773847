#include "platform/CoreImage/KernelLexer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace lumivane::coreimage {

namespace {

constexpr std::array<std::string_view, 36> kKeywords{
    "kernel", "void",  "float", "int",   "bool",    "vec2",    "vec3",     "vec4",    "ivec2",
    "ivec3",  "ivec4", "bvec2", "bvec3", "bvec4",   "mat2",    "mat3",     "mat4",    "sampler",
    "if",     "else",  "for",   "while", "do",      "break",   "return",   "const",   "in",
    "out",    "inout", "true",  "false", "__color", "__table", "continue", "discard", "struct"};

// Words of the languages this one derives from that it keeps free for itself.
constexpr std::array<std::string_view, 44> kReservedWords{
    "attribute", "uniform",   "varying", "asm",      "class",    "union",     "enum",   "typedef",
    "template",  "this",      "packed",  "goto",     "switch",   "default",   "inline", "noinline",
    "volatile",  "public",    "static",  "extern",   "external", "interface", "long",   "short",
    "double",    "half",      "fixed",   "unsigned", "input",    "output",    "hvec2",  "hvec3",
    "hvec4",     "dvec2",     "dvec3",   "dvec4",    "fvec2",    "fvec3",     "fvec4",  "sizeof",
    "cast",      "namespace", "using",   "case"};

// Longest first, so that the first that fits is the token.
constexpr std::array<std::string_view, 32> kOperators{
    "++", "--", "+=", "-=", "*=", "/=", "<=", ">=", "==", "!=", "&&", "||", "^^", "(", ")", "{",
    "}",  "[",  "]",  ",",  ";",  ".",  "?",  ":",  "=",  "+",  "-",  "*",  "/",  "<", ">", "!"};

// Operators that exist in related languages only; named for the sake of the message.
constexpr std::array<std::string_view, 5> kReservedOperators{"%", "~", "&", "|", "^"};

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

template <std::size_t N>
bool Contains(const std::array<std::string_view, N>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

class Lexer {
 public:
  Lexer(std::string_view source, std::vector<Token>& tokens, CIKernelError& error)
      : rest_(source), tokens_(tokens), error_(error) {}

  bool Run() {
    while (SkipBlank()) {
      if (rest_.empty()) {
        Push(TokenKind::kEnd, 0);
        return true;
      }
      const char c = rest_.front();
      const bool startsNumber = IsDigit(c) || (c == '.' && rest_.size() > 1 && IsDigit(rest_[1]));
      if (!(IsLetter(c) ? Word() : startsNumber ? Number() : Operator())) return false;
    }
    return false;
  }

 private:
  bool Fail(std::string message) {
    error_ = {line_, std::move(message)};
    return false;
  }

  void Push(TokenKind kind, std::size_t length) {
    tokens_.push_back({kind, line_, rest_.substr(0, length)});
    rest_.remove_prefix(length);
  }

  /// Past blanks and comments. False when a comment does not end.
  bool SkipBlank() {
    while (!rest_.empty()) {
      const char c = rest_.front();
      if (c == '\n' || c == '\r') {
        TakeLineEnd();
      } else if (c == ' ' || c == '\t' || c == '\v' || c == '\f') {
        rest_.remove_prefix(1);
      } else if (rest_.starts_with("//")) {
        rest_.remove_prefix(std::min(rest_.size(), rest_.find_first_of("\r\n")));
      } else if (rest_.starts_with("/*")) {
        if (!SkipComment()) return false;
      } else {
        break;
      }
    }
    return true;
  }

  bool SkipComment() {
    const int start = line_;
    rest_.remove_prefix(2);
    while (!rest_.starts_with("*/")) {
      if (rest_.empty()) {
        line_ = start;
        return Fail("this comment does not end");
      }
      if (rest_.front() == '\n' || rest_.front() == '\r') {
        TakeLineEnd();
      } else {
        rest_.remove_prefix(1);
      }
    }
    rest_.remove_prefix(2);
    return true;
  }

  void TakeLineEnd() {
    rest_.remove_prefix(rest_.starts_with("\r\n") ? 2 : 1);
    ++line_;
  }

  bool Word() {
    std::size_t length = 1;
    while (length < rest_.size() && (IsLetter(rest_[length]) || IsDigit(rest_[length]))) ++length;
    const std::string_view word = rest_.substr(0, length);
    if (Contains(kKeywords, word)) {
      Push(TokenKind::kKeyword, length);
      return true;
    }
    if (Contains(kReservedWords, word)) {
      return Fail("'" + std::string(word) + "' is a reserved word");
    }
    if (word.find("__") != std::string_view::npos) {
      return Fail("the name '" + std::string(word) + "' has two underscores in a row");
    }
    Push(TokenKind::kIdentifier, length);
    return true;
  }

  bool Number() {
    std::size_t length = 0;
    bool real = false;
    if (rest_.starts_with("0x") || rest_.starts_with("0X")) {
      length = 2;
      while (length < rest_.size() && std::isxdigit(static_cast<unsigned char>(rest_[length]))) {
        ++length;
      }
      return Integer(length, 2, 16);
    }
    while (length < rest_.size() && IsDigit(rest_[length])) ++length;
    const std::size_t digits = length;
    if (length < rest_.size() && rest_[length] == '.') {
      real = true;
      ++length;
      while (length < rest_.size() && IsDigit(rest_[length])) ++length;
    }
    if (length < rest_.size() && (rest_[length] == 'e' || rest_[length] == 'E')) {
      std::size_t exponent = length + 1;
      if (exponent < rest_.size() && (rest_[exponent] == '+' || rest_[exponent] == '-')) ++exponent;
      if (exponent >= rest_.size() || !IsDigit(rest_[exponent])) {
        return Fail("a number's exponent has no digits");
      }
      while (exponent < rest_.size() && IsDigit(rest_[exponent])) ++exponent;
      real = true;
      length = exponent;
    }
    if (!real) {
      const bool octal = digits > 1 && rest_.front() == '0';
      return Integer(digits, octal ? 1 : 0, octal ? 8 : 10);
    }
    const std::size_t end = length;
    if (end < rest_.size() && (rest_[end] == 'f' || rest_[end] == 'F')) ++length;
    return Finish(TokenKind::kReal, length);
  }

  bool Integer(std::size_t length, std::size_t prefix, int base) {
    UInt32 value = 0;
    const char* const first = rest_.data() + prefix;
    const char* const last = rest_.data() + length;
    const auto [end, status] = std::from_chars(first, last, value, base);
    if (status != std::errc() || end != last) {
      return Fail("'" + std::string(rest_.substr(0, std::min<std::size_t>(length, 40))) +
                  "' is no integer of 32 bits");
    }
    return Finish(TokenKind::kInteger, length);
  }

  bool Finish(TokenKind kind, std::size_t length) {
    if (length < rest_.size() &&
        (IsLetter(rest_[length]) || IsDigit(rest_[length]) || rest_[length] == '.')) {
      return Fail(std::string("'") + rest_[length] + "' cannot follow a number");
    }
    Push(kind, length);
    return true;
  }

  bool Operator() {
    if (rest_.front() == '#') return Fail("preprocessor lines are not part of the language");
    for (const std::string_view op : kOperators) {
      if (!rest_.starts_with(op)) continue;
      Push(TokenKind::kOperator, op.size());
      return true;
    }
    for (const std::string_view op : kReservedOperators) {
      if (rest_.starts_with(op)) {
        return Fail("the operator '" + std::string(op) + "' is not part of the language");
      }
    }
    const unsigned char c = static_cast<unsigned char>(rest_.front());
    if (c > 0x20 && c < 0x7F) return Fail(std::string("unexpected '") + rest_.front() + "'");
    return Fail("unexpected character");
  }

  std::string_view rest_;
  int line_ = 1;
  std::vector<Token>& tokens_;
  CIKernelError& error_;
};

}  // namespace

bool LexKernelSource(std::string_view source, std::vector<Token>& tokens, CIKernelError& error) {
  if (source.size() > kMaxKernelSourceBytes) {
    error = {1, "the source is longer than 1 MiB"};
    return false;
  }
  return Lexer(source, tokens, error).Run();
}

}  // namespace lumivane::coreimage
