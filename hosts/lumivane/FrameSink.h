// Where a stream's frames go. A sink never holds the loop that makes them: what it has no time for
// is left out, and counted.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

struct StreamFrame {
  std::uint64_t tick = 0;  ///< frame times since the stream's start
  std::shared_ptr<const Picture> picture;
};

struct SinkCounts {
  std::uint64_t written = 0;   ///< frames that went out, repetitions among them
  std::uint64_t repeated = 0;  ///< of those, in place of frames that were not made in time
  std::uint64_t dropped = 0;   ///< frames left out
};

enum class SinkState {
  kRunning,
  kComplete,     ///< all the frames that were asked for are out
  kNobodyReads,  ///< whoever read has had enough
  kFailed,
};

class FrameSink {
 public:
  virtual ~FrameSink() = default;
  /// Returns at once.
  virtual void Offer(const StreamFrame& frame) = 0;
  virtual SinkState state() const = 0;
  /// One sentence, once the state is kFailed.
  virtual std::string error() const = 0;
  virtual SinkCounts counts() const = 0;
  /// No more frames come; the stream ends at `endTick`. Puts out what is under way, gives a file
  /// its name, and stops this sink's thread. The state then is final.
  virtual void Finish(std::uint64_t endTick) = 0;
};

/// Room for one value that is waited for. A newer one takes the place of one nobody fetched.
template <typename T>
class NewestSlot {
 public:
  void Put(T value) {
    {
      const std::lock_guard<std::mutex> hold(lock_);
      value_ = std::move(value);
    }
    wake_.notify_one();
  }
  /// Waits. Nothing once it is closed and empty.
  std::optional<T> Take() {
    std::unique_lock<std::mutex> hold(lock_);
    wake_.wait(hold, [this] { return value_.has_value() || closed_; });
    std::optional<T> value = std::move(value_);
    value_.reset();
    return value;
  }
  void Close() {
    {
      const std::lock_guard<std::mutex> hold(lock_);
      closed_ = true;
    }
    wake_.notify_all();
  }

 private:
  std::mutex lock_;
  std::condition_variable wake_;
  std::optional<T> value_;
  bool closed_ = false;
};

}  // namespace lumivane
