// Alias records as they come: what is accepted must come back the same after it was written again.
#include <cstdlib>

#include "platform/CoreServices/AliasRecord.h"

using namespace lumivane::files;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  AliasInfo info;
  if (!ParseAliasRecord(bytes, size, &info)) return 0;
  const auto written = WriteAliasRecord(info);
  if (!written) return 0;
  AliasInfo again;
  if (!ParseAliasRecord(written->data(), written->size(), &again)) std::abort();
  if (again.path != info.path || again.relativePath != info.relativePath ||
      again.object != info.object || again.name != info.name) {
    std::abort();
  }
  return 0;
}
