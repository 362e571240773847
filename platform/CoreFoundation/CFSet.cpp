#include "platform/CoreFoundation/CFSet.h"

#include "platform/CoreFoundation/CFHashTable.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

using cfcollection::Entry;
using cfcollection::HashTable;
using cfcollection::KeyRules;

struct __CFSet final : CFRuntimeObject {
  __CFSet(const KeyRules& rules, bool changeable)
      : CFRuntimeObject(CFSetGetTypeID()), table(rules), isMutable(changeable) {}
  ~__CFSet() override { dropAll(table); }

  static void dropAll(const HashTable& dropped) {
    dropped.forEach([&](const Entry& entry) { dropped.rules.drop(entry.key); });
  }
  void add(const void* value) {
    if (table.find(value) == nullptr) table.add(table.rules.keep(value), nullptr);
  }
  void replace(Entry& entry, const void* value) {
    const void* old = entry.key;
    entry.key = table.rules.keep(value);
    table.rules.drop(old);
  }

  bool isEqualTo(const CFRuntimeObject& other) const override {
    const auto& collection = static_cast<const __CFSet&>(other);
    bool same = table.size() == collection.table.size() &&
                table.rules.equal == collection.table.rules.equal;
    table.forEach([&](const Entry& entry) {
      if (!same) return;
      const Entry* found = collection.table.find(entry.key);
      same = found != nullptr;
    });
    return same;
  }
  // By the count alone, as the other collections.
  CFHashCode hashValue() const override { return static_cast<CFHashCode>(table.size()); }

  CFStringRef copyDescriptionText() const override {
    const cfcollection::DescriptionDepth depth;
    std::u16string text = u"<" + cftext::DescriptionHead(*this) + u">{type = " +
                          (isMutable ? u"mutable" : u"immutable") + u", count = " +
                          cftext::FromUTF8(std::to_string(table.size())) + u", values = (\n";
    if (depth.isTooDeep()) return cftext::Make(text + u"\t...\n)}");
    table.forEach([&](const Entry& entry) {
      text += u"\t" + cftext::DescribeValue(table.rules.copyDescription, entry.key) + u"\n";
    });
    return cftext::Make(text + u")}");
  }

  HashTable table;
  const bool isMutable;
};

const CFSetCallBacks kCFTypeSetCallBacks = {
    0, cfcollection::RetainObject, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};
const CFSetCallBacks kCFCopyStringSetCallBacks = {
    0, cfcollection::CopyString, cfcollection::ReleaseObject, CFCopyDescription, CFEqual, CFHash};

namespace {

const __CFSet* Collection(CFTypeRef collection) {
  return CFRuntimeCast<__CFSet>(collection, CFSetGetTypeID());
}

__CFSet* Mutable(CFMutableSetRef collection) {
  auto* object = CFRuntimeCast<__CFSet>(static_cast<void*>(collection), CFSetGetTypeID());
  return object != nullptr && object->isMutable ? object : nullptr;
}

Entry* FindMutable(CFMutableSetRef collection, const void* value) {
  __CFSet* object = Mutable(collection);
  return object != nullptr ? object->table.find(value) : nullptr;
}

const Entry* Find(CFSetRef collection, const void* value) {
  const __CFSet* object = Collection(collection);
  return object != nullptr ? object->table.find(value) : nullptr;
}

__CFSet* New(const CFSetCallBacks* callBacks, bool changeable) {
  KeyRules rules;
  if (callBacks != nullptr) {
    rules = {callBacks->retain, callBacks->release, callBacks->copyDescription, callBacks->equal,
             callBacks->hash};
  }
  return new __CFSet(rules, changeable);
}

__CFSet* NewCopy(CFSetRef source, bool changeable) {
  const __CFSet* from = Collection(source);
  if (from == nullptr) return nullptr;
  auto* copy = new __CFSet(from->table.rules, changeable);
  from->table.forEach([&](const Entry& entry) { copy->add(entry.key); });
  return copy;
}

}  // namespace

CFTypeID CFSetGetTypeID() {
  static const CFTypeID typeID = CFRuntimeRegisterType("CFSet");
  return typeID;
}

CFSetRef CFSetCreate(CFAllocatorRef, const void** values, CFIndex count,
                     const CFSetCallBacks* callBacks) {
  if (count < 0 || (values == nullptr && count > 0)) return nullptr;
  __CFSet* collection = New(callBacks, false);
  for (CFIndex i = 0; i < count; ++i) collection->add(values[i]);
  return collection;
}

CFSetRef CFSetCreateCopy(CFAllocatorRef, CFSetRef collection) {
  return NewCopy(collection, false);
}

CFMutableSetRef CFSetCreateMutable(CFAllocatorRef, CFIndex, const CFSetCallBacks* callBacks) {
  return New(callBacks, true);
}

CFMutableSetRef CFSetCreateMutableCopy(CFAllocatorRef, CFIndex, CFSetRef collection) {
  return NewCopy(collection, true);
}

CFIndex CFSetGetCount(CFSetRef collection) {
  const __CFSet* object = Collection(collection);
  return object != nullptr ? static_cast<CFIndex>(object->table.size()) : 0;
}

CFIndex CFSetGetCountOfValue(CFSetRef collection, const void* value) {
  const Entry* entry = Find(collection, value);
  return entry != nullptr ? entry->count : 0;
}

Boolean CFSetContainsValue(CFSetRef collection, const void* value) {
  return Find(collection, value) != nullptr;
}

const void* CFSetGetValue(CFSetRef collection, const void* value) {
  const Entry* entry = Find(collection, value);
  return entry != nullptr ? entry->key : nullptr;
}

Boolean CFSetGetValueIfPresent(CFSetRef collection, const void* candidate, const void** actual) {
  const Entry* entry = Find(collection, candidate);
  if (entry != nullptr && actual != nullptr) *actual = entry->key;
  return entry != nullptr;
}

void CFSetGetValues(CFSetRef collection, const void** values) {
  const __CFSet* object = Collection(collection);
  if (object == nullptr || values == nullptr) return;
  object->table.forEach([&](const Entry& entry) { *values++ = entry.key; });
}

void CFSetApplyFunction(CFSetRef collection, CFSetApplierFunction applier, void* context) {
  const __CFSet* object = Collection(collection);
  if (object == nullptr || applier == nullptr) return;
  object->table.forEach([&](const Entry& entry) { applier(entry.key, context); });
}

void CFSetAddValue(CFMutableSetRef collection, const void* value) {
  __CFSet* object = Mutable(collection);
  if (object != nullptr) object->add(value);
}

void CFSetReplaceValue(CFMutableSetRef collection, const void* value) {
  Entry* entry = FindMutable(collection, value);
  if (entry != nullptr) collection->replace(*entry, value);
}

void CFSetSetValue(CFMutableSetRef collection, const void* value) {
  if (FindMutable(collection, value) != nullptr) {
    CFSetReplaceValue(collection, value);
  } else {
    CFSetAddValue(collection, value);
  }
}

void CFSetRemoveValue(CFMutableSetRef collection, const void* value) {
  Entry* entry = FindMutable(collection, value);
  if (entry == nullptr) return;
  const void* removed = entry->key;
  collection->table.erase(entry);
  collection->table.rules.drop(removed);
}

void CFSetRemoveAllValues(CFMutableSetRef collection) {
  __CFSet* object = Mutable(collection);
  if (object == nullptr) return;
  __CFSet::dropAll(object->table.takeAll());
}
