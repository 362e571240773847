#include "platform/CoreFoundation/CFData.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/CoreFoundation/CFAllocator.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

struct __CFData final : CFRuntimeObject {
  __CFData(std::vector<UInt8> content, bool changeable, CFIndex capacity = 0)
      : CFRuntimeObject(CFDataGetTypeID()),
        owned(std::move(content)),
        isMutable(changeable),
        limit(capacity) {}
  __CFData(const UInt8* bytes, CFIndex size, CFAllocatorRef bytesDeallocator)
      : CFRuntimeObject(CFDataGetTypeID()),
        borrowed(bytes),
        borrowedLength(size),
        deallocator(bytesDeallocator) {
    CFRetain(deallocator);
  }
  ~__CFData() override {
    if (borrowed != nullptr) CFAllocatorDeallocate(deallocator, const_cast<UInt8*>(borrowed));
    CFRelease(deallocator);
  }

  // An empty vector has no address to give out.
  const UInt8* bytes() const {
    static constexpr UInt8 kNothing = 0;
    if (borrowed != nullptr) return borrowed;
    return owned.empty() ? &kNothing : owned.data();
  }
  CFIndex length() const {
    return borrowed != nullptr ? borrowedLength : static_cast<CFIndex>(owned.size());
  }

  bool isEqualTo(const CFRuntimeObject& other) const override {
    const auto& data = static_cast<const __CFData&>(other);
    return length() == data.length() &&
           std::memcmp(bytes(), data.bytes(), static_cast<std::size_t>(length())) == 0;
  }
  CFHashCode hashValue() const override {
    // The first bytes tell most buffers apart, and pictures are long.
    CFHashCode hash = 2166136261U ^ static_cast<CFHashCode>(length());
    for (CFIndex i = 0; i < std::min<CFIndex>(length(), 80); ++i) {
      hash = (hash ^ bytes()[i]) * 16777619U;
    }
    return hash;
  }
  CFStringRef copyDescriptionText() const override {
    static constexpr char16_t kDigits[] = u"0123456789abcdef";
    const std::u16string size = cftext::FromUTF8(std::to_string(length()));
    std::u16string text = u"<" + cftext::DescriptionHead(*this) + u">{length = " + size +
                          u", capacity = " + size + u", bytes = 0x";
    const auto put = [&](CFIndex from, CFIndex to) {
      for (CFIndex i = from; i < to; ++i) {
        text += kDigits[bytes()[i] >> 4];
        text += kDigits[bytes()[i] & 15];
      }
    };
    if (length() > 24) {
      put(0, 16);
      text += u" ... ";
      put(length() - 8, length());
    } else {
      put(0, length());
    }
    return cftext::Make(text + u"}");
  }

  /// Whether the data may become `newLength` long.
  bool mayBecome(std::int64_t newLength) const {
    if (!isMutable || newLength < 0 || newLength > std::numeric_limits<CFIndex>::max())
      return false;
    return limit == 0 || newLength <= limit;
  }

  std::vector<UInt8> owned;
  const UInt8* const borrowed = nullptr;
  const CFIndex borrowedLength = 0;
  const CFAllocatorRef deallocator = nullptr;
  const bool isMutable = false;
  const CFIndex limit = 0;
};

namespace {

const __CFData* Data(CFTypeRef data) {
  return CFRuntimeCast<__CFData>(data, CFDataGetTypeID());
}

__CFData* MutableData(CFMutableDataRef data) {
  auto* object = CFRuntimeCast<__CFData>(static_cast<void*>(data), CFDataGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

bool IsValidBuffer(const UInt8* bytes, CFIndex length) {
  return length >= 0 && (bytes != nullptr || length == 0);
}

std::vector<UInt8> Copy(const UInt8* bytes, CFIndex length) {
  return length > 0 ? std::vector<UInt8>(bytes, bytes + length) : std::vector<UInt8>();
}

}  // namespace

CFTypeID CFDataGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFData");
  return typeID;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
  return IsValidBuffer(bytes, length) ? new __CFData(Copy(bytes, length), false) : nullptr;
}

CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef bytesDeallocator) {
  if (!IsValidBuffer(bytes, length)) return nullptr;
  if (bytes == nullptr) return new __CFData({}, false);
  return new __CFData(bytes, length, bytesDeallocator);
}

CFDataRef CFDataCreateCopy(CFAllocatorRef, CFDataRef data) {
  const __CFData* object = Data(data);
  if (object == nullptr) return nullptr;
  // Borrowed bytes may be the caller's to change or free: only an own buffer is shared.
  if (!object->isMutable && object->borrowed == nullptr) {
    return static_cast<CFDataRef>(CFRetain(data));
  }
  return new __CFData(Copy(object->bytes(), object->length()), false);
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex capacity) {
  return capacity >= 0 ? new __CFData({}, true, capacity) : nullptr;
}

CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef, CFIndex capacity, CFDataRef data) {
  const __CFData* object = Data(data);
  if (object == nullptr || capacity < 0 || (capacity > 0 && capacity < object->length())) {
    return nullptr;
  }
  return new __CFData(Copy(object->bytes(), object->length()), true, capacity);
}

CFIndex CFDataGetLength(CFDataRef data) {
  const __CFData* object = Data(data);
  return object != nullptr ? object->length() : 0;
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
  const __CFData* object = Data(data);
  return object != nullptr ? object->bytes() : nullptr;
}

UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data) {
  __CFData* object = MutableData(data);
  return object != nullptr ? object->owned.data() : nullptr;
}

void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer) {
  const __CFData* object = Data(data);
  if (object == nullptr || buffer == nullptr) return;
  const CFRange inside = cftext::Clip(range, static_cast<std::size_t>(object->length()));
  if (inside.length > 0) {
    std::memcpy(buffer, object->bytes() + inside.location, static_cast<std::size_t>(inside.length));
  }
}

CFRange CFDataFind(CFDataRef data, CFDataRef dataToFind, CFRange searchRange,
                   CFDataSearchFlags options) {
  constexpr CFRange kNowhere = {kCFNotFound, 0};
  const __CFData* object = Data(data);
  const __CFData* needle = Data(dataToFind);
  if (object == nullptr || needle == nullptr) return kNowhere;
  const CFRange inside = cftext::Clip(searchRange, static_cast<std::size_t>(object->length()));
  const CFIndex size = needle->length();
  if (size == 0 || size > inside.length) return kNowhere;
  const UInt8* first = object->bytes() + inside.location;
  const UInt8* last = first + inside.length;
  const bool backwards = (options & kCFDataSearchBackwards) != 0;
  if ((options & kCFDataSearchAnchored) != 0)
    (backwards ? first : last) = backwards ? last - size : first + size;
  const UInt8* pattern = needle->bytes();
  const UInt8* found = backwards ? std::find_end(first, last, pattern, pattern + size)
                                 : std::search(first, last, pattern, pattern + size);
  return found == last ? kNowhere
                       : CFRangeMake(static_cast<CFIndex>(found - object->bytes()), size);
}

void CFDataSetLength(CFMutableDataRef data, CFIndex length) {
  __CFData* object = MutableData(data);
  if (object != nullptr && object->mayBecome(length)) {
    object->owned.resize(static_cast<std::size_t>(length));
  }
}

void CFDataIncreaseLength(CFMutableDataRef data, CFIndex extraLength) {
  __CFData* object = MutableData(data);
  if (object == nullptr || extraLength < 0) return;
  const std::int64_t length = std::int64_t{object->length()} + extraLength;
  if (object->mayBecome(length)) object->owned.resize(static_cast<std::size_t>(length));
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length) {
  CFDataReplaceBytes(data, CFRangeMake(CFDataGetLength(data), 0), bytes, length);
}

void CFDataReplaceBytes(CFMutableDataRef data, CFRange range, const UInt8* newBytes,
                        CFIndex newLength) {
  __CFData* object = MutableData(data);
  if (object == nullptr || !IsValidBuffer(newBytes, newLength)) return;
  const std::int64_t length = object->length();
  if (range.location < 0 || range.length < 0 ||
      std::int64_t{range.location} + range.length > length ||
      !object->mayBecome(length - range.length + newLength)) {
    return;
  }
  // The new bytes may lie in this very buffer.
  const std::vector<UInt8> inserted = Copy(newBytes, newLength);
  const auto at = object->owned.begin() + range.location;
  object->owned.insert(object->owned.erase(at, at + range.length), inserted.begin(),
                       inserted.end());
}

void CFDataDeleteBytes(CFMutableDataRef data, CFRange range) {
  CFDataReplaceBytes(data, range, nullptr, 0);
}
