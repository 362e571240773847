// The command line of `lumivane doctor`.
#include <memory>

#include "hosts/lumivane/PictureOptions.h"

namespace lumivane {

void AddDoctorCommand(CLI::App& app, int* result) {
  const auto options = std::make_shared<DoctorOptions>();
  CLI::App* const doctor =
      app.add_subcommand("doctor", "Say what works, what does not, and what to do");
  AddPlugInOption(doctor, options->plugIn);
  doctor->add_option("--log-lines", options->logLines, "How many of the log's last lines to show")
      ->check(CLI::Range(0, 10000))
      ->capture_default_str();
  doctor->add_flag("--json", options->json, "Print the findings as JSON");
  doctor->callback([options, result] { *result = RunDoctor(*options); });
}

}  // namespace lumivane
