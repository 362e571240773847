// `lumivane file info|set`.
#include <cstdio>
#include <cstring>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/FileText.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/CoreCString.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/T_CFString.h"

namespace lumivane {
namespace {

std::string NameText(const HFSUniStr255& name) {
  std::string text;
  TCFString::FromUnicode(name, text, kCFStringEncodingUTF8);
  return text;
}

std::string FlagsText(UInt16 flags) {
  constexpr std::pair<UInt16, const char*> kFlags[] = {
      {kIsOnDesk, "desk"},          {kIsShared, "shared"},    {kHasNoINITs, "no-inits"},
      {kHasBeenInited, "inited"},   {kHasCustomIcon, "icon"}, {kIsStationery, "stationery"},
      {kNameLocked, "name-locked"}, {kHasBundle, "bundle"},   {kIsInvisible, "invisible"},
      {kIsAlias, "alias"},
  };
  std::string text;
  for (const auto& [bit, name] : kFlags) {
    if ((flags & bit) != 0) text += (text.empty() ? "" : ", ") + std::string(name);
  }
  return text;
}

}  // namespace

int RunFileInfo(const FileOptions& options) {
  FSRef ref;
  if (!FindFile(options.path, &ref)) return kExitFailed;
  FSCatalogInfo info;
  HFSUniStr255 name;
  constexpr FSCatalogInfoBitmap kWhich =
      kFSCatInfoNodeFlags | kFSCatInfoVolume | kFSCatInfoParentDirID | kFSCatInfoNodeID |
      kFSCatInfoAllDates | kFSCatInfoPermissions | kFSCatInfoFinderInfo | kFSCatInfoDataSizes |
      kFSCatInfoRsrcSizes | kFSCatInfoValence;
  OSErr error = FSGetCatalogInfo(&ref, kWhich, &info, &name, nullptr, nullptr);
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));
  HFSUniStr255 volume;
  error = FSGetVolumeInfo(info.volume, 0, nullptr, kFSVolInfoNone, nullptr, &volume, nullptr);
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));

  const bool isFolder = (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
  const LFSSpec spec(ref);
  CoreCString colonPath;
  CoreCString volumePath;
  spec.GetFullPath(colonPath);
  spec.GetFullPath_unix(volumePath);
  FInfo finder;
  std::memcpy(&finder, info.finderInfo, sizeof finder);
  DInfo folderFinder;
  std::memcpy(&folderFinder, info.finderInfo, sizeof folderFinder);

  nlohmann::ordered_json values = {
      {"name", NameText(name)},
      {"kind", isFolder ? "folder" : "file"},
      {"path", FilePath(ref)},
      {"volumePath", volumePath.c_str()},
      {"colonPath", TextOfRoman(colonPath.c_str())},
      {"volume", NameText(volume)},
      {"volumeNumber", info.volume},
      {"folderNumber", info.parentDirID},
      {"number", info.nodeID},
      {"specName", TextOfRoman({reinterpret_cast<const char*>(spec.name + 1), spec.name[0]})},
  };
  if (isFolder) {
    values["objects"] = info.valence;
  } else {
    values["type"] = CodeText(finder.fdType);
    values["creator"] = CodeText(finder.fdCreator);
    values["dataFork"] = info.dataLogicalSize;
    values["resourceFork"] = info.rsrcLogicalSize;
  }
  values["flags"] = FlagsText(isFolder ? folderFinder.frFlags : finder.fdFlags);
  values["created"] = DateText(info.createDate);
  values["modified"] = DateText(info.contentModDate);
  values["changed"] = DateText(info.attributeModDate);
  values["accessed"] = DateText(info.accessDate);
  values["backedUp"] = DateText(info.backupDate);
  PrintValues(values, options.json);
  return kExitOk;
}

int RunFileSet(const FileOptions& options) {
  const auto type = ParseCode(options.type);
  const auto creator = ParseCode(options.creator);
  for (const auto& [text, code] : {std::pair{options.type, type}, {options.creator, creator}}) {
    if (!text.empty() && !code) {
      std::fprintf(stderr, "lumivane: '%s' is no code of four characters\n", text.c_str());
      return kExitUsage;
    }
  }
  if (!type && !creator) {
    std::fprintf(stderr, "lumivane: nothing to set: give --type or --creator\n");
    return kExitUsage;
  }
  FSRef ref;
  if (!FindPlainFile(options.path, &ref)) return kExitFailed;
  FSCatalogInfo info = {};
  OSErr error = FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr);
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));
  FInfo finder;
  std::memcpy(&finder, info.finderInfo, sizeof finder);
  finder.fdType = type.value_or(finder.fdType);
  finder.fdCreator = creator.value_or(finder.fdCreator);
  std::memcpy(info.finderInfo, &finder, sizeof finder);
  error = FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info);
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));
  PrintValues({{"path", FilePath(ref)},
               {"type", CodeText(finder.fdType)},
               {"creator", CodeText(finder.fdCreator)}},
              options.json);
  return kExitOk;
}

}  // namespace lumivane
