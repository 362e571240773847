#include "platform/CoreImage/CIFilter.h"

#include <set>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/FilterRegistry.h"
#include "platform/Foundation/NSValues.h"
#include "platform/Foundation/Text.h"

using lumivane::coreimage::CategoriesOf;
using lumivane::coreimage::FilterEntry;
using lumivane::coreimage::FilterRegistry;
using lumivane::foundation::DictionaryValue;
using lumivane::foundation::StringValue;
using lumivane::foundation::TypeName;
using lumivane::foundation::Utf8;

namespace {

constexpr std::string_view kInputPrefix = "input";

CFTypeID CIFilterGetTypeID() {
  static const CFTypeID type = CFRuntimeRegisterType("CIFilter");
  return type;
}

NSString* Text(std::string_view text) {
  return NSAutorelease(lumivane::foundation::CreateString(text));
}

NSArray* TextArray(const std::vector<std::string>& texts) {
  std::vector<CFTypeRef> values;
  values.reserve(texts.size());
  for (const std::string& text : texts) values.push_back(Text(text));
  return NSArray_arrayWithObjectscount(values.data(), static_cast<CFIndex>(values.size()));
}

CFMutableDictionaryRef NewDictionary() {
  return NSAutorelease(CFDictionaryCreateMutable(
      kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

void CopyEntries(NSDictionary* from, CFMutableDictionaryRef to) {
  if (from == nullptr) return;
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(from));
  std::vector<const void*> keys(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(from, keys.data(), values.data());
  for (std::size_t i = 0; i < count; ++i) CFDictionarySetValue(to, keys[i], values[i]);
}

std::set<std::string> TextKeys(NSDictionary* dictionary) {
  std::set<std::string> texts;
  if (dictionary == nullptr) return texts;
  std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
  for (const void* const key : keys) {
    if (NSIsString(key)) texts.insert(Utf8(static_cast<NSString*>(key)));
  }
  return texts;
}

/// "inputClockRate" -> "Clock Rate".
std::string DisplayNameOfKey(std::string_view key) {
  key.remove_prefix(kInputPrefix.size());
  std::string name;
  for (const char c : key) {
    if (!name.empty() && c >= 'A' && c <= 'Z') name += ' ';
    name += c;
  }
  return name;
}

const char* ClassNameOfValue(CFTypeRef value) {
  if (NSIsNumber(value)) return "NSNumber";
  if (NSIsString(value)) return "NSString";
  if (NSIsArray(value)) return "NSArray";
  if (NSIsDictionary(value)) return "NSDictionary";
  if (NSIsData(value)) return "NSData";
  return nullptr;
}

bool IsInAll(NSDictionary* attributes, NSArray* wanted) {
  NSArray* const categories = CategoriesOf(attributes);
  for (CFIndex i = 0; i < CFArrayGetCount(wanted); ++i) {
    if (categories == nullptr ||
        !CFArrayContainsValue(categories, CFRangeMake(0, CFArrayGetCount(categories)),
                              CFArrayGetValueAtIndex(wanted, i))) {
      return false;
    }
  }
  return true;
}

}  // namespace

CIFilter::CIFilter() : NSObject(CIFilterGetTypeID()) {}

void CIFilter::dealloc() {
  NSRelease(name_);
  NSRelease(filterAttributes_);
  name_ = nullptr;
  filterAttributes_ = nullptr;
  NSObject::dealloc();
}

CIFilter* CIFilter::filterWithName(NSString* name) {
  if (name == nullptr) return nullptr;
  CIFilter* filter = nullptr;
  {
    FilterRegistry& registry = FilterRegistry::Shared();
    // Until alloc has counted the new object, the plug-in must not be unloaded.
    const std::lock_guard guard(registry.lock());
    const FilterEntry* const entry = registry.Find(Utf8(name));
    if (entry == nullptr) return nullptr;
    NSObject* const object = entry->filterClass->alloc();
    filter = dynamic_cast<CIFilter*>(object);
    if (filter == nullptr) {
      NSRelease(object);
      return nullptr;
    }
    filter->name_ = NSRetain(name);
    filter->filterAttributes_ = NSRetain(entry->attributes);
  }
  filter = dynamic_cast<CIFilter*>(filter->init());
  if (filter == nullptr) return nullptr;
  filter->setDefaults();
  return NSAutorelease(filter);
}

NSArray* CIFilter::filterNamesInCategory(NSString* category) {
  const CFTypeRef wanted = category;
  return filterNamesInCategories(
      NSArray_arrayWithObjectscount(&wanted, category == nullptr ? 0 : 1));
}

NSArray* CIFilter::filterNamesInCategories(NSArray* categories) {
  FilterRegistry& registry = FilterRegistry::Shared();
  const std::lock_guard guard(registry.lock());
  std::vector<std::string> names = registry.Names();
  if (categories != nullptr) {
    std::erase_if(names, [&](const std::string& name) {
      const FilterEntry* const entry = registry.Find(name);
      return entry == nullptr || !IsInAll(entry->attributes, categories);
    });
  }
  return TextArray(names);
}

NSString* CIFilter::localizedNameForFilterName(NSString* name) {
  if (name == nullptr) return nullptr;
  FilterRegistry& registry = FilterRegistry::Shared();
  const std::lock_guard guard(registry.lock());
  const FilterEntry* const entry = registry.Find(Utf8(name));
  if (entry == nullptr) return nullptr;
  NSString* const shown = StringValue(entry->attributes, kCIAttributeFilterDisplayName);
  return NSAutorelease(NSRetain(shown != nullptr ? shown : name));
}

bool CIFilter::registerFilterName(NSString* name, Class filterClass, NSDictionary* attributes) {
  return name != nullptr && filterClass != nullptr && filterClass->isSubclassOf("CIFilter") &&
         FilterRegistry::Shared().Add(Utf8(name), filterClass, attributes);
}

bool CIFilter::unregisterFilterName(NSString* name) {
  return name != nullptr && FilterRegistry::Shared().Remove(Utf8(name));
}

NSArray* CIFilter::inputKeys() {
  std::set<std::string> keys = TextKeys(customAttributes());
  for (const KeyedVariable* v = keyedVariables(); v != nullptr; v = v->next) keys.insert(v->key);
  std::erase_if(keys, [](const std::string& key) { return !key.starts_with(kInputPrefix); });
  return TextArray({keys.begin(), keys.end()});
}

NSArray* CIFilter::outputKeys() {
  return TextArray({Utf8(kCIOutputImageKey)});
}

NSDictionary* CIFilter::customAttributes() {
  return NewDictionary();
}

NSDictionary* CIFilter::describeInput(const std::string& key, NSDictionary* given) {
  const CFMutableDictionaryRef described = NewDictionary();
  CopyEntries(given, described);
  std::string className;
  for (const KeyedVariable* v = keyedVariables(); v != nullptr; v = v->next) {
    if (key != v->key) continue;
    if (v->className != nullptr) className = v->className;
    if (v->type != nullptr) className = TypeName(*v->type);
  }
  if (className.empty()) {
    const char* const known =
        ClassNameOfValue(CFDictionaryGetValue(described, kCIAttributeDefault));
    if (known != nullptr) className = known;
  }
  if (!className.empty() && !CFDictionaryContainsKey(described, kCIAttributeClass)) {
    CFDictionarySetValue(described, kCIAttributeClass, Text(className));
  }
  if (!CFDictionaryContainsKey(described, kCIAttributeDisplayName)) {
    CFDictionarySetValue(described, kCIAttributeDisplayName, Text(DisplayNameOfKey(key)));
  }
  return described;
}

NSDictionary* CIFilter::attributes() {
  const CFMutableDictionaryRef all = NewDictionary();
  NSDictionary* const custom = customAttributes();
  CopyEntries(custom, all);

  NSArray* const keys = inputKeys();
  for (CFIndex i = 0; i < CFArrayGetCount(keys); ++i) {
    auto* const key = static_cast<NSString*>(CFArrayGetValueAtIndex(keys, i));
    CFDictionarySetValue(all, key, describeInput(Utf8(key), DictionaryValue(custom, key)));
  }

  NSString* filterName = name_;
  if (filterName == nullptr) filterName = Text(TypeName(typeid(*this)));
  CFDictionarySetValue(all, kCIAttributeFilterName, filterName);
  NSString* const shown = StringValue(filterAttributes_, kCIAttributeFilterDisplayName);
  CFDictionarySetValue(all, kCIAttributeFilterDisplayName, shown != nullptr ? shown : filterName);
  NSArray* const categories = CategoriesOf(filterAttributes_);
  CFDictionarySetValue(
      all, kCIAttributeFilterCategories,
      categories != nullptr ? categories : NSArray_arrayWithObjectscount(nullptr, 0));
  return all;
}

void CIFilter::setDefaults() {
  NSDictionary* const described = customAttributes();
  if (described == nullptr) return;
  for (const std::string& name : TextKeys(described)) {
    NSString* const key = Text(name);
    NSDictionary* const input = DictionaryValue(described, key);
    if (!name.starts_with(kInputPrefix) || input == nullptr) continue;
    const CFTypeRef value = CFDictionaryGetValue(input, kCIAttributeDefault);
    if (value != nullptr) setValueforKey(value, key);
  }
}

CIImage* CIFilter::outputImage() {
  return nullptr;
}

CFTypeRef CIFilter::valueForKey(NSString* key) {
  if (key != nullptr && CFEqual(key, kCIOutputImageKey)) return outputImage();
  return NSObject::valueForKey(key);
}
