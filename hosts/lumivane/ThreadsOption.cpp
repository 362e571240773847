#include "hosts/lumivane/ThreadsOption.h"

#include <memory>

#include "sdk/CoreX/RowThreads.h"

namespace lumivane {

void AddThreadsOption(CLI::App* command) {
  const auto threads = std::make_shared<unsigned>(0);
  command
      ->add_option("--threads", *threads,
                   "Threads that share the rows of large pictures; 0: one a processor, up to 8. "
                   "Goes before the operation")
      ->envname("LUMIVANE_THREADS")
      ->check(CLI::Range(0u, RowThreads::kMax))
      ->type_name("N")
      ->capture_default_str();
  command->parse_complete_callback([threads] { RowThreads::SetCount(*threads); });
}

}  // namespace lumivane
