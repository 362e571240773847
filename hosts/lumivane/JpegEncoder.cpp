#include "hosts/lumivane/JpegEncoder.h"

#include <turbojpeg.h>

namespace lumivane {

JpegEncoder::JpegEncoder() : encoder_(tjInitCompress()) {}

JpegEncoder::~JpegEncoder() {
  if (encoder_ != nullptr) tjDestroy(encoder_);
}

std::string JpegEncoder::Encode(const Picture& picture, int quality, std::string* error) {
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  std::string jpeg;
  if (encoder_ != nullptr &&
      tjCompress2(encoder_, picture.rgba.data(), picture.width, 4 * picture.width, picture.height,
                  TJPF_RGBX, &bytes, &size, TJSAMP_420, quality, TJFLAG_FASTDCT) == 0) {
    jpeg.assign(reinterpret_cast<const char*>(bytes), size);
  } else {
    *error = tjGetErrorStr2(encoder_);
  }
  tjFree(bytes);
  return jpeg;
}

}  // namespace lumivane
