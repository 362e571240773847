// A host of its own, so that a test can choose its bundle: loads the plug-in at its argument, and
// says "loaded" or "refused", and whether the filter can be had.

#include <cstdio>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const NSAutoreleasePool pool;
  const bool loaded = CIPlugIn::loadPlugIn(argv[1]);
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("CILumivaneInput"));
  std::printf("%s, filter %s\n", loaded ? "loaded" : "refused", filter == nullptr ? "no" : "yes");
  if (filter != nullptr) filter->setValueforKey(nullptr, CFSTR("inputClock"));
  return 0;
}
