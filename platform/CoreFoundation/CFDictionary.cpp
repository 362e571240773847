#include "platform/CoreFoundation/CFDictionary.h"

#include <algorithm>

#include "platform/CoreFoundation/CFHashTable.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

using cfcollection::Entry;
using cfcollection::HashTable;
using cfcollection::KeyRules;

struct __CFDictionary final : CFRuntimeObject {
  __CFDictionary(const KeyRules& keyRules, const CFDictionaryValueCallBacks& values,
                 bool changeable)
      : CFRuntimeObject(CFDictionaryGetTypeID()),
        table(keyRules),
        valueCallBacks(values),
        isMutable(changeable) {}
  ~__CFDictionary() override { dropAll(table); }

  const void* keepValue(const void* value) const {
    return valueCallBacks.retain != nullptr ? valueCallBacks.retain(kCFAllocatorDefault, value)
                                            : value;
  }
  void dropValue(const void* value) const {
    if (valueCallBacks.release != nullptr) valueCallBacks.release(kCFAllocatorDefault, value);
  }
  bool areEqualValues(const void* a, const void* b) const {
    return a == b || (valueCallBacks.equal != nullptr && valueCallBacks.equal(a, b) != 0);
  }
  void dropAll(const HashTable& dropped) const {
    dropped.forEach([&](const Entry& entry) {
      dropped.rules.drop(entry.key);
      dropValue(entry.value);
    });
  }
  void add(const void* key, const void* value) {
    table.add(table.rules.keep(key), keepValue(value));
  }
  void replace(Entry& entry, const void* value) {
    const void* old = entry.value;
    entry.value = keepValue(value);
    dropValue(old);
  }

  bool isEqualTo(const CFRuntimeObject& other) const override {
    const auto& dictionary = static_cast<const __CFDictionary&>(other);
    if (table.size() != dictionary.table.size() ||
        table.rules.equal != dictionary.table.rules.equal ||
        valueCallBacks.equal != dictionary.valueCallBacks.equal) {
      return false;
    }
    bool same = true;
    table.forEach([&](const Entry& entry) {
      if (!same) return;
      const Entry* found = dictionary.table.find(entry.key);
      same = found != nullptr && areEqualValues(entry.value, found->value);
    });
    return same;
  }
  // By the count alone: values may be changed while they are in the dictionary.
  CFHashCode hashValue() const override { return static_cast<CFHashCode>(table.size()); }

  CFStringRef copyDescriptionText() const override {
    const cfcollection::DescriptionDepth depth;
    std::u16string text = u"<" + cftext::DescriptionHead(*this) + u">{type = " +
                          (isMutable ? u"mutable" : u"immutable") + u", count = " +
                          cftext::FromUTF8(std::to_string(table.size())) + u", pairs = (\n";
    if (depth.isTooDeep()) return cftext::Make(text + u"\t...\n)}");
    std::size_t index = 0;
    table.forEach([&](const Entry& entry) {
      text += u"\t" + cftext::FromUTF8(std::to_string(index++)) + u" : " +
              cftext::DescribeValue(table.rules.copyDescription, entry.key) + u" = " +
              cftext::DescribeValue(valueCallBacks.copyDescription, entry.value) + u"\n";
    });
    return cftext::Make(text + u")}");
  }

  HashTable table;
  const CFDictionaryValueCallBacks valueCallBacks;
  const bool isMutable;
};

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, cfcollection::RetainObject, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};
const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {
    0, cfcollection::CopyString, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, cfcollection::RetainObject, cfcollection::ReleaseObject, CFCopyDescription, CFEqual};

namespace {

const __CFDictionary* Dictionary(CFTypeRef dictionary) {
  return CFRuntimeCast<__CFDictionary>(dictionary, CFDictionaryGetTypeID());
}

__CFDictionary* Mutable(CFMutableDictionaryRef dictionary) {
  auto* object =
      CFRuntimeCast<__CFDictionary>(static_cast<void*>(dictionary), CFDictionaryGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

__CFDictionary* New(const CFDictionaryKeyCallBacks* keys, const CFDictionaryValueCallBacks* values,
                    bool changeable) {
  KeyRules rules;
  if (keys != nullptr) {
    rules = {keys->retain, keys->release, keys->copyDescription, keys->equal, keys->hash};
  }
  return new __CFDictionary(rules, values != nullptr ? *values : CFDictionaryValueCallBacks{},
                            changeable);
}

__CFDictionary* NewCopy(CFDictionaryRef source, bool changeable) {
  const __CFDictionary* from = Dictionary(source);
  if (from == nullptr) return nullptr;
  auto* copy = new __CFDictionary(from->table.rules, from->valueCallBacks, changeable);
  from->table.forEach([&](const Entry& entry) { copy->add(entry.key, entry.value); });
  return copy;
}

}  // namespace

CFTypeID CFDictionaryGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFDictionary");
  return typeID;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  if (count < 0 || ((keys == nullptr || values == nullptr) && count > 0)) return nullptr;
  __CFDictionary* dictionary = New(keyCallBacks, valueCallBacks, false);
  for (CFIndex i = 0; i < count; ++i) {
    if (dictionary->table.find(keys[i]) == nullptr) dictionary->add(keys[i], values[i]);
  }
  return dictionary;
}

CFDictionaryRef CFDictionaryCreateCopy(CFAllocatorRef, CFDictionaryRef dictionary) {
  return NewCopy(dictionary, false);
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  return New(keyCallBacks, valueCallBacks, true);
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex,
                                                     CFDictionaryRef dictionary) {
  return NewCopy(dictionary, true);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  const __CFDictionary* object = Dictionary(dictionary);
  return object != nullptr ? static_cast<CFIndex>(object->table.size()) : 0;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
  const __CFDictionary* object = Dictionary(dictionary);
  return object != nullptr && object->table.find(key) != nullptr;
}

Boolean CFDictionaryContainsValue(CFDictionaryRef dictionary, const void* value) {
  return CFDictionaryGetCountOfValue(dictionary, value) > 0;
}

CFIndex CFDictionaryGetCountOfKey(CFDictionaryRef dictionary, const void* key) {
  return CFDictionaryContainsKey(dictionary, key) ? 1 : 0;
}

CFIndex CFDictionaryGetCountOfValue(CFDictionaryRef dictionary, const void* value) {
  const __CFDictionary* object = Dictionary(dictionary);
  CFIndex count = 0;
  if (object != nullptr) {
    object->table.forEach(
        [&](const Entry& entry) { count += object->areEqualValues(entry.value, value) ? 1 : 0; });
  }
  return count;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  const void* value = nullptr;
  CFDictionaryGetValueIfPresent(dictionary, key, &value);
  return value;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                      const void** value) {
  const __CFDictionary* object = Dictionary(dictionary);
  const Entry* entry = object != nullptr ? object->table.find(key) : nullptr;
  if (entry != nullptr && value != nullptr) *value = entry->value;
  return entry != nullptr;
}

Boolean CFDictionaryGetKeyIfPresent(CFDictionaryRef dictionary, const void* key,
                                    const void** actualKey) {
  const __CFDictionary* object = Dictionary(dictionary);
  const Entry* entry = object != nullptr ? object->table.find(key) : nullptr;
  if (entry != nullptr && actualKey != nullptr) *actualKey = entry->key;
  return entry != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
  const __CFDictionary* object = Dictionary(dictionary);
  if (object == nullptr) return;
  object->table.forEach([&](const Entry& entry) {
    if (keys != nullptr) *keys++ = entry.key;
    if (values != nullptr) *values++ = entry.value;
  });
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
  const __CFDictionary* object = Dictionary(dictionary);
  if (object == nullptr || applier == nullptr) return;
  object->table.forEach([&](const Entry& entry) { applier(entry.key, entry.value, context); });
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  __CFDictionary* object = Mutable(dictionary);
  if (object != nullptr && object->table.find(key) == nullptr) object->add(key, value);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  __CFDictionary* object = Mutable(dictionary);
  if (object == nullptr) return;
  if (Entry* entry = object->table.find(key)) {
    object->replace(*entry, value);
  } else {
    object->add(key, value);
  }
}

void CFDictionaryReplaceValue(CFMutableDictionaryRef dictionary, const void* key,
                              const void* value) {
  __CFDictionary* object = Mutable(dictionary);
  Entry* entry = object != nullptr ? object->table.find(key) : nullptr;
  if (entry != nullptr) object->replace(*entry, value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
  __CFDictionary* object = Mutable(dictionary);
  Entry* entry = object != nullptr ? object->table.find(key) : nullptr;
  if (entry == nullptr) return;
  const Entry removed = *entry;
  object->table.erase(entry);
  object->table.rules.drop(removed.key);
  object->dropValue(removed.value);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary) {
  __CFDictionary* object = Mutable(dictionary);
  if (object != nullptr) object->dropAll(object->table.takeAll());
}
