#include "hosts/lumivane/PictureToVideo.h"

#include <algorithm>

namespace lumivane {
namespace {

/// 16-bit fixed point.
struct Weights {
  std::int32_t r;
  std::int32_t g;
  std::int32_t b;
};

struct Matrix {
  Weights y;
  Weights cb;
  Weights cr;
};

constexpr std::int32_t Fixed(double value) {
  return static_cast<std::int32_t>(value * 65536 + (value < 0 ? -0.5 : 0.5));
}

/// Green takes the rest, so that grey has no colour and white is luma 235 exactly.
constexpr Matrix MakeMatrix(double kr, double kb) {
  constexpr double kLuma = 219.0 / 255;
  constexpr double kChroma = 224.0 / 255;
  Matrix m{};
  m.y = {Fixed(kr * kLuma), 0, Fixed(kb * kLuma)};
  m.y.g = Fixed(kLuma) - m.y.r - m.y.b;
  m.cb = {Fixed(-kr / (2 * (1 - kb)) * kChroma), 0, Fixed(0.5 * kChroma)};
  m.cb.g = -m.cb.r - m.cb.b;
  m.cr = {Fixed(0.5 * kChroma), 0, Fixed(-kb / (2 * (1 - kr)) * kChroma)};
  m.cr.g = -m.cr.r - m.cr.b;
  return m;
}

constexpr Matrix k601Matrix = MakeMatrix(0.299, 0.114);
constexpr Matrix k709Matrix = MakeMatrix(0.2126, 0.0722);

std::uint8_t Luma(const Weights& w, const std::uint8_t* rgb) {
  constexpr std::int32_t kBlackAndHalf = (16 << 16) + (1 << 15);
  return static_cast<std::uint8_t>((w.r * rgb[0] + w.g * rgb[1] + w.b * rgb[2] + kBlackAndHalf) >>
                                   16);
}

/// Of the sums of two pixels.
std::uint8_t Chroma(const Weights& w, int r, int g, int b) {
  constexpr std::int32_t kGreyAndHalf = (128 << 17) + (1 << 16);
  return static_cast<std::uint8_t>((w.r * r + w.g * g + w.b * b + kGreyAndHalf) >> 17);
}

/// `step`: bytes to the next luma sample, half of those to the next of one chroma.
struct Places {
  std::uint8_t* y;
  std::uint8_t* cb;
  std::uint8_t* cr;
  int lumaStep;
  int chromaStep;
};

void ConvertRow(const std::uint8_t* rgba, int width, const Matrix& matrix, Places to) {
  for (int x = 0; x < width; x += 2, rgba += 8) {
    const std::uint8_t* const left = rgba;
    const std::uint8_t* const right = x + 1 < width ? rgba + 4 : rgba;
    const int r = left[0] + right[0];
    const int g = left[1] + right[1];
    const int b = left[2] + right[2];
    to.y[0] = Luma(matrix.y, left);
    to.y[to.lumaStep] = Luma(matrix.y, right);
    *to.cb = Chroma(matrix.cb, r, g, b);
    *to.cr = Chroma(matrix.cr, r, g, b);
    to.y += 2 * to.lumaStep;
    to.cb += to.chromaStep;
    to.cr += to.chromaStep;
  }
}

}  // namespace

int VideoWidth(const Picture& picture) {
  return EvenWidth(picture.width);
}

void PictureToVideo(const Picture& picture, VideoMatrix matrix, VideoForm form,
                    std::vector<std::uint8_t>* bytes, std::size_t rowBytes) {
  const Matrix& weights = matrix == VideoMatrix::k709 ? k709Matrix : k601Matrix;
  const std::size_t width = static_cast<std::size_t>(VideoWidth(picture));
  const std::size_t height = static_cast<std::size_t>(picture.height);
  const std::size_t videoRowBytes = std::max(rowBytes, 2 * width);
  bytes->resize((form == VideoForm::kUYVY ? videoRowBytes : 2 * width) * height);
  std::uint8_t* const first = bytes->data();
  const std::size_t pictureRowBytes = 4 * static_cast<std::size_t>(picture.width);
  for (std::size_t y = 0; y < height; ++y) {
    Places to{};
    if (form == VideoForm::kUYVY) {
      std::uint8_t* const row = first + videoRowBytes * y;
      to = {row + 1, row, row + 2, 2, 4};
    } else {
      std::uint8_t* const cb = first + width * height + width / 2 * y;
      to = {first + width * y, cb, cb + width / 2 * height, 1, 1};
    }
    ConvertRow(picture.rgba.data() + pictureRowBytes * y, picture.width, weights, to);
  }
}

}  // namespace lumivane
