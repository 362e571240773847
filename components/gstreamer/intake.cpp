#include "components/gstreamer/intake.h"

#include <time.h>

#include <cstring>
#include <utility>

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

// False when frames with these caps have another format than the mailbox takes.
bool ShapeOf(const GstVideoInfo& info, FrameShape* shape) {
  const GstVideoFormat format = GST_VIDEO_INFO_FORMAT(&info);
  shape->format = format == GST_VIDEO_FORMAT_ARGB ? PixelFormat::kArgb : PixelFormat::k2vuy;
  shape->size = {GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
  return format == GST_VIDEO_FORMAT_ARGB || format == GST_VIDEO_FORMAT_UYVY;
}

bool IsPacked(const GstVideoFrame& frame, const FrameShape& shape) {
  return GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0) == static_cast<int>(shape.RowBytes());
}

std::uint8_t* Pixels(const GstVideoFrame& frame) {
  return static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
}

void CopyRows(const GstVideoFrame& frame, const FrameShape& shape, std::uint8_t* to) {
  const std::uint8_t* from = Pixels(frame);
  if (IsPacked(frame, shape)) {
    std::memcpy(to, from, shape.DataSize());
    return;
  }
  const auto stride = static_cast<std::ptrdiff_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0));
  const std::size_t rowBytes = shape.RowBytes();
  for (int y = 0; y < shape.size.height; ++y, from += stride, to += rowBytes)
    std::memcpy(to, from, rowBytes);
}

}  // namespace

Nanoseconds Now() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<Nanoseconds>(now.tv_sec) * kSecond + now.tv_nsec;
}

bool Intake::ReadCaps(GstCaps* caps, std::string* error) {
  if (caps != nullptr && caps == caps_.get()) return true;
  caps_.reset();
  if (caps == nullptr || !gst_video_info_from_caps(&info_, caps)) {
    *error = "it sends something that is no video";
    return false;
  }
  if (!ShapeOf(info_, &shape_)) {
    *error = "it sends another pixel format than was agreed on";
    return false;
  }
  caps_.reset(gst_caps_ref(caps));
  return true;
}

bool Intake::Take(GstSample* sample, std::optional<Nanoseconds> captured, std::string* error) {
  GstBuffer* const buffer = gst_sample_get_buffer(sample);
  if (!ReadCaps(buffer == nullptr ? nullptr : gst_sample_get_caps(sample), error) ||
      !mailbox_.Accepts(shape_, error))
    return false;
  if (withheld_) return true;
  FrameHeld frame;
  bool inPlace = false;
  {
    const MappedFrame mapped(&info_, buffer);
    // A broken buffer costs one frame, not the camera.
    if (!mapped.ok) {
      CountLost(1);
      return true;
    }
    inPlace = IsPacked(mapped.frame, shape_) && memory_.Has(Pixels(mapped.frame));
    if (inPlace) {
      frame.pixels = Pixels(mapped.frame);
      frame.hold.reset(GST_MINI_OBJECT_CAST(gst_buffer_ref(buffer)));
    } else {
      frame = memory_.Take(shape_.DataSize(), error);
      if (frame.pixels == nullptr) return false;
      CopyRows(mapped.frame, shape_, frame.pixels);
    }
  }
  FrameTimes times;
  times.ready = Now();
  times.captureKnown = captured.has_value();
  times.captured = captured.value_or(times.ready);
  mailbox_.Publish(shape_, std::move(frame), times);
  const std::lock_guard guard(lock_);
  if (!withheld_) running_ = true;
  if (!inPlace) ++copied_;
  meter_.Count(times.ready);
  return true;
}

ObjectHeld<GstBufferPool> Intake::OfferPool(GstCaps* caps) {
  GstVideoInfo info;
  FrameShape shape;
  std::string ignored;
  if (caps == nullptr || !gst_video_info_from_caps(&info, caps) || !ShapeOf(info, &shape) ||
      !mailbox_.Accepts(shape, &ignored) || GST_VIDEO_INFO_SIZE(&info) != shape.DataSize())
    return nullptr;
  return memory_.MakePool(caps, shape.DataSize());
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
  counts.copied = copied_;
  counts.rate = meter_.At(now);
  return counts;
}

}  // namespace gstcamera
