#include "components/testpattern/frame_source.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "components/camera_component.h"

namespace testpattern {

FrameSource::Buffer::~Buffer() {
  LumivaneCamera_FreeFrame(pixels, size);
}

FrameSource::FrameSource(const Settings& settings) : pattern_(settings), processId_(getpid()) {
  for (Buffer& buffer : buffers_) {
    const char* error = nullptr;
    buffer.size = settings.DataSize();
    buffer.pixels = static_cast<std::uint8_t*>(LumivaneCamera_AllocateFrame(buffer.size, &error));
    if (buffer.pixels == nullptr) throw std::runtime_error(error);
    pattern_.DrawBackground(buffer.pixels);
  }
  pattern_.DrawFrame(0, buffers_[handed_].pixels);
  counts_.drawn = 1;
  // The host's signal handlers are no business of this thread: it inherits a mask of all signals.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  try {
    thread_ = std::thread(&FrameSource::Run, this);
  } catch (...) {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    throw;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

FrameSource::~FrameSource() {
  {
    const std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

bool FrameSource::IsRunningHere() const {
  return processId_ == getpid();
}

const std::uint8_t* FrameSource::Newest() {
  const std::lock_guard guard(lock_);
  if (std::exchange(fresh_, false)) std::swap(handed_, complete_);
  counts_.handed = buffers_[handed_].number;
  counts_.anyHanded = true;
  return buffers_[handed_].pixels;
}

FrameCounts FrameSource::Counts() const {
  const std::chrono::duration<double> period(1 / pattern_.settings().rate);
  const std::lock_guard guard(lock_);
  FrameCounts counts = counts_;
  counts.age = std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::steady_clock::now() - start_ - period * static_cast<double>(counts.newest));
  return counts;
}

void FrameSource::Run() {
  using Clock = std::chrono::steady_clock;
  using Seconds = std::chrono::duration<double>;
  const double rate = pattern_.settings().rate;
  std::uint64_t number = 0;
  std::unique_lock guard(lock_);
  while (!stopping_) {
    const auto passed = static_cast<std::uint64_t>(Seconds(Clock::now() - start_).count() * rate);
    number = std::max(number + 1, passed);
    const auto due = start_ + std::chrono::duration_cast<Clock::duration>(
                                  Seconds(static_cast<double>(number) / rate));
    if (wake_.wait_until(guard, due, [this] { return stopping_; })) break;
    guard.unlock();
    pattern_.DrawFrame(static_cast<std::uint32_t>(number), buffers_[drawing_].pixels);
    guard.lock();
    buffers_[drawing_].number = number;
    std::swap(drawing_, complete_);
    ++counts_.drawn;
    counts_.newest = number;
    if (std::exchange(fresh_, true)) ++counts_.skipped;
  }
}

}  // namespace testpattern
