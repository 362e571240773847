// Any bytes as kernel source: kernels or an error with a line, never a crash.
#include <cstdlib>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CIKernel.h"
#include "platform/Foundation/Foundation.h"

extern "C" int LLVMFuzzerTestOneInput(const UInt8* data, std::size_t size) {
  if (size > 1 << 16) return 0;
  const NSAutoreleasePool pool;
  NSString* const source = NSAutorelease(CFStringCreateWithBytes(
      kCFAllocatorDefault, data, static_cast<CFIndex>(size), kCFStringEncodingISOLatin1, false));
  CIKernelError error;
  NSArray* const kernels = CIKernel::kernelsWithStringerror(source, &error);
  const bool failed = error.line > 0 && !error.message.empty();
  if ((kernels == nullptr) != failed) std::abort();
  if (kernels != nullptr && CFArrayGetCount(kernels) == 0) std::abort();
  return 0;
}
