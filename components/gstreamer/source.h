// What the setting `source` names.
//
//   auto              the first camera that works
//   NAME              a camera by the name that `lumivane camera list` shows, or by the last part
//   of
//                     its stable path; also camera:NAME, for a camera named like something else
//                     here
//   /dev/v4l/by-id/X  a camera by its stable path; /dev/videoN too, though it may move
//   SCHEME://...      an address: rtsp, rtsps, http, https, file and what else GStreamer opens
//   /path, ~/path     a file: a film, or a still picture
//   test, test:NAME   a test picture; NAME is a pattern of GStreamer's videotestsrc
//   pipeline:TEXT     a pipeline of one's own in gst-launch's notation, up to and without its sink
#pragma once

#include <string>
#include <string_view>

namespace gstcamera {

struct Source {
  enum Kind { kAuto, kCamera, kDevicePath, kAddress, kTest, kPipeline };
  Kind kind = kAuto;
  /// The name, path, address, pattern or pipeline; empty for kAuto and the plain test picture.
  std::string text;

  bool operator==(const Source&) const = default;
};

/// False, with what is wanted instead in `*wanted`, when `text` names nothing. `home` replaces a
/// leading "~/". Files become file:// addresses.
bool ParseSource(std::string_view text, const std::string& home, Source& source,
                 std::string* wanted);

/// The source in the notation of the setting.
std::string SourceText(const Source& source);

/// For people and for the status: the camera's name or path, the address without user and password,
/// "test picture", "own pipeline".
std::string DisplayName(const Source& source);

/// `address` with what stands before an @ in its authority replaced by "***".
std::string WithoutSecrets(const std::string& address);

/// Whether the address's scheme is one of live streams only.
bool IsLiveAddress(std::string_view address);
/// Whether it is a file of this machine.
bool IsFileAddress(std::string_view address);

}  // namespace gstcamera
