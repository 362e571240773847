#include "platform/CoreServices/SpecNames.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/CoreServices/FileNames.h"

namespace lumivane::files {

namespace {

/// The extension that a short name keeps: the last dot and up to four Mac Roman characters.
std::string ExtensionOf(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) return {};
  std::string extension;
  if (!MacRomanOfName(name.substr(dot), &extension) || extension.size() > 5) return {};
  if (extension.find('#') != std::string::npos) return {};
  return extension;
}

/// As much of a name as Mac Roman has, '_' for the rest, an accent of its own left out.
std::string Approximate(const std::string& name) {
  const HFSUniStr255 units = UnitsOfName(name);
  std::string text;
  for (UInt16 i = 0; i < units.length; ++i) {
    const UniChar unit = units.unicode[i];
    if (unit >= 0x0300 && unit < 0x0370) continue;
    if (unit >= 0xdc00 && unit < 0xe000) continue;  // second half of what '_' stands for already
    std::string roman;
    const std::u16string one(1, static_cast<char16_t>(unit));
    std::string utf8;
    if (NameFromUnits(1, &unit, NameUse::kFind, &utf8) == noErr && MacRomanOfName(utf8, &roman)) {
      text += roman;
    } else {
      text += unit == '.' ? '.' : '_';
    }
  }
  return text;
}

/// The number in a short name; false when it has none.
bool NumberIn(const std::string& specName, UInt32* number) {
  const std::size_t mark = specName.rfind('#');
  if (mark == std::string::npos) return false;
  const char* first = specName.data() + mark + 1;
  const char* last = specName.data() + specName.size();
  const auto [end, error] = std::from_chars(first, last, *number, 16);
  return error == std::errc() && end != first && (end == last || *end == '.');
}

}  // namespace

std::string SpecNameOf(const std::string& name, UInt32 number) {
  std::string roman;
  if (MacRomanOfName(name, &roman) && roman.size() <= kSpecNameLength) return roman;
  char tag[16];
  std::snprintf(tag, sizeof tag, "#%X", static_cast<unsigned>(number));
  const std::string extension = ExtensionOf(name);
  std::string base = Approximate(name.substr(0, name.size() - extension.size()));
  if (!extension.empty()) {
    const std::size_t dot = name.rfind('.');
    base = Approximate(name.substr(0, dot));
  }
  const std::size_t room = kSpecNameLength - std::strlen(tag) - extension.size();
  return base.substr(0, room) + tag + extension;
}

FSSpec SpecOf(const Located& located) {
  FSSpec spec{};
  const Volume volume = VolumeOf(located);
  spec.vRefNum = volume.number;
  spec.parID = static_cast<SInt32>(ParentNumber(located, volume));
  const bool isRoot = located.look.identity == volume.root;
  const std::string name =
      SpecNameOf(isRoot ? volume.name : located.name, NodeNumber(located.look.identity, volume));
  SetPascal(spec.name, sizeof spec.name, name);
  return spec;
}

int LocateBySpecName(const Located& folder, const std::string& specName, Located* located) {
  const HFSUniStr255 units = UnitsOfName(NameFromMacRoman(specName));
  std::string name;
  if (NameFromUnits(units.length, units.unicode, NameUse::kFind, &name) != noErr) return ENOENT;
  const int error = LocateChild(folder, name, located);
  UInt32 number = 0;
  if (error != ENOENT || !NumberIn(specName, &number)) return error;
  const Descriptor self = folder.Open(O_PATH | O_DIRECTORY);
  if (!self.IsOpen()) return errno;
  const int fd = openat(self.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return errno;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(fdopendir(fd), &closedir);
  if (!stream) return errno;
  while (const dirent* entry = readdir(stream.get())) {
    const std::string candidate = entry->d_name;
    if (candidate == "." || candidate == "..") continue;
    // The entry of a mount point bears another inode than the root folder mounted on it.
    const bool maybe =
        NumberOfInode(entry->d_ino) == number || (number == kRootNumber && entry->d_type == DT_DIR);
    if (!maybe || SpecNameOf(candidate, number) != specName) continue;
    Located found;
    if (LocateChild(folder, candidate, &found) != 0) continue;
    ReferenceOf(found);
    if (NodeNumber(found.look.identity, VolumeOf(found)) != number) continue;
    *located = std::move(found);
    return 0;
  }
  return ENOENT;
}

void SetPascal(unsigned char* pascal, std::size_t room, const std::string& text) {
  const std::size_t length = std::min({text.size(), room - 1, std::size_t{255}});
  pascal[0] = static_cast<unsigned char>(length);
  std::copy_n(text.data(), length, pascal + 1);
}

std::string TextOfPascal(ConstStr255Param pascal) {
  if (pascal == nullptr) return {};
  return {reinterpret_cast<const char*>(pascal + 1), pascal[0]};
}

}  // namespace lumivane::files
