#include "sdk/CoreX/FormatWithoutArguments.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kLargestField = 1023;
constexpr int kDefaultPrecision = 6;

struct Conversion {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool alternate = false;
  bool zeros = false;
  int width = 0;
  int precision = -1;  // none given
  char kind = '\0';
};

class Reader {
 public:
  Reader(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  std::size_t position() const { return at_; }
  bool atEnd() const { return at_ >= text_.size(); }
  char peek() const { return atEnd() ? '\0' : text_[at_]; }
  char next() { return text_[at_++]; }

  bool skip(char c) {
    if (atEnd() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  bool skipAnyOf(std::string_view set) {
    if (atEnd() || set.find(text_[at_]) == std::string_view::npos) return false;
    ++at_;
    return true;
  }

  bool isDigit() const { return !atEnd() && text_[at_] >= '0' && text_[at_] <= '9'; }
  int number() {
    int value = 0;
    while (isDigit()) value = std::min(value * 10 + (next() - '0'), kLargestField);
    return value;
  }

  /// "n$": the number of an argument. There are none, so it says nothing.
  void skipPosition() {
    const std::size_t start = at_;
    if (isDigit()) number();
    if (at_ == start || !skip('$')) at_ = start;
  }

  /// A width or precision: digits, or '*' for an argument.
  int field() {
    if (!skip('*')) return number();
    skipPosition();
    return 0;
  }

 private:
  std::string_view text_;
  std::size_t at_;
};

/// Reads what follows a '%'. False when the text ends before the conversion does.
bool ReadConversion(Reader& in, Conversion& out) {
  in.skipPosition();
  for (bool more = true; more;) {
    switch (in.peek()) {
      case '-':
        out.left = true;
        break;
      case '+':
        out.plus = true;
        break;
      case ' ':
        out.blank = true;
        break;
      case '#':
        out.alternate = true;
        break;
      case '0':
        out.zeros = true;
        break;
      case '\'':
      case 'I':
        break;
      default:
        more = false;
    }
    if (more) in.next();
  }
  out.width = in.field();
  if (in.skip('.')) out.precision = in.field();
  while (in.skipAnyOf("hlLqjzt")) {
  }
  if (in.atEnd()) return false;
  out.kind = in.next();
  return true;
}

/// `count` zeros after a decimal point; the point alone only where it is asked for.
std::string Fraction(int count, bool alwaysPoint) {
  if (count == 0 && !alwaysPoint) return "";
  return "." + std::string(static_cast<std::size_t>(count), '0');
}

/// The digits of a zero, without sign and padding.
std::string ZeroDigits(const Conversion& c) {
  const int precision = c.precision < 0 ? kDefaultPrecision : c.precision;
  const bool upper = c.kind >= 'A' && c.kind <= 'Z';
  switch (c.kind) {
    case 'f':
    case 'F':
      return "0" + Fraction(precision, c.alternate);
    case 'e':
    case 'E':
      return "0" + Fraction(precision, c.alternate) + (upper ? "E+00" : "e+00");
    case 'g':
    case 'G':
      return "0" + Fraction(c.alternate ? std::max(precision, 1) - 1 : 0, c.alternate);
    case 'a':
    case 'A':
      return "0" + Fraction(std::max(c.precision, 0), c.alternate) + (upper ? "P+0" : "p+0");
    default:
      break;
  }
  if (c.precision < 0) return "0";
  // A zero of no digits is empty, but an alternate octal number starts with a zero at all times.
  const bool octalZero = c.kind == 'o' && c.alternate;
  return std::string(static_cast<std::size_t>(std::max(c.precision, octalZero ? 1 : 0)), '0');
}

std::string Padded(const Conversion& c, const std::string& text) {
  const std::size_t width = static_cast<std::size_t>(c.width);
  if (text.size() >= width) return text;
  const std::string blanks(width - text.size(), ' ');
  return c.left ? text + blanks : blanks + text;
}

std::string ZeroNumber(const Conversion& c) {
  const std::string_view kind(&c.kind, 1);
  const bool isSigned = std::string_view("diaAeEfFgG").find(kind) != std::string_view::npos;
  const bool isInteger = std::string_view("diouxX").find(kind) != std::string_view::npos;
  std::string prefix;
  if (isSigned && c.plus) {
    prefix = "+";
  } else if (isSigned && c.blank) {
    prefix = " ";
  }
  if (c.kind == 'a') prefix += "0x";
  if (c.kind == 'A') prefix += "0X";
  std::string digits = ZeroDigits(c);
  // A precision says how many digits an integer has; then its width is filled with blanks.
  if (c.zeros && !c.left && !(isInteger && c.precision >= 0)) {
    const std::size_t width = static_cast<std::size_t>(c.width);
    const std::size_t length = prefix.size() + digits.size();
    if (length < width) digits.insert(0, width - length, '0');
  }
  return Padded(c, prefix + digits);
}

/// False when there is no such conversion.
bool AppendConversion(const Conversion& c, std::string& out) {
  switch (c.kind) {
    case '%':
      out += '%';
      return true;
    case 'n':
      return true;
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
      out += ZeroNumber(c);
      return true;
    case 'c':
    case 'C':
    case 's':
    case 'S':
      out += Padded(c, "");
      return true;
    case 'p':
      out += Padded(c, "(nil)");
      return true;
    case 'm':
      out += Padded(c, std::string("Success").substr(
                           0, c.precision < 0 ? 7 : static_cast<std::size_t>(c.precision)));
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string FormatWithoutArguments(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] != '%') {
      out += text[at++];
      continue;
    }
    Reader in(text, at + 1);
    Conversion conversion;
    if (ReadConversion(in, conversion) && AppendConversion(conversion, out)) {
      at = in.position();
    } else {
      out += text[at++];
    }
  }
  return out;
}
