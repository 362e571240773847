#include <benchmark/benchmark.h>

#include "bench/peers/Libraries.h"
#include "bench/support/Registry.h"

int main(int argc, char** argv) {
  bench::peers::UseOneThread();
  for (const auto& [library, version] : bench::peers::Versions()) {
    benchmark::AddCustomContext(library, version);
  }
  bench::RegisterAllOperations();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
