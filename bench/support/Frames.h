// The pixels every benchmark works on: one set for the whole run, so that we and the peers read the
// same bytes at the same addresses and write to the same memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace bench {

/// Frames of up to 3840 x 2160 pixels of 4 bytes, each followed by some room that may be read and
/// written. They start at multiples of 64 bytes; rows lie close together.
class Frames {
 public:
  static constexpr std::size_t kBytes = std::size_t{3840} * 2160 * 4;
  static constexpr std::size_t kNoises = 3;
  static constexpr std::size_t kOuts = 2;

  /// Made at the first call.
  static Frames& Shared();

  /// Every byte at random; `which` is 0, 1 or 2. The hardest content for what depends on content.
  const std::uint8_t* Noise(std::size_t which = 0) const;
  /// '2vuy' as a camera has it: slow gradients with sensor noise, in video range.
  const std::uint8_t* Video() const;
  /// Premultiplied A, R, G, B: slow gradients with noise; a third of the pixels are opaque, a third
  /// clear, in runs of 256 pixels.
  const std::uint8_t* Picture() const;
  /// What operations write to; `which` is 0 or 1. Results to be compared go to Out(0).
  std::uint8_t* Out(std::size_t which = 0);
  /// Puts `bytes` bytes of another frame into an Out frame: for what works in place.
  void Fill(std::size_t which, const std::uint8_t* from, std::size_t bytes);

 private:
  Frames();
  static constexpr std::size_t kAll = kNoises + 2 + kOuts;
  std::uint8_t* Frame(std::size_t index) const;

  struct Free {
    void operator()(std::uint8_t* memory) const;
  };
  std::unique_ptr<std::uint8_t[], Free> memory_;
};

}  // namespace bench
