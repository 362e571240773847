// The plug-in's filter as a host uses it: load, instantiate, ask for frames, render them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hosts/lumivane/Commands.h"

class CIFilter;
class CIImage;

namespace lumivane {

/// 8-bit RGBA, colour premultiplied with alpha, top row first, no padding. Empty `rgba`: no
/// picture.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;
};

/// PNG bytes of the picture with those texts (keyword and text); empty, with the reason in
/// `*error`, on failure.
std::vector<std::uint8_t> EncodePng(const Picture& picture,
                                    const std::vector<std::pair<std::string, std::string>>& texts,
                                    std::string* error);

/// One answer of the filter. The image is retained and released with the frame.
struct Frame {
  std::shared_ptr<CIImage> image;  ///< null: the filter had no picture at all
  bool live = false;               ///< from a camera, not the no-camera picture
};

class LiveFilter {
 public:
  /// Loads the plug-in of `source` (its path, else the application's own, else the user's, local
  /// and system image-unit folders) and makes its filter. Null with `*error`, one sentence, on
  /// failure.
  static std::unique_ptr<LiveFilter> Open(const PictureSource& source, std::string* error);
  ~LiveFilter();

  Frame NextFrame();

  /// The frame at the asked size: fitted, aspect kept, centred on clear black; else at its own
  /// size.
  Picture Render(const Frame& frame) const;
  /// The same at another size.
  Picture Render(const Frame& frame, PictureSize size) const;

  CIFilter& filter() const { return *filter_; }
  const std::string& plugInPath() const { return plugInPath_; }

 private:
  LiveFilter(CIFilter* filter, std::string plugInPath, const PictureSource& source);

  CIFilter* filter_;  ///< retained
  std::string plugInPath_;
  std::optional<PictureSize> size_;
};

}  // namespace lumivane
