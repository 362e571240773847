// Side files as they come: what is accepted must lie within the file, and must come back the same
// after it was laid out and written again.
#include <algorithm>
#include <cstdlib>

#include "platform/CoreServices/AppleDouble.h"

using namespace lumivane::files;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  DoubleHead head;
  if (!ParseDoubleHead(bytes, size, size, &head)) return 0;
  for (const DoubleEntry& entry : head.entries) {
    if (UInt64{entry.offset} + entry.length > size) std::abort();
  }
  const auto laidOut = LayOutDouble(head, {{kDoubleFinderInfo, 32u}, {kDoubleResourceFork, 7u}});
  if (!laidOut) return 0;
  UInt64 end = laidOut->Size();
  for (const DoubleEntry& entry : laidOut->entries) {
    end = std::max(end, UInt64{entry.offset} + entry.length);
  }
  const auto written = WriteDoubleHead(*laidOut);
  DoubleHead again;
  std::vector<UInt8> file(written);
  file.resize(std::min<UInt64>(end, kDoubleMaxHead));
  if (!ParseDoubleHead(file.data(), file.size(), end, &again)) std::abort();
  if (again.entries.size() != laidOut->entries.size()) std::abort();
  return 0;
}
