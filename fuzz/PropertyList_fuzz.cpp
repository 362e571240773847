// Any bytes as a property list: an object or an error text, never both or neither; and what was
// read comes back equal after it was written, where it can be written.
#include <cstdint>
#include <cstdlib>

#include "platform/CoreFoundation/CoreFoundation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CFStringRef error = nullptr;
  const CFPropertyListRef list = CFPropertyListCreateFromBytes(data, size, &error);
  if ((list == nullptr) == (error == nullptr)) std::abort();
  if (list == nullptr) {
    CFRelease(error);
    return 0;
  }
  const CFDataRef written = CFPropertyListCreateXMLData(kCFAllocatorDefault, list);
  if (written != nullptr) {
    const CFPropertyListRef again = CFPropertyListCreateFromBytes(
        CFDataGetBytePtr(written), static_cast<std::size_t>(CFDataGetLength(written)), nullptr);
    if (again == nullptr || !CFEqual(list, again)) std::abort();
    CFRelease(again);
    CFRelease(written);
  }
  CFRelease(list);
  return 0;
}
