#include "components/gstreamer/intake.h"

#include <time.h>

#include <cstring>

namespace gstcamera {
namespace {

struct MappedFrame {
  GstVideoFrame frame;
  bool ok;
  MappedFrame(GstVideoInfo* info, GstBuffer* buffer)
      : ok(gst_video_frame_map(&frame, info, buffer, GST_MAP_READ)) {}
  ~MappedFrame() {
    if (ok) gst_video_frame_unmap(&frame);
  }
  MappedFrame(const MappedFrame&) = delete;
  MappedFrame& operator=(const MappedFrame&) = delete;
};

void CopyRows(const GstVideoFrame& frame, const FrameShape& shape, std::uint8_t* to) {
  const auto* from = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
  const auto stride = static_cast<std::ptrdiff_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0));
  const std::size_t rowBytes = shape.RowBytes();
  if (stride == static_cast<std::ptrdiff_t>(rowBytes)) {
    std::memcpy(to, from, shape.DataSize());
    return;
  }
  for (int y = 0; y < shape.size.height; ++y, from += stride, to += rowBytes)
    std::memcpy(to, from, rowBytes);
}

}  // namespace

Nanoseconds Now() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<Nanoseconds>(now.tv_sec) * kSecond + now.tv_nsec;
}

bool Intake::Take(GstSample* sample, std::optional<Nanoseconds> captured, std::string* error) {
  GstCaps* const caps = gst_sample_get_caps(sample);
  GstBuffer* const buffer = gst_sample_get_buffer(sample);
  GstVideoInfo info;
  if (caps == nullptr || buffer == nullptr || !gst_video_info_from_caps(&info, caps)) {
    *error = "it sends something that is no video";
    return false;
  }
  const GstVideoFormat format = GST_VIDEO_INFO_FORMAT(&info);
  FrameShape shape;
  shape.format = format == GST_VIDEO_FORMAT_ARGB ? PixelFormat::kArgb : PixelFormat::k2vuy;
  shape.size = {GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
  if (format != GST_VIDEO_FORMAT_ARGB && format != GST_VIDEO_FORMAT_UYVY) {
    *error = "it sends another pixel format than was agreed on";
    return false;
  }
  if (!mailbox_.Prepare(shape, error)) return false;
  if (withheld_) return true;
  const MappedFrame mapped(&info, buffer);
  // A broken buffer costs one frame, not the camera.
  if (!mapped.ok) {
    CountLost(1);
    return true;
  }
  CopyRows(mapped.frame, shape, mailbox_.Filling());
  FrameTimes times;
  times.ready = Now();
  times.captureKnown = captured.has_value();
  times.captured = captured.value_or(times.ready);
  mailbox_.Publish(times);
  running_ = true;
  const std::lock_guard guard(lock_);
  meter_.Count(times.ready);
  return true;
}

void Intake::CountLost(std::uint64_t frames) {
  const std::lock_guard guard(lock_);
  lost_ += frames;
}

IntakeCounts Intake::CountsAt(Nanoseconds now) const {
  IntakeCounts counts;
  counts.frames = mailbox_.Counts();
  const std::lock_guard guard(lock_);
  counts.lost = lost_;
  counts.rate = meter_.At(now);
  return counts;
}

}  // namespace gstcamera
