// Resource forks as they come: what is accepted must lie within the fork, and must hold the same
// resources after it was written again.
#include <cstdlib>

#include "platform/CoreServices/ResourceMap.h"

using namespace lumivane::files;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  ResourceMap map;
  if (!ParseResourceFork(bytes, size, &map)) return 0;
  std::vector<std::string> data;
  std::size_t total = 0;
  for (const ResourceEntry& entry : map.entries) {
    if (entry.data > size || entry.size > size - entry.data) std::abort();
    total += entry.size;
    // References may share data; a hundred copies of them show nothing that ten do not.
    if (total > 16 * size + 4096) return 0;
    data.emplace_back(reinterpret_cast<const char*>(bytes) + entry.data, entry.size);
  }
  const auto written = WriteResourceFork(map, data);
  if (!written) return 0;
  ResourceMap again;
  if (!ParseResourceFork(written->data(), written->size(), &again)) std::abort();
  if (again.entries.size() != map.entries.size()) std::abort();
  return 0;
}
