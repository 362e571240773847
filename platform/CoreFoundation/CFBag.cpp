#include "platform/CoreFoundation/CFBag.h"

#include "platform/CoreFoundation/CFHashTable.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

using cfcollection::Entry;
using cfcollection::HashTable;
using cfcollection::KeyRules;

struct __CFBag final : CFRuntimeObject {
  __CFBag(const KeyRules& rules, bool changeable)
      : CFRuntimeObject(CFBagGetTypeID()), table(rules), isMutable(changeable) {}
  ~__CFBag() override { dropAll(table); }

  static void dropAll(const HashTable& dropped) {
    dropped.forEach([&](const Entry& entry) { dropped.rules.drop(entry.key); });
  }
  void add(const void* value) {
    // One reference holds the value, however often it is there.
    if (Entry* entry = table.find(value)) {
      ++entry->count;
    } else {
      table.add(table.rules.keep(value), nullptr);
    }
    ++occurrences;
  }
  void replace(Entry& entry, const void* value) {
    const void* old = entry.key;
    entry.key = table.rules.keep(value);
    table.rules.drop(old);
  }

  bool isEqualTo(const CFRuntimeObject& other) const override {
    const auto& collection = static_cast<const __CFBag&>(other);
    bool same = table.size() == collection.table.size() &&
                table.rules.equal == collection.table.rules.equal;
    table.forEach([&](const Entry& entry) {
      if (!same) return;
      const Entry* found = collection.table.find(entry.key);
      same = found != nullptr && found->count == entry.count;
    });
    return same;
  }
  // By the count alone, as the other collections.
  CFHashCode hashValue() const override { return static_cast<CFHashCode>(occurrences); }

  CFStringRef copyDescriptionText() const override {
    const cfcollection::DescriptionDepth depth;
    std::u16string text = u"<" + cftext::DescriptionHead(*this) + u">{type = " +
                          (isMutable ? u"mutable" : u"immutable") + u", count = " +
                          cftext::FromUTF8(std::to_string(occurrences)) + u", values = (\n";
    if (depth.isTooDeep()) return cftext::Make(text + u"\t...\n)}");
    table.forEach([&](const Entry& entry) {
      text += u"\t" + cftext::DescribeValue(table.rules.copyDescription, entry.key) + u" (" +
              cftext::FromUTF8(std::to_string(entry.count)) + u")" + u"\n";
    });
    return cftext::Make(text + u")}");
  }

  HashTable table;
  CFIndex occurrences = 0;  ///< of all values together
  const bool isMutable;
};

const CFBagCallBacks kCFTypeBagCallBacks = {
    0, cfcollection::RetainObject, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};
const CFBagCallBacks kCFCopyStringBagCallBacks = {
    0, cfcollection::CopyString, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};

namespace {

const __CFBag* Collection(CFTypeRef collection) {
  return CFRuntimeCast<__CFBag>(collection, CFBagGetTypeID());
}

__CFBag* Mutable(CFMutableBagRef collection) {
  auto* object = CFRuntimeCast<__CFBag>(static_cast<void*>(collection), CFBagGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

Entry* FindMutable(CFMutableBagRef collection, const void* value) {
  __CFBag* object = Mutable(collection);
  return object != nullptr ? object->table.find(value) : nullptr;
}

const Entry* Find(CFBagRef collection, const void* value) {
  const __CFBag* object = Collection(collection);
  return object != nullptr ? object->table.find(value) : nullptr;
}

__CFBag* New(const CFBagCallBacks* callBacks, bool changeable) {
  KeyRules rules;
  if (callBacks != nullptr) {
    rules = {callBacks->retain, callBacks->release, callBacks->copyDescription, callBacks->equal,
             callBacks->hash};
  }
  return new __CFBag(rules, changeable);
}

__CFBag* NewCopy(CFBagRef source, bool changeable) {
  const __CFBag* from = Collection(source);
  if (from == nullptr) return nullptr;
  auto* copy = new __CFBag(from->table.rules, changeable);
  from->table.forEach([&](const Entry& entry) {
    for (CFIndex i = 0; i < entry.count; ++i) copy->add(entry.key);
  });
  return copy;
}

}  // namespace

CFTypeID CFBagGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFBag");
  return typeID;
}

CFBagRef CFBagCreate(CFAllocatorRef, const void** values, CFIndex count,
                     const CFBagCallBacks* callBacks) {
  if (count < 0 || (values == nullptr && count > 0)) return nullptr;
  __CFBag* collection = New(callBacks, false);
  for (CFIndex i = 0; i < count; ++i) collection->add(values[i]);
  return collection;
}

CFBagRef CFBagCreateCopy(CFAllocatorRef, CFBagRef collection) {
  return NewCopy(collection, false);
}

CFMutableBagRef CFBagCreateMutable(CFAllocatorRef, CFIndex, const CFBagCallBacks* callBacks) {
  return New(callBacks, true);
}

CFMutableBagRef CFBagCreateMutableCopy(CFAllocatorRef, CFIndex, CFBagRef collection) {
  return NewCopy(collection, true);
}

CFIndex CFBagGetCount(CFBagRef collection) {
  const __CFBag* object = Collection(collection);
  return object != nullptr ? static_cast<CFIndex>(object->occurrences) : 0;
}

CFIndex CFBagGetCountOfValue(CFBagRef collection, const void* value) {
  const Entry* entry = Find(collection, value);
  return entry != nullptr ? entry->count : 0;
}

Boolean CFBagContainsValue(CFBagRef collection, const void* value) {
  return Find(collection, value) != nullptr;
}

const void* CFBagGetValue(CFBagRef collection, const void* value) {
  const Entry* entry = Find(collection, value);
  return entry != nullptr ? entry->key : nullptr;
}

Boolean CFBagGetValueIfPresent(CFBagRef collection, const void* candidate, const void** actual) {
  const Entry* entry = Find(collection, candidate);
  if (entry != nullptr && actual != nullptr) *actual = entry->key;
  return entry != nullptr;
}

void CFBagGetValues(CFBagRef collection, const void** values) {
  const __CFBag* object = Collection(collection);
  if (object == nullptr || values == nullptr) return;
  object->table.forEach([&](const Entry& entry) {
    for (CFIndex i = 0; i < entry.count; ++i) *values++ = entry.key;
  });
}

void CFBagApplyFunction(CFBagRef collection, CFBagApplierFunction applier, void* context) {
  const __CFBag* object = Collection(collection);
  if (object == nullptr || applier == nullptr) return;
  object->table.forEach([&](const Entry& entry) {
    for (CFIndex i = 0; i < entry.count; ++i) applier(entry.key, context);
  });
}

void CFBagAddValue(CFMutableBagRef collection, const void* value) {
  __CFBag* object = Mutable(collection);
  if (object != nullptr) object->add(value);
}

void CFBagReplaceValue(CFMutableBagRef collection, const void* value) {
  Entry* entry = FindMutable(collection, value);
  if (entry != nullptr) collection->replace(*entry, value);
}

void CFBagSetValue(CFMutableBagRef collection, const void* value) {
  if (FindMutable(collection, value) != nullptr) {
    CFBagReplaceValue(collection, value);
  } else {
    CFBagAddValue(collection, value);
  }
}

void CFBagRemoveValue(CFMutableBagRef collection, const void* value) {
  Entry* entry = FindMutable(collection, value);
  if (entry == nullptr) return;
  --collection->occurrences;
  if (entry->count > 1) {
    --entry->count;
    return;
  }
  const void* removed = entry->key;
  collection->table.erase(entry);
  collection->table.rules.drop(removed);
}

void CFBagRemoveAllValues(CFMutableBagRef collection) {
  __CFBag* object = Mutable(collection);
  if (object == nullptr) return;
  object->occurrences = 0;
  __CFBag::dropAll(object->table.takeAll());
}
