// Uses each of the two installed libraries once.
#include <cstdio>
#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreGeometry/PerlinNoise.h"
#include "sdk/CoreX/CoreUnixPath.h"

int main() {
  const CFStringRef text = CFStringCreateWithCString(nullptr, "lumivane", kCFStringEncodingUTF8);
  const CFIndex length = CFStringGetLength(text);
  CFRelease(text);
  std::string parent;
  const bool found = CoreUnixPath::GetPathParent("/usr/lib/lumivane", parent);
  const float onLattice = CoreGeometry::PerlinNoise::sSingleton.Noise2(3, 4);
  std::printf("%d %s %g\n", static_cast<int>(length), parent.c_str(), onLattice);
  return length == 8 && found && parent == "/usr/lib/" && onLattice == 0 ? 0 : 1;
}
