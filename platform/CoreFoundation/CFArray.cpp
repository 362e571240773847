#include "platform/CoreFoundation/CFArray.h"

#include <algorithm>
#include <vector>

#include "platform/CoreFoundation/CFHashTable.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

struct __CFArray final : CFRuntimeObject {
  __CFArray(const CFArrayCallBacks* functions, bool changeable)
      : CFRuntimeObject(CFArrayGetTypeID()),
        callBacks(functions != nullptr ? *functions : CFArrayCallBacks{}),
        isMutable(changeable) {}
  ~__CFArray() override {
    for (const void* value : values) drop(value);
  }

  const void* keep(const void* value) const {
    return callBacks.retain != nullptr ? callBacks.retain(kCFAllocatorDefault, value) : value;
  }
  void drop(const void* value) const {
    if (callBacks.release != nullptr) callBacks.release(kCFAllocatorDefault, value);
  }
  bool areEqual(const void* a, const void* b) const {
    return a == b || (callBacks.equal != nullptr && callBacks.equal(a, b) != 0);
  }

  bool isEqualTo(const CFRuntimeObject& other) const override {
    const auto& array = static_cast<const __CFArray&>(other);
    return callBacks.equal == array.callBacks.equal &&
           std::equal(values.begin(), values.end(), array.values.begin(), array.values.end(),
                      [this](const void* a, const void* b) { return areEqual(a, b); });
  }
  // By the count alone: values may be changed while they are in the array.
  CFHashCode hashValue() const override { return static_cast<CFHashCode>(values.size()); }

  CFStringRef copyDescriptionText() const override {
    const cfcollection::DescriptionDepth depth;
    std::u16string text = u"<" + cftext::DescriptionHead(*this) + u">{type = " +
                          (isMutable ? u"mutable" : u"immutable") + u", count = " +
                          cftext::FromUTF8(std::to_string(values.size())) + u", values = (\n";
    if (depth.isTooDeep()) return cftext::Make(text + u"\t...\n)}");
    for (std::size_t i = 0; i < values.size(); ++i) {
      text += u"\t" + cftext::FromUTF8(std::to_string(i)) + u" : " +
              cftext::DescribeValue(callBacks.copyDescription, values[i]) + u"\n";
    }
    return cftext::Make(text + u")}");
  }

  const CFArrayCallBacks callBacks;
  const bool isMutable;
  std::vector<const void*> values;
};

const CFArrayCallBacks kCFTypeArrayCallBacks = {
    0, cfcollection::RetainObject, cfcollection::ReleaseObject, CFCopyDescription, CFEqual};

namespace {

using Values = std::vector<const void*>;

const __CFArray* Array(CFTypeRef array) {
  return CFRuntimeCast<__CFArray>(array, CFArrayGetTypeID());
}

__CFArray* Mutable(CFMutableArrayRef array) {
  auto* object = CFRuntimeCast<__CFArray>(static_cast<void*>(array), CFArrayGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

struct Span {
  Values::const_iterator begin;
  Values::const_iterator end;
};

Span Within(const __CFArray& array, CFRange range) {
  const CFRange inside = cftext::Clip(range, array.values.size());
  const auto begin = array.values.begin() + inside.location;
  return {begin, begin + inside.length};
}

bool IsInside(const __CFArray& array, CFRange range) {
  return range.location >= 0 && range.length >= 0 &&
         std::int64_t{range.location} + range.length <=
             static_cast<std::int64_t>(array.values.size());
}

__CFArray* NewCopy(CFArrayRef source, bool changeable) {
  const __CFArray* from = Array(source);
  if (from == nullptr) return nullptr;
  auto* copy = new __CFArray(&from->callBacks, changeable);
  copy->values.reserve(from->values.size());
  for (const void* value : from->values) copy->values.push_back(copy->keep(value));
  return copy;
}

}  // namespace

CFTypeID CFArrayGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFArray");
  return typeID;
}

CFArrayRef CFArrayCreate(CFAllocatorRef, const void** values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
  if (count < 0 || (values == nullptr && count > 0)) return nullptr;
  auto* array = new __CFArray(callBacks, false);
  array->values.reserve(static_cast<std::size_t>(count));
  for (CFIndex i = 0; i < count; ++i) array->values.push_back(array->keep(values[i]));
  return array;
}

CFArrayRef CFArrayCreateCopy(CFAllocatorRef, CFArrayRef array) {
  return NewCopy(array, false);
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
  return new __CFArray(callBacks, true);
}

CFMutableArrayRef CFArrayCreateMutableCopy(CFAllocatorRef, CFIndex, CFArrayRef array) {
  return NewCopy(array, true);
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  const __CFArray* object = Array(array);
  return object != nullptr ? static_cast<CFIndex>(object->values.size()) : 0;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  const __CFArray* object = Array(array);
  return object != nullptr && IsInside(*object, {index, 1})
             ? object->values[static_cast<std::size_t>(index)]
             : nullptr;
}

void CFArrayGetValues(CFArrayRef array, CFRange range, const void** values) {
  const __CFArray* object = Array(array);
  if (object == nullptr || values == nullptr) return;
  const Span span = Within(*object, range);
  std::copy(span.begin, span.end, values);
}

Boolean CFArrayContainsValue(CFArrayRef array, CFRange range, const void* value) {
  return CFArrayGetFirstIndexOfValue(array, range, value) != kCFNotFound;
}

CFIndex CFArrayGetCountOfValue(CFArrayRef array, CFRange range, const void* value) {
  const __CFArray* object = Array(array);
  if (object == nullptr) return 0;
  const Span span = Within(*object, range);
  return static_cast<CFIndex>(std::count_if(
      span.begin, span.end, [&](const void* each) { return object->areEqual(each, value); }));
}

CFIndex CFArrayGetFirstIndexOfValue(CFArrayRef array, CFRange range, const void* value) {
  const __CFArray* object = Array(array);
  if (object == nullptr) return kCFNotFound;
  const Span span = Within(*object, range);
  const auto found = std::find_if(span.begin, span.end,
                                  [&](const void* each) { return object->areEqual(each, value); });
  return found != span.end ? static_cast<CFIndex>(found - object->values.begin()) : kCFNotFound;
}

CFIndex CFArrayGetLastIndexOfValue(CFArrayRef array, CFRange range, const void* value) {
  const __CFArray* object = Array(array);
  if (object == nullptr) return kCFNotFound;
  const Span span = Within(*object, range);
  for (auto each = span.end; each != span.begin;) {
    if (object->areEqual(*--each, value))
      return static_cast<CFIndex>(each - object->values.begin());
  }
  return kCFNotFound;
}

void CFArrayApplyFunction(CFArrayRef array, CFRange range, CFArrayApplierFunction applier,
                          void* context) {
  const __CFArray* object = Array(array);
  if (object == nullptr || applier == nullptr) return;
  const Span span = Within(*object, range);
  for (auto each = span.begin; each != span.end; ++each) applier(*each, context);
}

CFIndex CFArrayBSearchValues(CFArrayRef array, CFRange range, const void* value,
                             CFComparatorFunction comparator, void* context) {
  const __CFArray* object = Array(array);
  if (object == nullptr || comparator == nullptr) return 0;
  const Span span = Within(*object, range);
  const auto found =
      std::lower_bound(span.begin, span.end, value, [&](const void* each, const void* sought) {
        return comparator(each, sought, context) == kCFCompareLessThan;
      });
  return static_cast<CFIndex>(found - object->values.begin());
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
  CFArrayInsertValueAtIndex(array, CFArrayGetCount(array), value);
}

void CFArrayAppendArray(CFMutableArrayRef array, CFArrayRef other, CFRange otherRange) {
  const __CFArray* source = Array(other);
  if (Mutable(array) == nullptr || source == nullptr) return;
  const Span span = Within(*source, otherRange);
  Values values(span.begin, span.end);
  CFArrayReplaceValues(array, {CFArrayGetCount(array), 0}, values.data(),
                       static_cast<CFIndex>(values.size()));
}

void CFArrayInsertValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value) {
  CFArrayReplaceValues(array, {index, 0}, &value, 1);
}

void CFArraySetValueAtIndex(CFMutableArrayRef array, CFIndex index, const void* value) {
  CFArrayReplaceValues(array, {index, index == CFArrayGetCount(array) ? 0 : 1}, &value, 1);
}

void CFArrayRemoveValueAtIndex(CFMutableArrayRef array, CFIndex index) {
  CFArrayReplaceValues(array, {index, 1}, nullptr, 0);
}

void CFArrayRemoveAllValues(CFMutableArrayRef array) {
  CFArrayReplaceValues(array, {0, CFArrayGetCount(array)}, nullptr, 0);
}

void CFArrayReplaceValues(CFMutableArrayRef array, CFRange range, const void** newValues,
                          CFIndex newCount) {
  __CFArray* object = Mutable(array);
  if (object == nullptr || !IsInside(*object, range) || newCount < 0 ||
      (newValues == nullptr && newCount > 0)) {
    return;
  }
  // New values are retained before old ones are released: they may be the same.
  Values added;
  added.reserve(static_cast<std::size_t>(newCount));
  for (CFIndex i = 0; i < newCount; ++i) added.push_back(object->keep(newValues[i]));
  const auto at = object->values.begin() + range.location;
  const Values removed(at, at + range.length);
  if (range.length == newCount) {
    std::copy(added.begin(), added.end(), at);
  } else {
    object->values.insert(object->values.erase(at, at + range.length), added.begin(), added.end());
  }
  for (const void* value : removed) object->drop(value);
}

void CFArrayExchangeValuesAtIndices(CFMutableArrayRef array, CFIndex index1, CFIndex index2) {
  __CFArray* object = Mutable(array);
  if (object == nullptr || !IsInside(*object, {index1, 1}) || !IsInside(*object, {index2, 1})) {
    return;
  }
  std::swap(object->values[static_cast<std::size_t>(index1)],
            object->values[static_cast<std::size_t>(index2)]);
}

void CFArraySortValues(CFMutableArrayRef array, CFRange range, CFComparatorFunction comparator,
                       void* context) {
  __CFArray* object = Mutable(array);
  if (object == nullptr || comparator == nullptr) return;
  const CFRange inside = cftext::Clip(range, object->values.size());
  const auto begin = object->values.begin() + inside.location;
  std::stable_sort(begin, begin + inside.length, [&](const void* a, const void* b) {
    return comparator(a, b, context) == kCFCompareLessThan;
  });
}
