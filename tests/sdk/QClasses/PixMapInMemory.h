// A pixel map over memory of the test's own, with guards around it.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "platform/QuickDraw/QuickDraw.h"

namespace test {

class PixMapInMemory {
 public:
  static constexpr std::size_t kGuard = 64;

  /// Filled with noise. `padding` bytes behind each row; `offset` makes the rows start unaligned.
  PixMapInMemory(int width, int height, unsigned seed, int padding = 0, int pixelBytes = 4,
                 std::size_t offset = 0)
      : pixelBytes_(pixelBytes), start_(kGuard + offset) {
    const int rowBytes = width * pixelBytes + padding;
    bytes_.resize(start_ + static_cast<std::size_t>(rowBytes * height) + kGuard);
    std::mt19937 engine(seed);
    for (unsigned char& b : bytes_) b = static_cast<unsigned char>(engine());
    original_ = bytes_;
    record_.baseAddr = reinterpret_cast<Ptr>(bytes_.data() + start_);
    record_.bounds = {0, 0, static_cast<SInt16>(height), static_cast<SInt16>(width)};
    record_.pixelSize = static_cast<SInt16>(8 * pixelBytes);
    QTSetPixMapPtrRowBytes(&record_, rowBytes);
    pointer_ = &record_;
  }
  PixMapInMemory(const PixMapInMemory&) = delete;
  PixMapInMemory& operator=(const PixMapInMemory&) = delete;

  PixMap** handle() { return &pointer_; }
  PixMap& record() { return record_; }
  int rowBytes() const { return QTGetPixMapPtrRowBytes(&record_); }
  int height() const { return record_.bounds.bottom - record_.bounds.top; }
  int width() const { return record_.bounds.right - record_.bounds.left; }
  unsigned char* Row(int y) { return bytes_.data() + start_ + y * rowBytes(); }
  unsigned char& At(int x, int y, int byte) { return Row(y)[pixelBytes_ * x + byte]; }
  const unsigned char& Original(int x, int y, int byte) const {
    return original_[start_ + static_cast<std::size_t>(y * rowBytes() + pixelBytes_ * x + byte)];
  }

  /// Guards, padding and pixels, as they are and as they were.
  const std::vector<unsigned char>& bytes() const { return bytes_; }
  const std::vector<unsigned char>& original() const { return original_; }
  bool Unchanged() const { return bytes_ == original_; }
  /// Whether all bytes but those of the pixels are as they were.
  bool OnlyPixelsChanged() const {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      const std::size_t at = i - start_;
      const std::size_t stride = static_cast<std::size_t>(rowBytes());
      const bool inRows = i >= start_ && at < stride * static_cast<std::size_t>(height());
      if (inRows && at % stride < static_cast<std::size_t>(width() * pixelBytes_)) continue;
      if (bytes_[i] != original_[i]) return false;
    }
    return true;
  }
  /// Takes what is there now for the original.
  void Settle() { original_ = bytes_; }

 private:
  int pixelBytes_;
  std::size_t start_;
  std::vector<unsigned char> bytes_;
  std::vector<unsigned char> original_;
  PixMap record_{};
  PixMap* pointer_ = nullptr;
};

inline void SetPixel(PixMapInMemory& map, int x, int y, const std::vector<unsigned char>& bytes) {
  for (std::size_t i = 0; i < bytes.size(); ++i) map.At(x, y, int(i)) = bytes[i];
}

inline std::vector<unsigned char> Pixel(PixMapInMemory& map, int x, int y, int size = 4) {
  return {&map.At(x, y, 0), &map.At(x, y, 0) + size};
}

}  // namespace test
