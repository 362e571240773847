// Reads XML property lists.
#include "platform/CoreFoundation/CFPropertyList.h"

#include <expat.h>

#include <charconv>
#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFDate.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFUTF8.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The value of the whole of `text`, which holds `digits` digits to `base`.
template <typename Value, typename... Base>
bool ReadAll(std::string_view text, Value& value, Base... base) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base...);
  return error == std::errc() && end == text.data() + text.size();
}

std::optional<SInt64> ReadInteger(std::string_view text) {
  text = Trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  UInt64 magnitude = 0;
  if (!ReadAll(text, magnitude, hex ? 16 : 10)) return std::nullopt;
  const UInt64 limit = static_cast<UInt64>(std::numeric_limits<SInt64>::max()) + negative;
  if (magnitude > limit) return std::nullopt;
  return static_cast<SInt64>(negative ? ~magnitude + 1 : magnitude);
}

std::optional<double> ReadReal(std::string_view text) {
  text = Trimmed(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  double value = 0;
  if (!ReadAll(text, value)) return std::nullopt;
  return value;
}

/// "2026-11-21T15:00:00Z", seconds since the reference date.
std::optional<CFAbsoluteTime> ReadDate(std::string_view text) {
  text = Trimmed(text);
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  if (text.size() != kForm.size()) return std::nullopt;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == '0' ? !isDigit : text[i] != kForm[i]) return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t digits) {
    int value = 0;
    ReadAll(text.substr(at, digits), value);
    return value;
  };
  using namespace std::chrono;
  const year_month_day date{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                            day(static_cast<unsigned>(number(8, 2)))};
  const int hour = number(11, 2);
  const int minute = number(14, 2);
  const int second = number(17, 2);
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  const double days = sys_days(date).time_since_epoch().count();
  return days * 86400.0 + hour * 3600 + minute * 60 + second - kCFAbsoluteTimeIntervalSince1970;
}

int Base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

/// RFC 4648, section 4; blanks anywhere are skipped.
std::optional<std::string> ReadBase64(std::string_view text) {
  std::string bytes;
  unsigned group = 0;
  int digits = 0;
  int padding = 0;
  for (const char c : text) {
    if (kBlanks.find(c) != std::string_view::npos) continue;
    const int digit = c == '=' ? 0 : Base64Digit(c);
    if (digit < 0 || (c != '=' && padding > 0)) return std::nullopt;
    padding += c == '=';
    group = group << 6 | static_cast<unsigned>(digit);
    if (++digits < 4) continue;
    if (padding > 2) return std::nullopt;
    for (int byte = 2; byte >= padding; --byte) {
      bytes += static_cast<char>(group >> (8 * byte) & 0xFF);
    }
    group = 0;
    digits = 0;
    // A padded group is the last one.
    if (padding > 0) padding = 3;
  }
  if (digits != 0) return std::nullopt;
  return bytes;
}

enum class Element {
  kPlist,
  kDict,
  kArray,
  kKey,
  kString,
  kData,
  kDate,
  kInteger,
  kReal,
  kTrue,
  kFalse
};

std::optional<Element> ElementNamed(std::string_view name) {
  constexpr std::pair<std::string_view, Element> kElements[] = {
      {"plist", Element::kPlist}, {"dict", Element::kDict},       {"array", Element::kArray},
      {"key", Element::kKey},     {"string", Element::kString},   {"data", Element::kData},
      {"date", Element::kDate},   {"integer", Element::kInteger}, {"real", Element::kReal},
      {"true", Element::kTrue},   {"false", Element::kFalse},
  };
  for (const auto& [text, element] : kElements) {
    if (text == name) return element;
  }
  return std::nullopt;
}

struct Release {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};
using Owned = std::unique_ptr<const void, Release>;

class Reader {
 public:
  explicit Reader(XML_Parser parser) : parser_(parser) {
    XML_SetUserData(parser, this);
    XML_SetElementHandler(
        parser, [](void* self, const char* name, const char**) { Self(self).start(name); },
        [](void* self, const char*) { Self(self).end(); });
    XML_SetCharacterDataHandler(parser, [](void* self, const char* text, int length) {
      Self(self).text({text, static_cast<std::size_t>(length)});
    });
    // Entities of its own are how a small document grows without bounds.
    XML_SetEntityDeclHandler(parser, [](void* self, const char*, int, const char*, int, const char*,
                                        const char*, const char*, const char*) {
      Self(self).fail("entity declarations are not accepted");
    });
    XML_SetSkippedEntityHandler(parser, [](void* self, const char* name, int) {
      Self(self).fail("unknown entity &" + std::string(name) + ";");
    });
  }

  /// The document's one value, or null with `error`.
  CFPropertyListRef read(const char* bytes, std::size_t size, std::string& error) {
    const XML_Status status = XML_Parse(parser_, bytes, static_cast<int>(size), XML_TRUE);
    if (status != XML_STATUS_OK && error_.empty()) {
      fail(XML_ErrorString(XML_GetErrorCode(parser_)));
    }
    if (error_.empty() && result_ == nullptr) fail("the document holds no value");
    error = error_;
    return error_.empty() ? result_.release() : nullptr;
  }

 private:
  struct Open {
    Element element;
    Owned container;  ///< of a dictionary or an array
    Owned key;        ///< of a dictionary whose next element is this key's value
  };

  static Reader& Self(void* self) { return *static_cast<Reader*>(self); }

  void fail(const std::string& what) {
    if (!error_.empty()) return;
    error_ = "line " + std::to_string(XML_GetCurrentLineNumber(parser_)) + ": " + what;
    XML_StopParser(parser_, XML_FALSE);
  }

  void start(const char* name) {
    if (!error_.empty()) return;
    const std::optional<Element> element = ElementNamed(name);
    if (!element) return fail("unknown element <" + std::string(name) + ">");
    if (const char* fault = misplaced(*element)) {
      return fail("<" + std::string(name) + "> " + fault);
    }
    Open open{*element, nullptr, nullptr};
    if (*element != Element::kPlist && ++objects_ > kCFPropertyListMaximumObjects) {
      return fail("too many values");
    }
    if (*element == Element::kDict || *element == Element::kArray) {
      if (++depth_ > kCFPropertyListMaximumDepth) return fail("nested too deeply");
      if (*element == Element::kDict) {
        open.container.reset(CFDictionaryCreateMutable(kCFAllocatorDefault, 0,
                                                       &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks));
      } else {
        open.container.reset(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
      }
    }
    open_.push_back(std::move(open));
    text_.clear();
  }

  /// Why an element may not begin here, or null.
  const char* misplaced(Element element) const {
    if (open_.empty()) return element == Element::kPlist ? nullptr : "stands outside <plist>";
    const Open& parent = open_.back();
    if (element == Element::kPlist) return "stands inside <plist>";
    switch (parent.element) {
      case Element::kPlist:
        if (element == Element::kKey) return "stands outside a dictionary";
        return result_ == nullptr ? nullptr : "is a second value";
      case Element::kDict:
        if ((element == Element::kKey) == (parent.key == nullptr)) return nullptr;
        return element == Element::kKey ? "follows a key that has no value" : "has no key";
      case Element::kArray:
        return element == Element::kKey ? "stands outside a dictionary" : nullptr;
      default:
        return "stands inside a value";
    }
  }

  void text(std::string_view text) {
    if (!error_.empty()) return;
    if (open_.empty()) return;
    switch (open_.back().element) {
      case Element::kPlist:
      case Element::kDict:
      case Element::kArray:
      case Element::kTrue:
      case Element::kFalse:
        if (!Trimmed(text).empty()) fail("text where none belongs");
        return;
      default:
        text_ += text;
    }
  }

  void end() {
    if (!error_.empty()) return;
    Open closed = std::move(open_.back());
    open_.pop_back();
    if (closed.element == Element::kPlist) return;
    Owned value;
    if (closed.element == Element::kDict || closed.element == Element::kArray) {
      --depth_;
      if (closed.key != nullptr) return fail("a key without a value");
      value = std::move(closed.container);
    } else {
      value.reset(leaf(closed.element));
      if (value == nullptr) return;
    }
    if (closed.element == Element::kKey) {
      open_.back().key = std::move(value);
    } else {
      store(std::move(value));
    }
  }

  void store(Owned value) {
    Open& parent = open_.back();
    if (parent.element == Element::kPlist) {
      result_ = std::move(value);
    } else if (parent.element == Element::kArray) {
      CFArrayAppendValue(
          const_cast<CFMutableArrayRef>(static_cast<CFArrayRef>(parent.container.get())),
          value.get());
    } else {
      CFDictionarySetValue(
          const_cast<CFMutableDictionaryRef>(static_cast<CFDictionaryRef>(parent.container.get())),
          parent.key.get(), value.get());
      parent.key.reset();
    }
  }

  /// The object of an element without elements in it; null after `fail`.
  CFTypeRef leaf(Element element) {
    switch (element) {
      case Element::kKey:
      case Element::kString:
        if (const CFStringRef string = CFUTF8CreateString(text_)) return string;
        fail("text that is no Unicode");
        return nullptr;
      case Element::kData:
        if (const std::optional<std::string> bytes = ReadBase64(text_)) {
          return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes->data()),
                              static_cast<CFIndex>(bytes->size()));
        }
        fail("<data> is not Base64");
        return nullptr;
      case Element::kDate:
        if (const std::optional<CFAbsoluteTime> time = ReadDate(text_)) {
          return CFDateCreate(kCFAllocatorDefault, *time);
        }
        fail("<date> is not of the form YYYY-MM-DDThh:mm:ssZ");
        return nullptr;
      case Element::kInteger:
        if (const std::optional<SInt64> value = ReadInteger(text_)) {
          return CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &*value);
        }
        fail("<integer> is not an integer of 64 bits");
        return nullptr;
      case Element::kReal:
        if (const std::optional<double> value = ReadReal(text_)) {
          return CFNumberCreate(kCFAllocatorDefault, kCFNumberFloat64Type, &*value);
        }
        fail("<real> is not a number");
        return nullptr;
      default:
        return CFRetain(element == Element::kTrue ? kCFBooleanTrue : kCFBooleanFalse);
    }
  }

  XML_Parser parser_;
  std::vector<Open> open_;
  std::string text_;  ///< of the value being read
  Owned result_;
  std::string error_;
  int depth_ = 0;
  int objects_ = 0;
};

}  // namespace

CFPropertyListRef CFPropertyListCreateFromBytes(const void* bytes, std::size_t size,
                                                CFStringRef* errorString) {
  if (errorString != nullptr) *errorString = nullptr;
  std::string error;
  CFPropertyListRef list = nullptr;
  if (size > kCFPropertyListMaximumBytes) {
    error = "longer than " + std::to_string(kCFPropertyListMaximumBytes) + " bytes";
  } else if (size == 0 || bytes == nullptr) {
    error = "empty";
  } else if (const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
                 XML_ParserCreate(nullptr), XML_ParserFree);
             parser == nullptr) {
    error = "out of memory";
  } else {
    list = Reader(parser.get()).read(static_cast<const char*>(bytes), size, error);
  }
  if (list == nullptr && errorString != nullptr) *errorString = CFUTF8CreateString(error);
  return list;
}

CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef xmlData, CFOptionFlags,
                                                  CFStringRef* errorString) {
  const bool none = xmlData == nullptr;
  return CFPropertyListCreateFromBytes(
      none ? nullptr : CFDataGetBytePtr(xmlData),
      none ? 0 : static_cast<std::size_t>(CFDataGetLength(xmlData)), errorString);
}
