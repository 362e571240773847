// The camera behind the entry point: frames drawn in time on a thread, handed out without waiting.
//
// Three buffers: one is handed out and rests, one holds the newest complete frame, one is being
// drawn. The thread exchanges the last two when a frame is complete; only Newest() exchanges the
// first, so what was handed out stays as it is until the next Newest(). With two buffers the reader
// would find nothing complete whenever drawing takes up the whole frame time.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "components/testpattern/pattern.h"

namespace testpattern {

/// What became of the frames so far. Frame numbers count from 0 here.
struct FrameCounts {
  std::uint64_t handed = 0;        ///< number of the frame handed out last
  bool anyHanded = false;          ///< whether one was
  std::uint64_t newest = 0;        ///< number of the newest complete frame
  std::uint64_t drawn = 0;         ///< how many were drawn
  std::uint64_t skipped = 0;       ///< drawn, but replaced by a newer one before anybody asked
  std::chrono::nanoseconds age{};  ///< since the newest was due
};

class FrameSource {
 public:
  /// Allocates the buffers, draws frame 0 and starts the thread. Frame n is due n / rate seconds
  /// later; frames that cannot be drawn in time are left out, so the numbers keep the time. Throws
  /// std::runtime_error, std::bad_alloc or std::system_error with everything given back.
  explicit FrameSource(const Settings& settings);
  /// Joins the thread and gives the buffers back. Only where IsRunningHere: in a forked copy of the
  /// process the thread does not exist, and joining it would never end.
  ~FrameSource();
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  /// The newest complete frame: frame 0 at first. Never waits for a frame.
  const std::uint8_t* Newest();
  /// For any thread.
  FrameCounts Counts() const;
  /// Whether the thread belongs to this process.
  bool IsRunningHere() const;

  const Settings& settings() const { return pattern_.settings(); }

 private:
  struct Buffer {
    Buffer() = default;
    ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    std::uint8_t* pixels = nullptr;
    std::uint32_t size = 0;
    std::uint64_t number = 0;
  };
  void Run();

  Pattern pattern_;
  Buffer buffers_[3];
  int processId_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  mutable std::mutex lock_;  // guards what follows
  std::condition_variable wake_;
  bool stopping_ = false;
  bool fresh_ = false;  // complete_ is newer than handed_
  FrameCounts counts_;
  int handed_ = 0;
  int complete_ = 1;
  int drawing_ = 2;
  std::thread thread_;
};

}  // namespace testpattern
