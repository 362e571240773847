#include "bench/support/Frames.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>

namespace bench {
namespace {

// Frames a power of two apart would share cache sets.
constexpr std::size_t kStride = Frames::kBytes + 4096 + 64;

std::uint8_t Clamp(int value, int low, int high) {
  return static_cast<std::uint8_t>(std::clamp(value, low, high));
}

void FillNoise(std::uint8_t* bytes, std::uint32_t seed) {
  std::mt19937_64 engine(seed);
  for (std::size_t i = 0; i < kStride; i += sizeof(std::uint64_t)) {
    const std::uint64_t random = engine();
    std::memcpy(bytes + i, &random, sizeof random);
  }
}

void FillVideo(std::uint8_t* bytes, const std::uint8_t* noise) {
  for (std::size_t i = 0; i < kStride; i += 4) {
    const auto slow = static_cast<int>(i / 64);
    const auto sensor = [&](std::size_t k) { return noise[i + k] % 7 - 3; };
    bytes[i] = Clamp(16 + slow % 225 + sensor(0), 16, 240);
    bytes[i + 1] = Clamp(16 + slow / 3 % 220 + sensor(1), 16, 235);
    bytes[i + 2] = Clamp(240 - slow / 5 % 225 + sensor(2), 16, 240);
    bytes[i + 3] = Clamp(16 + slow / 3 % 220 + sensor(3), 16, 235);
  }
}

void FillPicture(std::uint8_t* bytes, const std::uint8_t* noise) {
  for (std::size_t i = 0; i < kStride; i += 4) {
    const std::size_t pixel = i / 4;
    const std::size_t kind = pixel / 256 % 3;
    const int alpha = kind == 0 ? 255 : kind == 1 ? 0 : static_cast<int>(pixel % 256);
    bytes[i] = static_cast<std::uint8_t>(alpha);
    for (std::size_t c = 1; c < 4; ++c) {
      const int straight = Clamp(static_cast<int>(i / 64 / c % 256) + noise[i + c] % 7 - 3, 0, 255);
      bytes[i + c] = static_cast<std::uint8_t>(straight * alpha / 255);
    }
  }
}

}  // namespace

void Frames::Free::operator()(std::uint8_t* memory) const {
  std::free(memory);
}

Frames& Frames::Shared() {
  static Frames frames;
  return frames;
}

Frames::Frames() : memory_(static_cast<std::uint8_t*>(std::aligned_alloc(64, kStride * kAll))) {
  if (memory_ == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < kNoises; ++i) FillNoise(Frame(i), static_cast<std::uint32_t>(i + 1));
  FillVideo(Frame(kNoises), Frame(0));
  FillPicture(Frame(kNoises + 1), Frame(0));
  // Touched once here, so that no benchmark pays for the first touch.
  for (std::size_t i = 0; i < kOuts; ++i) std::memset(Out(i), 0, kStride);
}

std::uint8_t* Frames::Frame(std::size_t index) const {
  return memory_.get() + index * kStride;
}

const std::uint8_t* Frames::Noise(std::size_t which) const {
  return Frame(which);
}

const std::uint8_t* Frames::Video() const {
  return Frame(kNoises);
}

const std::uint8_t* Frames::Picture() const {
  return Frame(kNoises + 1);
}

std::uint8_t* Frames::Out(std::size_t which) {
  return Frame(kNoises + 2 + which);
}

void Frames::Fill(std::size_t which, const std::uint8_t* from, std::size_t bytes) {
  std::memcpy(Out(which), from, bytes);
}

}  // namespace bench
