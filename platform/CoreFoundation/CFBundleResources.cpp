// Files in a bundle's resources folder, looked for on disk at every call.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <utility>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFBundleObject.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURLObject.h"
#include "platform/CoreFoundation/CFUTF8.h"
#include "platform/System/posix.h"

namespace {

/// "de_DE" and "de" for "de_DE.UTF-8"; nothing for the C locale.
std::vector<std::string> UserLanguages() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value == '\0') continue;
    std::string locale(value);
    locale.resize(std::min(locale.find_first_of(".@"), locale.size()));
    // Used as part of a file name.
    if (locale == "C" || locale == "POSIX" || locale.find('/') != std::string::npos) return {};
    const std::string language = locale.substr(0, locale.find('_'));
    return language == locale ? std::vector{locale} : std::vector{locale, language};
  }
  return {};
}

/// The folders to look in, in order: the first is the unlocalised one.
std::vector<std::string> SearchFolders(CFBundleRef bundle, CFStringRef subDirectory) {
  const std::string resources = bundle->folder("Resources");
  std::vector<std::string> languages = UserLanguages();
  const CFTypeRef region =
      CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("CFBundleDevelopmentRegion"));
  if (region != nullptr && CFGetTypeID(region) == CFStringGetTypeID()) {
    const std::string name = CFUTF8Text(static_cast<CFStringRef>(region)).value_or("");
    if (!name.empty() && name.find('/') == std::string::npos) languages.push_back(name);
  }
  languages.insert(languages.end(), {"en", "English", "Base"});

  std::string below;
  if (const std::string name = CFUTF8Text(subDirectory).value_or(""); !name.empty()) {
    below = "/" + name;
  }
  std::vector<std::string> folders{resources + below};
  for (const std::string& language : languages) {
    std::string folder = resources + "/" + language + ".lproj" + below;
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) {
      folders.push_back(std::move(folder));
    }
  }
  return folders;
}

/// ".TYPE", or nothing for no type.
std::string Suffix(CFStringRef type) {
  const std::string text = CFUTF8Text(type).value_or("");
  return text.empty() || text.starts_with('.') ? text : "." + text;
}

CFURLRef CreateURLOfExisting(const std::string& path) {
  struct stat info;
  if (path.find('\0') != std::string::npos || stat(path.c_str(), &info) != 0) return nullptr;
  return CFURLCreateWithPathBytes(path, S_ISDIR(info.st_mode));
}

std::set<std::string> NamesIn(const std::string& folder, const std::string& suffix) {
  std::set<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::string name = entry->path().filename().string();
    const bool isLanguageFolder = name.ends_with(".lproj");
    if (!name.starts_with('.') && !isLanguageFolder && name.ends_with(suffix)) {
      names.insert(std::move(name));
    }
  }
  return names;
}

}  // namespace

CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type,
                                 CFStringRef subDirectory) {
  if (bundle == nullptr || !bundle->hasFolders()) return nullptr;
  const std::string file = CFUTF8Text(name).value_or("");
  if (file.empty()) return nullptr;
  for (const std::string& folder : SearchFolders(bundle, subDirectory)) {
    if (const CFURLRef url = CreateURLOfExisting(folder + "/" + file + Suffix(type))) return url;
  }
  return nullptr;
}

CFArrayRef CFBundleCopyResourceURLsOfType(CFBundleRef bundle, CFStringRef type,
                                          CFStringRef subDirectory) {
  if (bundle == nullptr) return nullptr;
  const CFMutableArrayRef urls =
      CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
  if (!bundle->hasFolders()) return urls;
  std::set<std::string> localised;
  bool first = true;
  for (const std::string& folder : SearchFolders(bundle, subDirectory)) {
    for (const std::string& name : NamesIn(folder, Suffix(type))) {
      if (!first && !localised.insert(name).second) continue;
      if (const CFURLRef url = CreateURLOfExisting(folder + "/" + name)) {
        CFArrayAppendValue(urls, url);
        CFRelease(url);
      }
    }
    first = false;
  }
  return urls;
}
