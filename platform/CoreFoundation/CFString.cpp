// Strings: the object, creation and access. Comparison, changes and formats are in files beside.
#include "platform/CoreFoundation/CFString.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "platform/CoreFoundation/CFAllocator.h"
#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFStringTranscoder.h"
#include "platform/CoreFoundation/CFType.h"

namespace {

constexpr std::size_t kMostUnits = std::numeric_limits<CFIndex>::max();

CFStringRef MakeFromBytes(const UInt8* bytes, std::size_t length, CFStringEncoding encoding,
                          bool external) {
  const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
  if (info == nullptr) return nullptr;
  std::u16string text;
  if (!cftext::Decode(*info, {bytes, length}, external, text)) return nullptr;
  return cftext::Make(std::move(text));
}

// The buffer handed over is no longer needed once its text is copied.
CFStringRef TakeOver(CFStringRef string, const void* contents, CFAllocatorRef deallocator) {
  if (string != nullptr) CFAllocatorDeallocate(deallocator, const_cast<void*>(contents));
  return string;
}

struct StringHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return std::hash<std::string_view>()(text);
  }
};

// Never destroyed: constants outlive every module.
struct ConstantTable {
  std::shared_mutex lock;
  std::unordered_map<std::string, CFStringRef, StringHash, std::equal_to<>> strings;
};

ConstantTable& Constants() {
  static ConstantTable& table = *new ConstantTable;
  return table;
}

}  // namespace

__CFString::__CFString(std::u16string content, bool changeable, CFIndex most, bool constant)
    : CFRuntimeObject(CFStringGetTypeID(), constant),
      text(std::move(content)),
      isMutable(changeable),
      limit(most) {}

bool __CFString::isEqualTo(const CFRuntimeObject& other) const {
  return text == static_cast<const __CFString&>(other).text;
}

CFHashCode __CFString::hashValue() const {
  CFHashCode hash = 2166136261U;
  for (const char16_t unit : text) hash = (hash ^ unit) * 16777619U;
  return hash;
}

CFStringRef __CFString::copyDescriptionText() const {
  return cftext::Make(u"<" + cftext::DescriptionHead(*this) + u">{contents = \"" + text + u"\"}");
}

CFStringRef __CFString::copyFormattingText() const {
  return cftext::Make(text);
}

namespace cftext {

std::u16string_view View(CFTypeRef string) {
  const auto* object = CFRuntimeCast<__CFString>(string, CFStringGetTypeID());
  return object != nullptr ? std::u16string_view(object->text) : std::u16string_view();
}

CFStringRef Make(std::u16string text) {
  return text.size() <= kMostUnits ? new __CFString(std::move(text)) : nullptr;
}

CFStringRef MakeFromUTF8(std::string_view text) {
  return Make(FromUTF8(text));
}

std::string ToUTF8(std::u16string_view text) {
  static const EncodingInfo& info = *FindEncoding(kCFStringEncodingUTF8);
  std::string result;
  while (!text.empty()) {
    const Encoded part = Encode(info, text, 0, false, std::numeric_limits<std::size_t>::max());
    result.append(part.bytes.begin(), part.bytes.end());
    text.remove_prefix(part.units);
    if (text.empty()) break;
    result += "\xEF\xBF\xBD";
    text.remove_prefix(1);
  }
  return result;
}

std::u16string FromUTF8(std::string_view text) {
  static const EncodingInfo& info = *FindEncoding(kCFStringEncodingUTF8);
  std::u16string result;
  const auto* bytes = reinterpret_cast<const UInt8*>(text.data());
  if (Decode(info, {bytes, text.size()}, false, result)) return result;
  // Character by character, with the replacement for each byte that begins none.
  for (std::size_t i = 0; i < text.size();) {
    std::size_t size = 1;
    while (size <= 4 && size <= text.size() - i &&
           !Decode(info, {bytes + i, size}, false, result)) {
      ++size;
    }
    if (size > 4 || size > text.size() - i) {
      result += u'\uFFFD';
      size = 1;
    }
    i += size;
  }
  return result;
}

CFRange Clip(CFRange range, std::size_t length) {
  const auto size = static_cast<std::int64_t>(length);
  if (range.location < 0 || range.length <= 0 || range.location >= size) return {0, 0};
  return {range.location,
          static_cast<CFIndex>(std::min<std::int64_t>(range.length, size - range.location))};
}

std::u16string DescriptionHead(const CFRuntimeObject& object) {
  std::array<char, 32> address{};
  std::snprintf(address.data(), address.size(), " %p [0x0]", static_cast<const void*>(&object));
  return FromUTF8(CFRuntimeTypeName(object.typeID()) + address.data());
}

std::u16string DescribeValue(CFStringRef (*copyDescription)(const void*), const void* value) {
  if (copyDescription == nullptr) {
    std::array<char, 32> address{};
    std::snprintf(address.data(), address.size(), "<%p>", value);
    return FromUTF8(address.data());
  }
  const CFStringRef description = copyDescription(value);
  std::u16string text(View(description));
  CFRelease(description);
  return text;
}

}  // namespace cftext

CFTypeID CFStringGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFString");
  return typeID;
}

CFStringRef __CFStringMakeConstantString(const char* text) {
  if (text == nullptr) return nullptr;
  const std::string_view key(text);
  ConstantTable& table = Constants();
  {
    const std::shared_lock guard(table.lock);
    const auto found = table.strings.find(key);
    if (found != table.strings.end()) return found->second;
  }
  std::u16string content;
  const cftext::EncodingInfo& utf8 = *cftext::FindEncoding(kCFStringEncodingUTF8);
  if (!cftext::Decode(utf8, {reinterpret_cast<const UInt8*>(text), key.size()}, false, content)) {
    for (const char byte : key) content += static_cast<char16_t>(static_cast<UInt8>(byte));
  }
  const std::unique_lock guard(table.lock);
  const auto [entry, isNew] = table.strings.try_emplace(std::string(key), nullptr);
  if (isNew) entry->second = new __CFString(std::move(content), false, 0, true);
  return entry->second;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
  if (text == nullptr) return nullptr;
  return MakeFromBytes(reinterpret_cast<const UInt8*>(text), std::strlen(text), encoding, false);
}

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef, ConstStr255Param text,
                                           CFStringEncoding encoding) {
  return text != nullptr ? MakeFromBytes(text + 1, text[0], encoding, false) : nullptr;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* characters,
                                         CFIndex length) {
  if (length < 0 || (characters == nullptr && length > 0)) return nullptr;
  std::u16string text(static_cast<std::size_t>(length), u'\0');
  if (length > 0) std::memcpy(text.data(), characters, text.size() * sizeof(UniChar));
  return cftext::Make(std::move(text));
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  if (length < 0 || (bytes == nullptr && length > 0)) return nullptr;
  return MakeFromBytes(bytes, static_cast<std::size_t>(length), encoding,
                       isExternalRepresentation != 0);
}

CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef allocator, const char* text,
                                            CFStringEncoding encoding,
                                            CFAllocatorRef contentsDeallocator) {
  return TakeOver(CFStringCreateWithCString(allocator, text, encoding), text, contentsDeallocator);
}

CFStringRef CFStringCreateWithPascalStringNoCopy(CFAllocatorRef allocator, ConstStr255Param text,
                                                 CFStringEncoding encoding,
                                                 CFAllocatorRef contentsDeallocator) {
  return TakeOver(CFStringCreateWithPascalString(allocator, text, encoding), text,
                  contentsDeallocator);
}

CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef allocator, const UniChar* characters,
                                               CFIndex length, CFAllocatorRef contentsDeallocator) {
  return TakeOver(CFStringCreateWithCharacters(allocator, characters, length), characters,
                  contentsDeallocator);
}

CFStringRef CFStringCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes,
                                          CFIndex length, CFStringEncoding encoding,
                                          Boolean isExternalRepresentation,
                                          CFAllocatorRef contentsDeallocator) {
  return TakeOver(
      CFStringCreateWithBytes(allocator, bytes, length, encoding, isExternalRepresentation), bytes,
      contentsDeallocator);
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string) {
  const auto* object = CFRuntimeCast<__CFString>(string, CFStringGetTypeID());
  if (object == nullptr) return nullptr;
  if (!object->isMutable) return static_cast<CFStringRef>(CFRetain(string));
  return cftext::Make(object->text);
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef string, CFRange range) {
  if (CFGetTypeID(string) != CFStringGetTypeID() || range.location < 0 || range.length < 0) {
    return nullptr;
  }
  const std::u16string_view text = cftext::View(string);
  const CFRange inside = cftext::Clip(range, text.size());
  return cftext::Make(std::u16string(text.substr(static_cast<std::size_t>(inside.location),
                                                 static_cast<std::size_t>(inside.length))));
}

CFStringRef CFStringCreateFromExternalRepresentation(CFAllocatorRef allocator, CFDataRef data,
                                                     CFStringEncoding encoding) {
  if (CFGetTypeID(data) != CFDataGetTypeID()) return nullptr;
  return CFStringCreateWithBytes(allocator, CFDataGetBytePtr(data), CFDataGetLength(data), encoding,
                                 true);
}

CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef allocator, CFStringRef string,
                                               CFStringEncoding encoding, UInt8 lossByte) {
  const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
  if (info == nullptr || CFGetTypeID(string) != CFStringGetTypeID()) return nullptr;
  const std::u16string_view text = cftext::View(string);
  const cftext::Encoded encoded = cftext::Encode(*info, text, lossByte, true, kMostUnits);
  if (encoded.units < text.size()) return nullptr;
  return CFDataCreate(allocator, encoded.bytes.data(), static_cast<CFIndex>(encoded.bytes.size()));
}

CFStringRef CFStringCreateByCombiningStrings(CFAllocatorRef, CFArrayRef strings,
                                             CFStringRef separator) {
  if (CFGetTypeID(strings) != CFArrayGetTypeID()) return nullptr;
  std::u16string text;
  for (CFIndex i = 0; i < CFArrayGetCount(strings); ++i) {
    if (i > 0) text += cftext::View(separator);
    text += cftext::View(CFArrayGetValueAtIndex(strings, i));
  }
  return cftext::Make(std::move(text));
}

CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef allocator, CFStringRef string,
                                                  CFStringRef separator) {
  if (CFGetTypeID(string) != CFStringGetTypeID()) return nullptr;
  const CFMutableArrayRef pieces = CFArrayCreateMutable(allocator, 0, &kCFTypeArrayCallBacks);
  std::u16string_view rest = cftext::View(string);
  const std::u16string_view mark = cftext::View(separator);
  for (bool isLast = false; !isLast;) {
    const std::size_t at = mark.empty() ? std::u16string_view::npos : rest.find(mark);
    isLast = at == std::u16string_view::npos;
    const CFStringRef piece = cftext::Make(std::u16string(rest.substr(0, at)));
    CFArrayAppendValue(pieces, piece);
    CFRelease(piece);
    if (!isLast) rest.remove_prefix(at + mark.size());
  }
  return pieces;
}

CFIndex CFStringGetLength(CFStringRef string) {
  return static_cast<CFIndex>(cftext::View(string).size());
}

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index) {
  const std::u16string_view text = cftext::View(string);
  return index >= 0 && static_cast<std::size_t>(index) < text.size()
             ? text[static_cast<std::size_t>(index)]
             : u'\0';
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
  const std::u16string_view text = cftext::View(string);
  const CFRange inside = cftext::Clip(range, text.size());
  if (buffer != nullptr && inside.length > 0) {
    std::memcpy(buffer, text.data() + inside.location,
                static_cast<std::size_t>(inside.length) * sizeof(UniChar));
  }
}

const UniChar* CFStringGetCharactersPtr(CFStringRef string) {
  const auto* object = CFRuntimeCast<__CFString>(string, CFStringGetTypeID());
  return object != nullptr ? reinterpret_cast<const UniChar*>(object->text.data()) : nullptr;
}

const char* CFStringGetCStringPtr(CFStringRef, CFStringEncoding) {
  return nullptr;
}

ConstStr255Param CFStringGetPascalStringPtr(CFStringRef, CFStringEncoding) {
  return nullptr;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  if (buffer == nullptr || bufferSize <= 0) return false;
  const auto size = static_cast<std::size_t>(bufferSize);
  const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
  const std::size_t terminator = info != nullptr ? cftext::TerminatorSize(*info) : 1;
  std::memset(buffer, 0, std::min(size, terminator));
  if (info == nullptr || size < terminator || CFGetTypeID(string) != CFStringGetTypeID()) {
    return false;
  }
  const std::u16string_view text = cftext::View(string);
  const cftext::Encoded encoded = cftext::Encode(*info, text, 0, false, size - terminator);
  if (encoded.units < text.size()) return false;
  if (!encoded.bytes.empty()) std::memcpy(buffer, encoded.bytes.data(), encoded.bytes.size());
  std::memset(buffer + encoded.bytes.size(), 0, terminator);
  return true;
}

Boolean CFStringGetPascalString(CFStringRef string, StringPtr buffer, CFIndex bufferSize,
                                CFStringEncoding encoding) {
  if (buffer == nullptr || bufferSize <= 0) return false;
  buffer[0] = 0;
  const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
  if (info == nullptr || CFGetTypeID(string) != CFStringGetTypeID()) return false;
  const std::u16string_view text = cftext::View(string);
  const auto room = static_cast<std::size_t>(std::min<CFIndex>(bufferSize - 1, 255));
  const cftext::Encoded encoded = cftext::Encode(*info, text, 0, false, room);
  if (encoded.units < text.size()) return false;
  std::copy(encoded.bytes.begin(), encoded.bytes.end(), buffer + 1);
  buffer[0] = static_cast<unsigned char>(encoded.bytes.size());
  return true;
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufferLength, CFIndex* usedBufferLength) {
  if (usedBufferLength != nullptr) *usedBufferLength = 0;
  const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
  if (info == nullptr || (buffer != nullptr && maxBufferLength < 0)) return 0;
  const std::u16string_view text = cftext::View(string);
  const CFRange inside = cftext::Clip(range, text.size());
  const std::size_t limit =
      buffer != nullptr ? static_cast<std::size_t>(maxBufferLength) : kMostUnits;
  const cftext::Encoded encoded =
      cftext::Encode(*info,
                     text.substr(static_cast<std::size_t>(inside.location),
                                 static_cast<std::size_t>(inside.length)),
                     lossByte, isExternalRepresentation != 0, limit);
  if (buffer != nullptr) std::copy(encoded.bytes.begin(), encoded.bytes.end(), buffer);
  if (usedBufferLength != nullptr) *usedBufferLength = static_cast<CFIndex>(encoded.bytes.size());
  return static_cast<CFIndex>(encoded.units);
}

Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex bufferSize) {
  return CFStringGetCString(string, buffer, bufferSize, CFStringFileSystemEncoding());
}

CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef string) {
  const CFIndex size =
      CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), CFStringFileSystemEncoding());
  return size == kCFNotFound || size == std::numeric_limits<CFIndex>::max() ? kCFNotFound
                                                                            : size + 1;
}

CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef allocator,
                                                       const char* buffer) {
  return CFStringCreateWithCString(allocator, buffer, CFStringFileSystemEncoding());
}

CFStringEncoding CFStringGetSmallestEncoding(CFStringRef string) {
  const std::u16string_view text = cftext::View(string);
  for (const CFStringEncoding encoding :
       {kCFStringEncodingASCII, kCFStringEncodingMacRoman, kCFStringEncodingISOLatin1,
        kCFStringEncodingWindowsLatin1}) {
    const cftext::EncodingInfo* info = cftext::FindEncoding(encoding);
    if (info != nullptr && cftext::Encode(*info, text, 0, false, kMostUnits).units == text.size()) {
      return encoding;
    }
  }
  return kCFStringEncodingUnicode;
}

CFStringEncoding CFStringGetFastestEncoding(CFStringRef) {
  return kCFStringEncodingUnicode;
}

namespace {

bool IsSpace(char16_t c) {
  return c == u' ' || (c >= u'\t' && c <= u'\r') || c == 0xA0;
}

// The text after white space, as ASCII as far as it is.
std::string NumberText(CFStringRef string) {
  std::u16string_view text = cftext::View(string);
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  std::string ascii;
  for (const char16_t unit : text) {
    if (unit >= 0x80) break;
    ascii += static_cast<char>(unit);
  }
  return ascii;
}

}  // namespace

SInt32 CFStringGetIntValue(CFStringRef string) {
  const std::string text = NumberText(string);
  std::size_t i = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  std::int64_t value = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    value = std::min<std::int64_t>(value * 10 + (text[i] - '0'), std::int64_t{1} << 31);
  }
  if (!text.empty() && text[0] == '-') value = -value;
  return static_cast<SInt32>(std::min<std::int64_t>(value, std::numeric_limits<SInt32>::max()));
}

double CFStringGetDoubleValue(CFStringRef string) {
  // Only what belongs to a decimal number is parsed: the C library would also take names and
  // hexadecimal, and the locale's decimal sign.
  const std::string text = NumberText(string);
  const std::size_t end = std::min(text.find_first_not_of("+-.0123456789eE"), text.size());
  std::size_t begin = 0;
  bool negative = false;
  if (end > 0 && (text[0] == '+' || text[0] == '-')) {
    negative = text[0] == '-';
    begin = 1;
  }
  if (begin < end && (text[begin] == '+' || text[begin] == '-')) return 0;
  double value = 0;
  const auto [last, error] = std::from_chars(text.data() + begin, text.data() + end, value);
  if (error == std::errc::result_out_of_range) {
    // from_chars leaves the value alone: the sign of the exponent tells which end was passed.
    const std::string_view used(text.data() + begin,
                                static_cast<std::size_t>(last - text.data()) - begin);
    const std::size_t e = used.find_first_of("eE");
    const bool tiny = e != std::string_view::npos ? used[e + 1] == '-'
                                                  : used.front() == '0' || used.front() == '.';
    value = tiny ? 0 : std::numeric_limits<double>::infinity();
  } else if (error != std::errc()) {
    return 0;
  }
  return negative ? -value : value;
}
