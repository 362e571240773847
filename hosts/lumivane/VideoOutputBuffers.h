// The frame buffers that a V4L2 output device shares with us: how most of them take frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace lumivane {

/// The calls a device answers to, as ioctl and mmap do: for tests without one.
struct VideoDeviceCalls {
  std::function<int(unsigned long request, void* argument)> control;
  std::function<void*(std::size_t length, std::uint32_t offset)> map;
  std::function<void(void* bytes, std::size_t length)> unmap;
};
/// Those of an open device.
VideoDeviceCalls CallsOf(int descriptor);

class VideoOutputBuffers {
 public:
  /// Asks for buffers of frames of `frameBytes`, with that field order (V4L2_FIELD_). Null with one
  /// sentence when the device gives none, or ones that are too small.
  static std::unique_ptr<VideoOutputBuffers> Make(VideoDeviceCalls calls, std::size_t frameBytes,
                                                  std::uint32_t field, std::string* error);
  ~VideoOutputBuffers();
  VideoOutputBuffers(const VideoOutputBuffers&) = delete;
  VideoOutputBuffers& operator=(const VideoOutputBuffers&) = delete;

  /// Hands over one frame of exactly the bytes agreed on. Never waits: -1 with errno EAGAIN while
  /// the device has all buffers (poll for POLLOUT then), -1 with another errno when it fails, else
  /// the frame's bytes.
  std::ptrdiff_t Put(std::span<const std::uint8_t> frame);

 private:
  struct Buffer {
    void* bytes;
    std::size_t length;
  };
  VideoOutputBuffers(VideoDeviceCalls calls, std::size_t frameBytes, std::uint32_t field)
      : calls_(std::move(calls)), frameBytes_(frameBytes), field_(field) {}
  /// Index of a buffer that is ours to fill, or -1 with errno.
  int FreeBuffer();

  VideoDeviceCalls calls_;
  const std::size_t frameBytes_;
  const std::uint32_t field_;
  std::vector<Buffer> buffers_;
  std::size_t used_ = 0;  ///< buffers that the device has had at least once
  bool streaming_ = false;
};

}  // namespace lumivane
