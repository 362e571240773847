#include "hosts/lumivane/VideoOutputBuffers.h"

#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <time.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace lumivane {
namespace {

/// One that is shown, one that waits, and one to fill: more would only add delay.
constexpr std::uint32_t kBuffers = 3;

v4l2_buffer BufferRecord(std::uint32_t index) {
  v4l2_buffer buffer{};
  buffer.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
  buffer.memory = V4L2_MEMORY_MMAP;
  buffer.index = index;
  return buffer;
}

}  // namespace

VideoDeviceCalls CallsOf(int descriptor) {
  VideoDeviceCalls calls;
  calls.control = [descriptor](unsigned long request, void* argument) {
    int status = 0;
    do {
      status = ioctl(descriptor, request, argument);
    } while (status < 0 && errno == EINTR);
    return status;
  };
  calls.map = [descriptor](std::size_t length, std::uint32_t offset) {
    void* const bytes = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                             static_cast<off_t>(offset));
    return bytes == MAP_FAILED ? nullptr : bytes;
  };
  calls.unmap = [](void* bytes, std::size_t length) { munmap(bytes, length); };
  return calls;
}

std::unique_ptr<VideoOutputBuffers> VideoOutputBuffers::Make(VideoDeviceCalls calls,
                                                             std::size_t frameBytes,
                                                             std::uint32_t field,
                                                             std::string* error) {
  std::unique_ptr<VideoOutputBuffers> made(
      new VideoOutputBuffers(std::move(calls), frameBytes, field));
  v4l2_requestbuffers request{};
  request.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
  request.memory = V4L2_MEMORY_MMAP;
  request.count = kBuffers;
  if (made->calls_.control(VIDIOC_REQBUFS, &request) < 0 || request.count == 0) {
    *error = std::string("it gives no frame buffers: ") +
             (request.count == 0 ? "none are left" : std::strerror(errno));
    return nullptr;
  }
  for (std::uint32_t index = 0; index < request.count; ++index) {
    v4l2_buffer buffer = BufferRecord(index);
    if (made->calls_.control(VIDIOC_QUERYBUF, &buffer) < 0) {
      *error = std::string("it does not show its frame buffers: ") + std::strerror(errno);
      return nullptr;
    }
    if (buffer.length < frameBytes) {
      *error = "its frame buffers have " + std::to_string(buffer.length) + " bytes, a frame has " +
               std::to_string(frameBytes);
      return nullptr;
    }
    void* const bytes = made->calls_.map(buffer.length, buffer.m.offset);
    if (bytes == nullptr) {
      *error = std::string("its frame buffers cannot be mapped: ") + std::strerror(errno);
      return nullptr;
    }
    made->buffers_.push_back({bytes, buffer.length});
  }
  return made;
}

VideoOutputBuffers::~VideoOutputBuffers() {
  // The stream ends when the device is closed.
  for (const Buffer& buffer : buffers_) calls_.unmap(buffer.bytes, buffer.length);
}

int VideoOutputBuffers::FreeBuffer() {
  if (used_ < buffers_.size()) return static_cast<int>(used_);
  v4l2_buffer buffer = BufferRecord(0);
  if (calls_.control(VIDIOC_DQBUF, &buffer) < 0) return -1;
  if (buffer.index < buffers_.size()) return static_cast<int>(buffer.index);
  errno = EIO;
  return -1;
}

std::ptrdiff_t VideoOutputBuffers::Put(std::span<const std::uint8_t> frame) {
  if (frame.size() != frameBytes_) {
    errno = EINVAL;
    return -1;
  }
  const int index = FreeBuffer();
  if (index < 0) return -1;
  std::memcpy(buffers_[static_cast<std::size_t>(index)].bytes, frame.data(), frame.size());
  v4l2_buffer buffer = BufferRecord(static_cast<std::uint32_t>(index));
  buffer.bytesused = static_cast<__u32>(frame.size());
  buffer.field = field_;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  buffer.timestamp.tv_sec = now.tv_sec;
  buffer.timestamp.tv_usec = now.tv_nsec / 1000;
  if (calls_.control(VIDIOC_QBUF, &buffer) < 0) return -1;
  if (used_ < buffers_.size()) ++used_;
  if (!streaming_) {
    int type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    if (calls_.control(VIDIOC_STREAMON, &type) < 0) return -1;
    streaming_ = true;
  }
  return static_cast<std::ptrdiff_t>(frame.size());
}

}  // namespace lumivane
