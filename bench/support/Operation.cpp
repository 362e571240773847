#include "bench/support/Operation.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <set>
#include <thread>

#include "bench/support/Registry.h"
#include "sdk/CoreX/RowThreads.h"

namespace bench {
namespace {

std::vector<void (*)()>& Groups() {
  static std::vector<void (*)()> groups;
  return groups;
}

std::list<Operation>& Operations() {
  static std::list<Operation> operations;
  return operations;
}

std::string SizeName(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

/// What is left in Out(0) after one call.
std::vector<std::uint8_t> Result(const Setup& setup, const Shape& shape, std::size_t bytes) {
  Frames& frames = Frames::Shared();
  std::memset(frames.Out(), 0xA5, bytes);
  setup(shape, frames)();
  return {frames.Out(), frames.Out() + bytes};
}

int GreatestDifference(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
  int greatest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) greatest = std::max(greatest, std::abs(a[i] - b[i]));
  return greatest;
}

}  // namespace

Shape Shape::Of(int width, int height) {
  return {SizeName(width, height), width, height, width, height};
}

Shape Shape::Resize(int sourceWidth, int sourceHeight, int width, int height) {
  return {SizeName(sourceWidth, sourceHeight) + " to " + SizeName(width, height), width, height,
          sourceWidth, sourceHeight};
}

std::size_t Shape::pixels() const {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

std::size_t Shape::sourcePixels() const {
  return static_cast<std::size_t>(sourceWidth) * static_cast<std::size_t>(sourceHeight);
}

const std::vector<Shape>& StandardShapes() {
  static const std::vector<Shape> shapes = {Shape::Of(640, 480), Shape::Of(1920, 1080),
                                            Shape::Of(3840, 2160)};
  return shapes;
}

Operation::Operation(std::string name, Traffic traffic)
    : name_(std::move(name)), traffic_(traffic), shapes_(StandardShapes()) {}

Operation& Operation::At(std::vector<Shape> shapes) {
  shapes_ = std::move(shapes);
  return *this;
}

Operation& Operation::Form(std::string name, Setup setup) {
  forms_.push_back({std::move(name), Agreement::kExact, std::move(setup)});
  return *this;
}

Operation& Operation::Peer(std::string name, Agreement agreement, Setup setup) {
  peers_.push_back({std::move(name), agreement, std::move(setup)});
  return *this;
}

Operation& Operation::SharesRows() {
  sharesRows_ = true;
  return *this;
}

void Operation::Register(const Entry& entry, const Shape& shape, const char* kind,
                         bool checked) const {
  const auto pixels = static_cast<double>(shape.pixels());
  const double bytes = Bytes(shape);
  const auto written = static_cast<std::size_t>(traffic_.written * pixels);
  const std::string label = name_ + "/" + shape.name + "/" + kind + ":" + entry.name;
  const Setup ours = forms_.empty() ? Setup() : forms_.back().setup;
  const bool compared = checked && ours && entry.agreement != Agreement::kOther;
  // Compared once, whatever the number of repetitions.
  auto difference = std::make_shared<int>(-1);
  benchmark::RegisterBenchmark(label.c_str(), [=](benchmark::State& state) {
    Frames& frames = Frames::Shared();
    if (compared && *difference < 0) {
      *difference =
          GreatestDifference(Result(ours, shape, written), Result(entry.setup, shape, written));
    }
    if (entry.agreement == Agreement::kExact && *difference > 0) {
      state.SkipWithError("the result differs from the definition's");
      return;
    }
    const Body body = entry.setup(shape, frames);
    for (auto _ : state) {
      body();
      benchmark::ClobberMemory();
    }
    state.counters["pixels"] = pixels;
    state.counters["bytes"] = bytes;
    if (*difference >= 0) state.counters["difference"] = *difference;
  })->Unit(benchmark::kMicrosecond);
}

void Operation::RegisterThreads(const Shape& shape) const {
  std::set<unsigned> counts = {1, 2, std::max(1u, std::thread::hardware_concurrency())};
  for (const unsigned count : counts) {
    const std::string label = name_ + "/" + shape.name + "/threads:" + std::to_string(count);
    benchmark::RegisterBenchmark(
        label.c_str(),
        [=, setup = forms_.front().setup, bytes = Bytes(shape)](benchmark::State& state) {
          const Body body = setup(shape, Frames::Shared());
          RowThreads::SetCount(count);
          for (auto _ : state) {
            body();
            benchmark::ClobberMemory();
          }
          RowThreads::SetCount(1);
          state.counters["pixels"] = static_cast<double>(shape.pixels());
          state.counters["bytes"] = bytes;
        })
        ->Unit(benchmark::kMicrosecond)
        ->UseRealTime();
  }
}

double Operation::Bytes(const Shape& shape) const {
  return traffic_.read * static_cast<double>(shape.sourcePixels()) +
         traffic_.written * static_cast<double>(shape.pixels());
}

void Operation::RegisterBenchmarks() const {
  for (const Shape& shape : shapes_) {
    const bool middle = &shape == &shapes_[shapes_.size() > 1 ? 1 : 0];
    const bool first = &shape == &shapes_.front();
    for (std::size_t i = 0; i < forms_.size(); ++i) {
      const bool outer = i == 0 || i + 1 == forms_.size();
      if (outer || middle) Register(forms_[i], shape, "ours", first || !outer);
    }
    for (const Entry& peer : peers_) Register(peer, shape, "peer", first);
    const auto bytes = static_cast<std::size_t>(Bytes(shape) / 2);
    const Entry copy = {"memcpy", Agreement::kOther, [bytes](const Shape&, Frames& frames) {
                          return [bytes, to = frames.Out(), from = frames.Noise()] {
                            // In as many goes as the frames are large.
                            for (std::size_t done = 0; done < bytes; done += Frames::kBytes) {
                              std::memcpy(to, from, std::min(bytes - done, Frames::kBytes));
                            }
                          };
                        }};
    Register(copy, shape, "copy", false);
    if (sharesRows_ && !forms_.empty()) RegisterThreads(shape);
  }
}

Operation& Add(std::string name, Traffic traffic) {
  return Operations().emplace_back(std::move(name), traffic);
}

Group::Group(void (*add)()) {
  Groups().push_back(add);
}

void RegisterAllOperations() {
  for (void (*add)() : Groups()) add();
  for (const Operation& operation : Operations()) operation.RegisterBenchmarks();
}

}  // namespace bench
