#include "platform/Foundation/NSValues.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/Text.h"

using lumivane::foundation::CreateString;
using lumivane::foundation::Utf8;

namespace {

std::optional<std::vector<UInt8>> ReadRegularFile(NSString* path) {
  if (path == nullptr) return std::nullopt;
  const std::string name = Utf8(path);
  if (name.find('\0') != std::string::npos) return std::nullopt;
  // Without O_NONBLOCK, opening a pipe that nobody writes to would wait for ever.
  const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return std::nullopt;
  std::optional<std::vector<UInt8>> bytes;
  struct stat status {};
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size < INT32_MAX) {
    bytes.emplace(static_cast<std::size_t>(status.st_size));
    std::size_t have = 0;
    while (have < bytes->size()) {
      const ssize_t got = read(file, bytes->data() + have, bytes->size() - have);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) bytes.reset();
      if (got <= 0) break;
      have += static_cast<std::size_t>(got);
    }
    if (bytes) bytes->resize(have);  // The file may have shrunk meanwhile.
  }
  close(file);
  return bytes;
}

}  // namespace

NSString* NSString_stringWithContentsOfFile(NSString* path) {
  const std::optional<std::vector<UInt8>> bytes = ReadRegularFile(path);
  if (!bytes) return nullptr;
  const UInt8* text = bytes->data();
  std::size_t size = bytes->size();
  const auto startsWith = [&](std::initializer_list<UInt8> mark) {
    return size >= mark.size() && std::equal(mark.begin(), mark.end(), text);
  };
  CFStringEncoding encoding = kCFStringEncodingUTF8;
  if (startsWith({0xEF, 0xBB, 0xBF})) {
    text += 3;
    size -= 3;
  } else if (startsWith({0xFF, 0xFE}) || startsWith({0xFE, 0xFF})) {
    encoding = kCFStringEncodingUnicode;
  }
  return NSAutorelease(CFStringCreateWithBytes(kCFAllocatorDefault, text,
                                               static_cast<CFIndex>(size), encoding,
                                               encoding == kCFStringEncodingUnicode));
}

NSString* NSString_stringWithUTF8String(const char* text) {
  return text == nullptr ? nullptr : NSAutorelease(CreateString(text));
}

NSData* NSData_dataWithContentsOfFile(NSString* path) {
  const std::optional<std::vector<UInt8>> bytes = ReadRegularFile(path);
  if (!bytes) return nullptr;
  return NSAutorelease(
      CFDataCreate(kCFAllocatorDefault, bytes->data(), static_cast<CFIndex>(bytes->size())));
}

NSNumber* NSNumber_numberWithDouble(double value) {
  return NSAutorelease(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
}

NSNumber* NSNumber_numberWithInt(SInt32 value) {
  return NSAutorelease(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &value));
}

NSDictionary* NSDictionary_dictionaryWithObjectsforKeys(NSArray* objects, NSArray* keys) {
  if (objects == nullptr || keys == nullptr) return nullptr;
  const CFIndex count = CFArrayGetCount(objects);
  if (CFArrayGetCount(keys) != count) return nullptr;
  std::vector<CFTypeRef> values;
  std::vector<CFTypeRef> names;
  for (CFIndex i = 0; i < count; ++i) {
    values.push_back(CFArrayGetValueAtIndex(objects, i));
    names.push_back(CFArrayGetValueAtIndex(keys, i));
  }
  return NSDictionary_dictionaryWithObjectsforKeyscount(values.data(), names.data(), count);
}

NSDictionary* NSDictionary_dictionaryWithObjectsforKeyscount(const CFTypeRef* objects,
                                                             const CFTypeRef* keys, CFIndex count) {
  const CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(
      kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  if (dictionary == nullptr) return nullptr;
  for (CFIndex i = 0; i < count; ++i) CFDictionarySetValue(dictionary, keys[i], objects[i]);
  return NSAutorelease(static_cast<NSDictionary*>(dictionary));
}

NSArray* NSArray_arrayWithObjectscount(const CFTypeRef* objects, CFIndex count) {
  const CFMutableArrayRef array =
      CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
  if (array == nullptr) return nullptr;
  for (CFIndex i = 0; i < count; ++i) CFArrayAppendValue(array, objects[i]);
  return NSAutorelease(static_cast<NSArray*>(array));
}
