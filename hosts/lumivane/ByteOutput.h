// Bytes to a file, a pipe or standard output, in such a way that a reader who does not read can
// always be left.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "hosts/lumivane/AsideFile.h"
#include "hosts/lumivane/StopSignals.h"
#include "hosts/lumivane/VideoOutputBuffers.h"

namespace lumivane {

class ByteOutput {
 public:
  ByteOutput() = default;
  ~ByteOutput();
  ByteOutput(const ByteOutput&) = delete;
  ByteOutput& operator=(const ByteOutput&) = delete;

  /// "-" is standard output. A regular file is written aside. A named pipe nobody reads yet is
  /// waited for, until `stop` comes. False with one sentence.
  bool Open(const std::string& path, StopSignals& stop, std::string* error);
  /// A non-blocking device that is open; this object closes it. With `buffers` each Write is one
  /// frame for them.
  bool Adopt(int descriptor, std::unique_ptr<VideoOutputBuffers> buffers, const std::string& name,
             std::string* error);
  /// Whether it keeps what it gets, in its own time: a file, not somebody who reads along.
  bool keeps() const { return keeps_; }

  enum class Result { kOk, kNobodyReads, kAbandoned, kFailed };
  /// Writes all. Once Abandon was called, no longer waits for a reader than that allows.
  Result Write(std::span<const std::uint8_t> bytes, std::string* error);
  /// Gives a file its name.
  Result Finish(std::string* error);
  /// From another thread: a Write under way may wait that much longer for its reader, and later
  /// ones.
  void Abandon(std::chrono::milliseconds grace);

 private:
  enum class Kind {
    kPlain,        ///< always takes what it gets: a file, a device
    kNonBlocking,  ///< a pipe of our own
    kSharedPipe,   ///< one whose mode is other programs' too: as much as surely fits
    kSocket,
  };
  bool MakeAbandon(std::string* error);
  void SetUp(int descriptor);
  ssize_t WriteSome(std::span<const std::uint8_t> bytes) const;
  bool WaitForRoom();
  Result Failed(int reason, std::string* error) const;

  std::string name_;
  AsideFile file_;
  std::unique_ptr<VideoOutputBuffers> buffers_;
  int descriptor_ = -1;
  bool owned_ = false;
  bool keeps_ = false;
  Kind kind_ = Kind::kPlain;
  int abandon_ = -1;     ///< an event descriptor that holds the grace in milliseconds
  double deadline_ = 0;  ///< of MonotonicSeconds(), once abandoned
};

}  // namespace lumivane
