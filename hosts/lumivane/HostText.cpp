#include "hosts/lumivane/HostText.h"

#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"

namespace lumivane {

void ReleaseValue(CFTypeRef value) {
  CFRelease(value);
}

std::string Text(CFTypeRef value) {
  if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) return {};
  const CFStringRef string = static_cast<CFStringRef>(value);
  const CFIndex size =
      CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8)) return {};
  return buffer.data();
}

std::string PathText(CFURLRef url) {
  UInt8 path[4096];
  if (url == nullptr || !CFURLGetFileSystemRepresentation(url, 1, path, sizeof(path))) return {};
  return reinterpret_cast<const char*>(path);
}

nlohmann::ordered_json Json(CFTypeRef value) {
  if (value == nullptr) return nullptr;
  const CFTypeID type = CFGetTypeID(value);
  if (type == CFStringGetTypeID()) return Text(value);
  if (type == CFBooleanGetTypeID()) {
    return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) != 0;
  }
  if (type == CFNumberGetTypeID()) {
    const CFNumberRef number = static_cast<CFNumberRef>(value);
    if (CFNumberIsFloatType(number)) {
      double real = 0;
      CFNumberGetValue(number, kCFNumberDoubleType, &real);
      return real;
    }
    SInt64 integer = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
    return integer;
  }
  if (type == CFArrayGetTypeID()) {
    const CFArrayRef array = static_cast<CFArrayRef>(value);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
      list.push_back(Json(CFArrayGetValueAtIndex(array, i)));
    }
    return list;
  }
  if (type == CFDictionaryGetTypeID()) {
    const CFDictionaryRef dictionary = static_cast<CFDictionaryRef>(value);
    const std::size_t count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (std::size_t i = 0; i < count; ++i) object[Text(keys[i])] = Json(values[i]);
    return object;
  }
  const Held<CFStringRef> description(CFCopyDescription(value));
  return Text(description.get());
}

std::string Lines(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace lumivane
