// `lumivane file fork list|read|write`.
#include <cstdio>
#include <memory>
#include <vector>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/FileCommands.h"
#include "hosts/lumivane/FileText.h"
#include "sdk/CoreX/LFileFork.h"
#include "sdk/CoreX/LHFSUnicodeName.h"

namespace lumivane {
namespace {

constexpr std::size_t kBlock = 1 << 16;

struct CloseStream {
  void operator()(std::FILE* file) const {
    if (file != stdin && file != stdout) std::fclose(file);
  }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

const HFSUniStr255& ForkName(const std::string& fork) {
  return fork == "resource" ? LHFSUnicodeName::sResourceFork : LHFSUnicodeName::sDataFork;
}

/// Opens a fork; LFileFork keeps errors to the log.
OSErr WhyNot(const FSRef& ref, const HFSUniStr255& name, SInt8 permission) {
  FSIORefNum number = 0;
  const OSErr error = FSOpenFork(&ref, name.length, name.unicode, permission, &number);
  if (error == noErr) FSCloseFork(number);
  return error;
}

bool CopyOut(LFileFork& fork, std::FILE* out, UInt64* total) {
  std::vector<char> block(kBlock);
  for (ByteCount count = kBlock; count == kBlock; *total += count) {
    if (!fork.Read(block.data(), kBlock, fsAtMark, 0, &count)) return false;
    if (std::fwrite(block.data(), 1, count, out) != count) return false;
  }
  return std::fflush(out) == 0;
}

bool ReadAll(std::FILE* in, std::vector<char>* bytes) {
  std::vector<char> block(kBlock);
  while (const std::size_t count = std::fread(block.data(), 1, kBlock, in)) {
    bytes->insert(bytes->end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return std::ferror(in) == 0;
}

}  // namespace

int RunFileForkList(const FileOptions& options) {
  FSRef ref;
  if (!FindPlainFile(options.path, &ref)) return kExitFailed;
  FSCatalogInfo info;
  const OSErr error = FSGetCatalogInfo(&ref, kFSCatInfoDataSizes | kFSCatInfoRsrcSizes, &info,
                                       nullptr, nullptr, nullptr);
  if (error != noErr) return FileFailure(options.path, FileErrorText(error));
  if (options.json) {
    PrintValues(
        nlohmann::ordered_json::array(
            {{{"fork", "data"}, {"name", ""}, {"bytes", info.dataLogicalSize}},
             {{"fork", "resource"}, {"name", "RESOURCE_FORK"}, {"bytes", info.rsrcLogicalSize}}}),
        true);
  } else {
    PrintValues({{"data", info.dataLogicalSize}, {"resource", info.rsrcLogicalSize}}, false);
  }
  return kExitOk;
}

int RunFileForkRead(const FileOptions& options) {
  FSRef ref;
  if (!FindPlainFile(options.path, &ref)) return kExitFailed;
  const HFSUniStr255& name = ForkName(options.fork);
  LFileFork fork;
  if (!fork.OpenRead(&ref, &name)) {
    return FileFailure(options.path, FileErrorText(WhyNot(ref, name, fsRdPerm)));
  }
  const bool toOutput = options.stream == "-";
  // Written aside and renamed, so that no reader sees half of it.
  const std::string aside = options.stream + ".part";
  Stream out(toOutput ? stdout : std::fopen(aside.c_str(), "wbx"));
  if (!out) return FileFailure(aside, "cannot be made; a file of this name may be in the way");
  UInt64 total = 0;
  bool ok = CopyOut(fork, out.get(), &total);
  if (!toOutput) {
    ok = std::fclose(out.release()) == 0 && ok;
    ok = ok && std::rename(aside.c_str(), options.stream.c_str()) == 0;
    if (!ok) std::remove(aside.c_str());
  }
  if (!ok) return FileFailure(toOutput ? "standard output" : options.stream, "cannot be written");
  if (!toOutput) {
    PrintValues({{"fork", options.fork}, {"out", options.stream}, {"bytes", total}}, options.json);
  }
  return kExitOk;
}

int RunFileForkWrite(const FileOptions& options) {
  FSRef ref;
  if (!FindPlainFile(options.path, &ref)) return kExitFailed;
  // All of it before the fork is touched: half an input must not replace a whole fork.
  std::vector<char> bytes;
  {
    const Stream in(options.stream == "-" ? stdin : std::fopen(options.stream.c_str(), "rb"));
    if (!in || !ReadAll(in.get(), &bytes)) {
      return FileFailure(options.stream, "cannot be read");
    }
  }
  if (bytes.size() > 0xFFFFFFFFu) return FileFailure(options.stream, "is longer than 4 GiB");
  const HFSUniStr255& name = ForkName(options.fork);
  LFileFork fork;
  if (!fork.OpenWrite(&ref, &name)) {
    return FileFailure(options.path, FileErrorText(WhyNot(ref, name, fsRdWrPerm)));
  }
  const auto count = static_cast<ByteCount>(bytes.size());
  ByteCount written = 0;
  const bool ok = fork.Write(bytes.data(), count, fsFromStart, 0, &written) &&
                  FSSetForkSize(fork.GetRefNum(), fsFromStart, count) == noErr && fork.Close();
  if (!ok) {
    return FileFailure(options.path, "written up to byte " + std::to_string(written) + " of " +
                                         std::to_string(count) + "; the log says why");
  }
  PrintValues({{"path", FilePath(ref)}, {"fork", options.fork}, {"bytes", count}}, options.json);
  return kExitOk;
}

}  // namespace lumivane
