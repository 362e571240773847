// `lumivane file alias make|resolve`: alias files as the Finder makes them, with the record as
// resource 'alis' 0 and the alias bit among the Finder's flags.
#include <cstdio>
#include <filesystem>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/FileText.h"
#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/FSCatalogInfo_t.h"
#include "sdk/CoreX/LAlias.h"
#include "sdk/CoreX/LFSRef.h"

namespace lumivane {
namespace {

constexpr short kAliasResource = 0;

/// The Finder information of an alias file: its target's type, and the bit.
FInfo AliasInfo(const FSRef& target) {
  FInfo info = {};
  if (bool_FSRef_IsFolder(target)) {
    info.fdType = 'fdrp';
    info.fdCreator = 'MACS';
  } else {
    bool_FSRef_GetFinderInfo(target, info);
  }
  return {info.fdType, info.fdCreator, kIsAlias, {0, 0}, 0};
}

/// Puts the record of `target` into the new file.
OSErr StoreAlias(const FSRef& file, const FSRef& target) {
  HFSUniStr255 fork;
  OSErr error = FSGetResourceForkName(&fork);
  if (error == noErr) error = FSCreateResourceFork(&file, fork.length, fork.unicode, 0);
  if (error != noErr) return error;
  const ResFileRefNum resources = FSOpenResFile(&file, fsRdWrPerm);
  if (resources == -1) return ResError();
  LAliasRef alias(target, &file);
  error = alias.AddResource(kAliasResource, nullptr) ? noErr : addResFailed;
  CloseResFile(resources);
  return error != noErr ? error : ResError();
}

}  // namespace

int RunFileAliasMake(const FileOptions& options) {
  FSRef target;
  if (!FindFile(options.target, &target)) return kExitFailed;
  std::error_code ignored;  // A folder that cannot be looked at counts as there: making tells why.
  const std::filesystem::path folder = std::filesystem::path(options.path).parent_path();
  if (!folder.empty() &&
      std::filesystem::status(folder, ignored).type() == std::filesystem::file_type::not_found) {
    return FileFailure(options.path, FileErrorText(dirNFErr));
  }
  LFSRef file(options.path.c_str());
  if (!file.HasLatentPath()) return FileFailure(options.path, FileErrorText(bdNamErr));
  const FSCatalogInfo_t info(AliasInfo(target));
  std::string latent;
  file.GetLatentPath(latent);
  if (latent.find('/') != std::string::npos) {
    return FileFailure(options.path, FileErrorText(dirNFErr));
  }
  if (LFSRef(file, true).Exists()) return FileFailure(options.path, FileErrorText(dupFNErr));
  if (!file.CreateFile(kFSCatInfoFinderInfo, &info)) {
    return FileFailure(options.path, "cannot be created; the log says why");
  }
  FSRef ref;
  const OSErr error = file.GetNormalizedRef(ref) ? StoreAlias(ref, target) : OSErr{fnfErr};
  if (error != noErr) {
    file.Delete();
    return FileFailure(options.path, FileErrorText(error));
  }
  PrintValues({{"alias", FilePath(ref)}, {"target", FilePath(target)}}, options.json);
  return kExitOk;
}

int RunFileAliasResolve(const FileOptions& options) {
  FSRef file;
  if (!FindPlainFile(options.path, &file)) return kExitFailed;
  const ResFileRefNum resources =
      FSOpenResFile(&file, static_cast<SInt8>(options.update ? fsRdWrPerm : fsRdPerm));
  if (resources == -1) return FileFailure(options.path, FileErrorText(ResError()));
  Boolean changed = 0;
  OSErr error = noErr;
  FSRef target = {};
  // Not LAliasRef: the record is resolved from the alias file itself.
  Handle record = Get1Resource(rAliasType, kAliasResource);
  if (record == nullptr) {
    error = resNotFound;
  } else {
    error = FSResolveAlias(&file, reinterpret_cast<AliasHandle>(record), &target, &changed);
  }
  if (error == noErr && changed != 0 && options.update) {
    ChangedResource(record);
    error = ResError();
  }
  CloseResFile(resources);
  if (error == noErr) error = ResError();
  if (error == fnfErr) return FileFailure(options.path, "leads nowhere: its target is gone");
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));
  const std::string path = FilePath(target);
  if (options.json) {
    PrintValues({{"alias", FilePath(file)},
                 {"target", path},
                 {"changed", changed != 0},
                 {"updated", changed != 0 && options.update}},
                true);
  } else {
    std::printf("%s\n", path.c_str());
  }
  return kExitOk;
}

}  // namespace lumivane
