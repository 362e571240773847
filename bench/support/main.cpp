#include <benchmark/benchmark.h>

#include <string>

#include "bench/peers/Libraries.h"
#include "bench/support/Registry.h"
#include "sdk/CoreX/XFrameKernels.h"

int main(int argc, char** argv) {
  bench::peers::UseOneThread();
  for (const auto& [library, version] : bench::peers::Versions()) {
    benchmark::AddCustomContext(library, version);
  }
  benchmark::AddCustomContext("compiler", std::string("g++ ") + __VERSION__);
  benchmark::AddCustomContext("flags", BENCH_FLAGS);
  std::string sets;
  for (const auto& form : XFrameKernels::AvailableRowKernels()) {
    if (form.name != "scalar") sets += (sets.empty() ? "" : ", ") + std::string(form.name);
  }
  benchmark::AddCustomContext("instruction sets", sets);
  bench::RegisterAllOperations();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
