// The pixel-map operations on 32-bit pixels, each form of their row kernels by its name, and what
// goes through the frame operations.
#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/QPixMap_kernels.h"

namespace {

constexpr SInt16 kWidth = 1920;
constexpr SInt16 kHeight = 1080;

/// A pixel map of noise.
class Map {
 public:
  Map(SInt16 width, SInt16 height, unsigned seed) : bytes_(4u * width * height) {
    std::mt19937 engine(seed);
    for (unsigned char& b : bytes_) b = static_cast<unsigned char>(engine());
    record_.baseAddr = reinterpret_cast<Ptr>(bytes_.data());
    record_.bounds = {0, 0, height, width};
    record_.pixelSize = 32;
    QTSetPixMapPtrRowBytes(&record_, 4 * width);
  }
  Map(const Map&) = delete;
  Map& operator=(const Map&) = delete;
  PixMap** handle() { return &pointer_; }

 private:
  std::vector<unsigned char> bytes_;
  PixMap record_{};
  PixMap* pointer_ = &record_;
};

void Count(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

template <typename Operation>
void Register(const std::string& name, const Operation& operation) {
  for (const QPixMapKernels::RowKernels& form : QPixMapKernels::AvailableRowKernels()) {
    const std::string label = name + "/" + std::string(form.name);
    benchmark::RegisterBenchmark(label.c_str(), [&form, operation](benchmark::State& state) {
      QPixMapKernels::SelectRowKernels(form.name);
      Map map(kWidth, kHeight, 1);
      Map other(kWidth, kHeight, 2);
      for (auto _ : state) {
        operation(map.handle(), other.handle());
        benchmark::ClobberMemory();
      }
      Count(state);
    });
  }
}

template <typename Operation>
void RegisterOnce(const char* name, SInt16 otherWidth, SInt16 otherHeight,
                  const Operation& operation) {
  benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
    Map map(kWidth, kHeight, 1);
    Map other(otherWidth, otherHeight, 2);
    for (auto _ : state) {
      operation(map.handle(), other.handle());
      benchmark::ClobberMemory();
    }
    Count(state);
  });
}

}  // namespace

int main(int argc, char** argv) {
  Register("Grayscale32", [](PixMap** map, PixMap**) { QPixMap_Grayscale32(map); });
  Register("Brightness32", [](PixMap** map, PixMap**) { QPixMap_Brightness32(map, 1.01); });
  Register("DuoTone32", [](PixMap** map, PixMap**) { QPixMap_DuoTone32(map, 0x3060C0); });
  Register("AlphaBlend32",
           [](PixMap** map, PixMap** other) { QPixMap_AlphaBlend32(map, 0.6, other, 0.4, map); });
  Register("QPM_44 half", [](PixMap** map, PixMap** other) {
    QPM_44(map, Point{0, 0}, other, 0.5f);
  });
  Register("QPM_44 whole", [](PixMap** map, PixMap** other) {
    QPM_44(map, Point{0, 0}, other, 1.0f);
  });
  RegisterOnce("Resize_ARGB32_Bilinear", 1280, 720, QPixMap_Resize_ARGB32_Bilinear);
  RegisterOnce("Copy32NearestPixel", 1280, 720, QPixMap_Copy32NearestPixel);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
