// Formats: printf's language with objects, UTF-16 and Pascal strings.
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFStringTranscoder.h"
#include "platform/CoreFoundation/CFType.h"

namespace {

// Wider fields are cut to this, so that a wild format cannot exhaust memory.
constexpr int kWidest = 1 << 20;
constexpr int kMostArguments = 64;

enum class Kind { kUnused, kInt, kLong, kDouble, kLongDouble, kPointer };

enum class IntegerSize { kInt, kChar, kShort, kLong };

struct Argument {
  Kind kind = Kind::kUnused;
  std::int64_t integer = 0;
  long double real = 0;
  const void* pointer = nullptr;
};

// A number in the format, or the argument that gives it.
struct Field {
  bool isGiven = false;
  int value = 0;
  int argument = -1;
};

struct Directive {
  std::u16string literal;  ///< the text before it
  std::string flags;
  Field width;
  Field precision;
  IntegerSize size = IntegerSize::kInt;
  bool isLongDouble = false;
  char16_t conversion = 0;  ///< 0 ends the format
  int argument = -1;
};

// Numbers look the same whatever locale the program has set.
class NeutralLocale {
 public:
  NeutralLocale() : previous_(uselocale(Neutral())) {}
  ~NeutralLocale() { uselocale(previous_); }
  NeutralLocale(const NeutralLocale&) = delete;
  NeutralLocale& operator=(const NeutralLocale&) = delete;

 private:
  static locale_t Neutral() {
    static const locale_t neutral = newlocale(LC_ALL_MASK, "C", nullptr);
    return neutral;
  }
  const locale_t previous_;
};

class Parser {
 public:
  explicit Parser(std::u16string_view format) : format_(format) {}

  std::vector<Directive> run() {
    std::vector<Directive> directives;
    do {
      directives.push_back(next());
    } while (directives.back().conversion != 0);
    return directives;
  }
  const std::vector<Kind>& kinds() const { return kinds_; }

 private:
  char16_t peek() const { return at_ < format_.size() ? format_[at_] : u'\0'; }

  Directive next() {
    Directive directive;
    while (at_ < format_.size()) {
      const char16_t unit = format_[at_++];
      if (unit != u'%') {
        directive.literal += unit;
        continue;
      }
      const std::size_t start = at_ - 1;
      if (peek() == u'%') {
        ++at_;
        directive.literal += u'%';
        continue;
      }
      if (read(directive)) return directive;
      // Not a directive: it stands for itself.
      directive.literal += format_.substr(start, at_ - start);
      const std::u16string literal = directive.literal;
      directive = Directive{};
      directive.literal = literal;
    }
    return directive;
  }

  // What follows the "%". False at the format's end or an unknown conversion.
  bool read(Directive& directive) {
    int position = readPosition();
    while (peek() != 0 && peek() < 0x80 && std::strchr("-+ #0'", peek()) != nullptr) {
      directive.flags += static_cast<char>(format_[at_++]);
    }
    directive.width = readField();
    if (peek() == u'.') {
      ++at_;
      directive.precision = readField();
      directive.precision.isGiven = true;
    }
    readSize(directive);
    if (at_ >= format_.size()) return false;
    const char16_t conversion = format_[at_++];
    const Kind kind = KindOf(conversion, directive);
    if (kind == Kind::kUnused) return false;
    directive.conversion = conversion;
    directive.argument = claim(position, kind);
    return true;
  }

  // "n$" at this place gives n - 1; otherwise nothing is taken and it is -1.
  int readPosition() {
    const std::size_t start = at_;
    const int number = readNumber();
    if (at_ > start && peek() == u'$' && number >= 1) {
      ++at_;
      return number - 1;
    }
    at_ = start;
    return -1;
  }

  int readNumber() {
    int number = 0;
    while (peek() >= u'0' && peek() <= u'9') {
      number = std::min(number * 10 + (format_[at_++] - u'0'), kWidest);
    }
    return number;
  }

  Field readField() {
    Field field;
    if (peek() == u'*') {
      ++at_;
      field.isGiven = true;
      field.argument = claim(readPosition(), Kind::kInt);
    } else if (peek() >= u'0' && peek() <= u'9') {
      field.isGiven = true;
      field.value = readNumber();
    }
    return field;
  }

  void readSize(Directive& directive) {
    for (; peek() != 0 && peek() < 0x80 && std::strchr("hlqjztL", peek()) != nullptr; ++at_) {
      switch (peek()) {
        case u'h':
          directive.size =
              directive.size == IntegerSize::kShort ? IntegerSize::kChar : IntegerSize::kShort;
          break;
        case u'L':
          directive.isLongDouble = true;
          break;
        default:
          directive.size = IntegerSize::kLong;
          break;
      }
    }
  }

  static Kind KindOf(char16_t conversion, const Directive& directive) {
    switch (conversion) {
      case u'd':
      case u'i':
      case u'u':
      case u'x':
      case u'X':
      case u'o':
        return directive.size == IntegerSize::kLong ? Kind::kLong : Kind::kInt;
      case u'D':
      case u'U':
      case u'O':
        return Kind::kLong;
      case u'c':
      case u'C':
        return Kind::kInt;
      case u'f':
      case u'F':
      case u'e':
      case u'E':
      case u'g':
      case u'G':
      case u'a':
      case u'A':
        return directive.isLongDouble ? Kind::kLongDouble : Kind::kDouble;
      case u's':
      case u'S':
      case u'p':
      case u'P':
      case u'@':
      case u'n':
        return Kind::kPointer;
      default:
        return Kind::kUnused;
    }
  }

  // The index of the argument at `position`, or of the next one; -1 when there are too many.
  int claim(int position, Kind kind) {
    const int index = position >= 0 ? position : next_++;
    if (index >= kMostArguments) return -1;
    if (kinds_.size() <= static_cast<std::size_t>(index)) {
      kinds_.resize(static_cast<std::size_t>(index) + 1, Kind::kUnused);
    }
    kinds_[static_cast<std::size_t>(index)] = kind;
    return index;
  }

  std::u16string_view format_;
  std::size_t at_ = 0;
  int next_ = 0;
  std::vector<Kind> kinds_;
};

std::vector<Argument> ReadArguments(const std::vector<Kind>& kinds, va_list arguments) {
  std::vector<Argument> values(kinds.size());
  va_list list;
  va_copy(list, arguments);
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    Argument& value = values[i];
    value.kind = kinds[i];
    switch (kinds[i]) {
      case Kind::kInt:
        value.integer = va_arg(list, int);
        break;
      case Kind::kDouble:
        value.real = static_cast<long double>(va_arg(list, double));
        break;
      case Kind::kLongDouble:
        value.real = va_arg(list, long double);
        break;
      case Kind::kPointer:
        value.pointer = va_arg(list, const void*);
        break;
      default:
        // An argument that no directive names is stepped over as one word.
        value.integer = va_arg(list, long);
        break;
    }
  }
  va_end(list);
  return values;
}

class Writer {
 public:
  explicit Writer(const std::vector<Argument>& arguments) : arguments_(arguments) {}

  std::u16string run(const std::vector<Directive>& directives) {
    for (const Directive& directive : directives) {
      out_ += directive.literal;
      if (directive.conversion != 0) write(directive);
    }
    return std::move(out_);
  }

 private:
  const Argument& argument(int index) const {
    static const Argument none;
    return index >= 0 ? arguments_[static_cast<std::size_t>(index)] : none;
  }

  void write(const Directive& directive) {
    std::string flags = directive.flags;
    std::int64_t width = value(directive.width);
    if (width < 0) {
      flags += '-';
      width = -width;
    }
    width = std::min<std::int64_t>(width, kWidest);
    // A negative precision counts as none.
    std::int64_t precision = directive.precision.isGiven ? value(directive.precision) : -1;
    precision = std::min<std::int64_t>(precision, kWidest);
    const Argument& given = argument(directive.argument);
    switch (directive.conversion) {
      case u'n':
        return;
      case u'@':
      case u's':
      case u'S':
      case u'P':
      case u'c':
      case u'C':
        pad(text(directive, given, precision), flags, static_cast<std::size_t>(width));
        return;
      default:
        number(directive, given, flags, static_cast<int>(width), static_cast<int>(precision));
        return;
    }
  }

  std::int64_t value(const Field& field) const {
    return field.argument >= 0 ? argument(field.argument).integer : field.value;
  }

  void pad(const std::u16string& text, const std::string& flags, std::size_t width) {
    const std::size_t fill = width > text.size() ? width - text.size() : 0;
    const bool toLeft = flags.find('-') != std::string::npos;
    if (!toLeft) out_.append(fill, u' ');
    out_ += text;
    if (toLeft) out_.append(fill, u' ');
  }

  static std::u16string text(const Directive& directive, const Argument& given,
                             std::int64_t precision) {
    const std::size_t most =
        precision >= 0 ? static_cast<std::size_t>(precision) : std::u16string::npos;
    if (directive.conversion == u'c') {
      return std::u16string(1, static_cast<char16_t>(static_cast<UInt8>(given.integer)));
    }
    if (directive.conversion == u'C') {
      return std::u16string(1, static_cast<char16_t>(given.integer));
    }
    if (given.pointer == nullptr) return std::u16string(u"(null)").substr(0, most);
    if (directive.conversion == u'@') {
      const auto* object = static_cast<const CFRuntimeObject*>(given.pointer);
      const CFStringRef description = object->copyFormattingText();
      std::u16string result(cftext::View(description).substr(0, most));
      CFRelease(description);
      return result;
    }
    if (directive.conversion == u'S') {
      const auto* units = static_cast<const char16_t*>(given.pointer);
      std::size_t length = 0;
      while (length < most && units[length] != 0) ++length;
      return {units, length};
    }
    if (directive.conversion == u'P') {
      const auto* bytes = static_cast<const UInt8*>(given.pointer);
      std::u16string result;
      const cftext::EncodingInfo* info = cftext::FindEncoding(kCFStringEncodingMacRoman);
      // Every byte is a character of Mac OS Roman.
      if (info != nullptr) {
        cftext::Decode(*info, {bytes + 1, std::min<std::size_t>(bytes[0], most)}, false, result);
      }
      return result;
    }
    // With a precision the text need not be terminated.
    const auto* bytes = static_cast<const char*>(given.pointer);
    const std::size_t length =
        precision >= 0 ? strnlen(bytes, static_cast<std::size_t>(precision)) : std::strlen(bytes);
    return cftext::FromUTF8({bytes, length});
  }

  template <class T>
  void print(const std::string& format, int width, int precision, T given) {
    const NeutralLocale locale;
#pragma GCC diagnostic push
    // The format is put together here from checked pieces, for an argument of this type.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::snprintf(nullptr, 0, format.c_str(), width, precision, given);
    std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), width, precision, given);
#pragma GCC diagnostic pop
    text.pop_back();
    out_.append(text.begin(), text.end());
  }

  void number(const Directive& directive, const Argument& given, const std::string& flags,
              int width, int precision) {
    auto conversion = static_cast<char>(directive.conversion);
    if (conversion == 'D' || conversion == 'U' || conversion == 'O') {
      conversion = static_cast<char>(conversion - 'A' + 'a');
    }
    const std::string start = "%" + flags + "*.*";
    switch (conversion) {
      case 'p':
        print("%" + flags + "*.*p", width, -1, given.pointer);
        return;
      case 'd':
      case 'i':
        print(start + "jd", width, precision, std::intmax_t{narrow(directive, given.integer)});
        return;
      case 'u':
      case 'x':
      case 'X':
      case 'o':
        print(start + "j" + conversion, width, precision,
              std::uintmax_t{unsignedNarrow(directive, given)});
        return;
      default:
        if (given.kind == Kind::kLongDouble) {
          print(start + "L" + conversion, width, precision, given.real);
        } else {
          print(start + conversion, width, precision, static_cast<double>(given.real));
        }
        return;
    }
  }

  static std::int64_t narrow(const Directive& directive, std::int64_t value) {
    switch (directive.size) {
      case IntegerSize::kChar:
        return static_cast<std::int8_t>(value);
      case IntegerSize::kShort:
        return static_cast<std::int16_t>(value);
      default:
        return value;
    }
  }
  static std::uint64_t unsignedNarrow(const Directive& directive, const Argument& given) {
    const auto bits = static_cast<std::uint64_t>(given.integer);
    if (given.kind == Kind::kLong) return bits;
    switch (directive.size) {
      case IntegerSize::kChar:
        return static_cast<std::uint8_t>(bits);
      case IntegerSize::kShort:
        return static_cast<std::uint16_t>(bits);
      default:
        return static_cast<std::uint32_t>(bits);
    }
  }

  const std::vector<Argument>& arguments_;
  std::u16string out_;
};

}  // namespace

namespace cftext {

std::u16string Format(std::u16string_view format, va_list arguments) {
  Parser parser(format);
  const std::vector<Directive> directives = parser.run();
  const std::vector<Argument> values = ReadArguments(parser.kinds(), arguments);
  return Writer(values).run(directives);
}

std::string DoubleText(double value, int digits) {
  const NeutralLocale locale;
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

}  // namespace cftext

CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, CFDictionaryRef options,
                                     CFStringRef format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const CFStringRef result =
      CFStringCreateWithFormatAndArguments(allocator, options, format, arguments);
  va_end(arguments);
  return result;
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef,
                                                 CFStringRef format, va_list arguments) {
  if (CFGetTypeID(format) != CFStringGetTypeID()) return nullptr;
  return cftext::Make(cftext::Format(cftext::View(format), arguments));
}
