// Pictures as JPEG, quickly, for streams.
#pragma once

#include <cstdint>
#include <string>

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

class JpegEncoder {
 public:
  JpegEncoder();
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  /// Baseline, 4:2:0, `quality` 1 to 100; what is transparent is on black. Empty with the library's
  /// reason on failure.
  std::string Encode(const Picture& picture, int quality, std::string* error);

 private:
  void* encoder_;  ///< the library's
};

}  // namespace lumivane
