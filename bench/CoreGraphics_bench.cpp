// Source-over and scaling of 32-bit pictures, beside pixman doing the same on the same pixels.
//
// pixman is measured in both byte orders: a8r8g8b8 (B, G, R, A in memory), which it has its own
// loops for, and b8g8r8a8 (A, R, G, B), which is what camera frames are.
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

#include "platform/CoreGraphics/CoreGraphics.h"
#include "platform/CoreGraphics/RowKernels.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// Premultiplied A, R, G, B noise; every alpha occurs, none is so frequent that skipping pays.
Bytes Noise(std::size_t pixels, std::uint32_t seed) {
  std::mt19937 engine(seed);
  Bytes bytes(4 * pixels);
  for (std::size_t i = 0; i < bytes.size(); i += 4) {
    const std::uint32_t random = engine();
    bytes[i] = static_cast<std::uint8_t>(random);
    for (std::size_t c = 1; c < 4; ++c) {
      bytes[i + c] = std::min(bytes[i], static_cast<std::uint8_t>(random >> 8 * c));
    }
  }
  return bytes;
}

struct Picture {
  explicit Picture(const benchmark::State& state)
      : width(static_cast<std::size_t>(state.range(0))),
        height(static_cast<std::size_t>(state.range(1))),
        source(Noise(width * height, 1)),
        target(Noise(width * height, 2)) {}

  void count(benchmark::State& state) const {
    const auto pixels = static_cast<std::int64_t>(width * height);
    state.SetItemsProcessed(state.iterations() * pixels);
  }

  std::size_t width, height;
  Bytes source, target;
};

CGImageRef CreateImage(const Bytes& bytes, std::size_t width, std::size_t height,
                       CGImageAlphaInfo alpha) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGDataProviderRef provider =
      CGDataProviderCreateWithData(nullptr, bytes.data(), bytes.size(), nullptr);
  const CGImageRef image = CGImageCreate(width, height, 8, 32, 4 * width, space, alpha, provider,
                                         nullptr, true, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
  CGColorSpaceRelease(space);
  return image;
}

CGContextRef CreateContext(Bytes& bytes, std::size_t width, std::size_t height) {
  const CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  const CGContextRef context = CGBitmapContextCreate(bytes.data(), width, height, 8, 4 * width,
                                                     space, kCGImageAlphaPremultipliedFirst);
  CGColorSpaceRelease(space);
  return context;
}

CGRect Whole(std::size_t width, std::size_t height) {
  return CGRectMake(0, 0, static_cast<CGFloat>(width), static_cast<CGFloat>(height));
}

void DrawImage(benchmark::State& state, CGImageAlphaInfo alpha) {
  Picture picture(state);
  const CGImageRef image = CreateImage(picture.source, picture.width, picture.height, alpha);
  const CGContextRef context = CreateContext(picture.target, picture.width, picture.height);
  for (auto _ : state) {
    CGContextDrawImage(context, Whole(picture.width, picture.height), image);
    benchmark::ClobberMemory();
  }
  picture.count(state);
  CGContextRelease(context);
  CGImageRelease(image);
}

void Over_DrawImage(benchmark::State& state) {
  DrawImage(state, kCGImageAlphaPremultipliedFirst);
}
void Over_DrawStraightImage(benchmark::State& state) {
  DrawImage(state, kCGImageAlphaFirst);
}

void Rows(benchmark::State& state, const raster::RowKernels& kernels) {
  Picture picture(state);
  for (auto _ : state) {
    for (std::size_t y = 0; y < picture.height; ++y) {
      const std::size_t row = 4 * picture.width * y;
      kernels.over(&picture.target[row], &picture.source[row], picture.width);
    }
    benchmark::ClobberMemory();
  }
  picture.count(state);
}

void Over_ScalarRows(benchmark::State& state) {
  Rows(state, raster::kScalarRowKernels);
}
void Over_VectorRows(benchmark::State& state) {
  Rows(state, raster::AvailableRowKernels().front());
}

pixman_image_t* CreatePixman(pixman_format_code_t format, Bytes& bytes, std::size_t width,
                             std::size_t height) {
  return pixman_image_create_bits(format, static_cast<int>(width), static_cast<int>(height),
                                  reinterpret_cast<std::uint32_t*>(bytes.data()),
                                  static_cast<int>(4 * width));
}

void Composite(pixman_op_t op, pixman_image_t* source, pixman_image_t* target, std::size_t width,
               std::size_t height) {
  pixman_image_composite32(op, source, nullptr, target, 0, 0, 0, 0, 0, 0, static_cast<int>(width),
                           static_cast<int>(height));
}

// The worst byte's difference between one composition here and by pixman.
int WorstDifference(Picture picture) {
  Bytes theirs = picture.target;
  pixman_image_t* source =
      CreatePixman(PIXMAN_b8g8r8a8, picture.source, picture.width, picture.height);
  pixman_image_t* target = CreatePixman(PIXMAN_b8g8r8a8, theirs, picture.width, picture.height);
  Composite(PIXMAN_OP_OVER, source, target, picture.width, picture.height);
  pixman_image_unref(source);
  pixman_image_unref(target);
  raster::AvailableRowKernels().front().over(picture.target.data(), picture.source.data(),
                                             picture.width * picture.height);
  int worst = 0;
  for (std::size_t i = 0; i < theirs.size(); ++i) {
    worst = std::max(worst, std::abs(theirs[i] - picture.target[i]));
  }
  return worst;
}

void PixmanOver(benchmark::State& state, pixman_format_code_t format) {
  Picture picture(state);
  const int worst = WorstDifference(picture);
  state.counters["worst_difference"] = worst;
  if (worst > 1) state.SkipWithError("the two do not draw the same picture");
  pixman_image_t* source = CreatePixman(format, picture.source, picture.width, picture.height);
  pixman_image_t* target = CreatePixman(format, picture.target, picture.width, picture.height);
  for (auto _ : state) {
    Composite(PIXMAN_OP_OVER, source, target, picture.width, picture.height);
    benchmark::ClobberMemory();
  }
  picture.count(state);
  pixman_image_unref(source);
  pixman_image_unref(target);
}

void Over_Pixman_BGRA(benchmark::State& state) {
  PixmanOver(state, PIXMAN_a8r8g8b8);
}
void Over_Pixman_ARGB(benchmark::State& state) {
  PixmanOver(state, PIXMAN_b8g8r8a8);
}

// A 1280 x 960 picture of a 640 x 480 one, and the other way round.
constexpr std::size_t kSmallWidth = 640;
constexpr std::size_t kSmallHeight = 480;

void Scale(benchmark::State& state, CGInterpolationQuality quality) {
  const bool enlarge = state.range(0) != 0;
  const std::size_t from = enlarge ? 1 : 2;
  const std::size_t to = enlarge ? 2 : 1;
  const Bytes source = Noise(from * kSmallWidth * from * kSmallHeight, 3);
  Bytes target(4 * to * kSmallWidth * to * kSmallHeight);
  const CGImageRef image =
      CreateImage(source, from * kSmallWidth, from * kSmallHeight, kCGImageAlphaPremultipliedFirst);
  const CGContextRef context = CreateContext(target, to * kSmallWidth, to * kSmallHeight);
  CGContextSetInterpolationQuality(context, quality);
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  for (auto _ : state) {
    CGContextDrawImage(context, Whole(to * kSmallWidth, to * kSmallHeight), image);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(target.size() / 4));
  CGContextRelease(context);
  CGImageRelease(image);
}

void Scale_None(benchmark::State& state) {
  Scale(state, kCGInterpolationNone);
}
void Scale_Low(benchmark::State& state) {
  Scale(state, kCGInterpolationLow);
}
void Scale_Medium(benchmark::State& state) {
  Scale(state, kCGInterpolationMedium);
}
void Scale_High(benchmark::State& state) {
  Scale(state, kCGInterpolationHigh);
}

void Scale_PixmanBilinear(benchmark::State& state) {
  const bool enlarge = state.range(0) != 0;
  const std::size_t from = enlarge ? 1 : 2;
  const std::size_t to = enlarge ? 2 : 1;
  Bytes pixels = Noise(from * kSmallWidth * from * kSmallHeight, 3);
  Bytes bytes(4 * to * kSmallWidth * to * kSmallHeight);
  pixman_image_t* source =
      CreatePixman(PIXMAN_a8r8g8b8, pixels, from * kSmallWidth, from * kSmallHeight);
  pixman_image_t* target =
      CreatePixman(PIXMAN_a8r8g8b8, bytes, to * kSmallWidth, to * kSmallHeight);
  pixman_transform_t transform;
  const pixman_fixed_t step = pixman_double_to_fixed(enlarge ? 0.5 : 2);
  pixman_transform_init_scale(&transform, step, step);
  pixman_image_set_transform(source, &transform);
  pixman_image_set_filter(source, PIXMAN_FILTER_BILINEAR, nullptr, 0);
  pixman_image_set_repeat(source, PIXMAN_REPEAT_PAD);
  for (auto _ : state) {
    Composite(PIXMAN_OP_SRC, source, target, to * kSmallWidth, to * kSmallHeight);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size() / 4));
  pixman_image_unref(source);
  pixman_image_unref(target);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({160, 120})->Args({640, 480})->Args({1920, 1080})->Args({3840, 2160});
}

BENCHMARK(Over_DrawImage)->Apply(Sizes);
BENCHMARK(Over_Pixman_BGRA)->Apply(Sizes);
BENCHMARK(Over_Pixman_ARGB)->Apply(Sizes);
BENCHMARK(Over_VectorRows)->Apply(Sizes);
BENCHMARK(Over_ScalarRows)->Apply(Sizes);
BENCHMARK(Over_DrawStraightImage)->Apply(Sizes);
BENCHMARK(Scale_None)->Arg(0)->Arg(1);
BENCHMARK(Scale_Low)->Arg(0)->Arg(1);
BENCHMARK(Scale_PixmanBilinear)->Arg(0)->Arg(1);
BENCHMARK(Scale_Medium)->Arg(0)->Arg(1);
BENCHMARK(Scale_High)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
