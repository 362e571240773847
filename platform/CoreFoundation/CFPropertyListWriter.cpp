// Writes XML property lists.
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFDate.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFPropertyList.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFUTF8.h"

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
constexpr std::string_view kTail = "</plist>\n";

/// `text` as XML character data; nothing when it holds a character XML has no way to write.
std::optional<std::string> Escaped(std::string_view text) {
  // U+FFFE and U+FFFF, in UTF-8.
  if (text.find("\xEF\xBF\xBE") != std::string_view::npos ||
      text.find("\xEF\xBF\xBF") != std::string_view::npos) {
    return std::nullopt;
  }
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '\r':
        out += "&#13;";  // A reader turns a bare one into a line feed.
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') return std::nullopt;
        out += c;
    }
  }
  return out;
}

std::string Base64(const UInt8* bytes, std::size_t size) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t i = 0; i < size; i += 3) {
    const std::size_t count = std::min<std::size_t>(3, size - i);
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < count ? bytes[i + k] : 0u);
    for (std::size_t k = 0; k < 4; ++k) {
      out += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
  }
  return out;
}

std::optional<std::string> DateText(CFAbsoluteTime time) {
  using namespace std::chrono;
  // The years the format has digits for.
  const double since1970 = std::floor(time + kCFAbsoluteTimeIntervalSince1970);
  if (!(since1970 >= -62167219200.0 && since1970 < 253402300800.0)) return std::nullopt;
  const sys_seconds at{seconds(static_cast<std::int64_t>(since1970))};
  const sys_days day = floor<days>(at);
  const year_month_day date{day};
  const hh_mm_ss clock{at - day};
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

class Writer {
 public:
  std::string text;

  bool write(CFTypeRef object, int depth) {
    if (object == nullptr || depth > kCFPropertyListMaximumDepth) return false;
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFDictionaryGetTypeID()) {
      return writeDictionary(static_cast<CFDictionaryRef>(object), depth);
    }
    if (type == CFArrayGetTypeID()) return writeArray(static_cast<CFArrayRef>(object), depth);
    if (type == CFStringGetTypeID()) {
      return writeText("string", static_cast<CFStringRef>(object), depth);
    }
    if (type == CFDataGetTypeID()) {
      const auto data = static_cast<CFDataRef>(object);
      const auto size = static_cast<std::size_t>(CFDataGetLength(data));
      return line(depth, "<data>" + Base64(CFDataGetBytePtr(data), size) + "</data>");
    }
    if (type == CFDateGetTypeID()) {
      const auto date = DateText(CFDateGetAbsoluteTime(static_cast<CFDateRef>(object)));
      return date && line(depth, "<date>" + *date + "</date>");
    }
    if (type == CFBooleanGetTypeID()) {
      return line(depth,
                  CFBooleanGetValue(static_cast<CFBooleanRef>(object)) ? "<true/>" : "<false/>");
    }
    if (type == CFNumberGetTypeID()) return writeNumber(static_cast<CFNumberRef>(object), depth);
    return false;
  }

 private:
  bool line(int depth, const std::string& content) {
    text.append(static_cast<std::size_t>(depth) * 2, ' ');
    text += content;
    text += '\n';
    return true;
  }

  bool writeText(const std::string& element, CFStringRef string, int depth) {
    const std::optional<std::string> bytes = CFUTF8Text(string);
    const std::optional<std::string> content = bytes ? Escaped(*bytes) : std::nullopt;
    return content && line(depth, "<" + element + ">" + *content + "</" + element + ">");
  }

  bool writeNumber(CFNumberRef number, int depth) {
    char digits[64];
    if (!CFNumberIsFloatType(number)) {
      SInt64 value = 0;
      CFNumberGetValue(number, kCFNumberSInt64Type, &value);
      return line(depth, "<integer>" + std::to_string(value) + "</integer>");
    }
    double value = 0;
    CFNumberGetValue(number, kCFNumberFloat64Type, &value);
    if (!std::isfinite(value)) return false;
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return line(depth, "<real>" + std::string(digits, end) + "</real>");
  }

  bool writeArray(CFArrayRef array, int depth) {
    line(depth, "<array>");
    const CFIndex count = CFArrayGetCount(array);
    for (CFIndex i = 0; i < count; ++i) {
      if (!write(CFArrayGetValueAtIndex(array, i), depth + 1)) return false;
    }
    return line(depth, "</array>");
  }

  bool writeDictionary(CFDictionaryRef dictionary, int depth) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    std::map<std::string, CFStringRef> sorted;
    for (const void* key : keys) {
      if (CFGetTypeID(key) != CFStringGetTypeID()) return false;
      const auto string = static_cast<CFStringRef>(key);
      const std::optional<std::string> bytes = CFUTF8Text(string);
      if (!bytes) return false;
      sorted[*bytes] = string;
    }
    line(depth, "<dict>");
    for (const auto& [bytes, key] : sorted) {
      if (!writeText("key", key, depth + 1)) return false;
      if (!write(CFDictionaryGetValue(dictionary, key), depth + 1)) return false;
    }
    return line(depth, "</dict>");
  }
};

}  // namespace

CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef propertyList) {
  Writer writer;
  writer.text = kHead;
  if (!writer.write(propertyList, 0)) return nullptr;
  writer.text += kTail;
  return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(writer.text.data()),
                      static_cast<CFIndex>(writer.text.size()));
}
