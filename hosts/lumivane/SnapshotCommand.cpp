// The command line of `lumivane snapshot`.
#include <memory>

#include "hosts/lumivane/OptionValues.h"
#include "hosts/lumivane/PictureOptions.h"

namespace lumivane {

void AddSnapshotCommand(CLI::App& app, int* result) {
  const auto options = std::make_shared<SnapshotOptions>();
  CLI::App* const snapshot =
      app.add_subcommand("snapshot", "Write frames of the live picture as PNG files");
  snapshot
      ->add_option("--out,-o", options->out,
                   "PNG file, or - for standard output; with --frames, NAME-0001.png and so on")
      ->required()
      ->type_name("FILE")
      ->check(PngFile());
  snapshot->add_option("--frames,-n", options->frames, "Number of frames")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  snapshot->add_option("--rate", options->rate, "Frames per second; 0: as fast as they can be had")
      ->check(Between(0.0, 1000.0))
      ->capture_default_str();
  snapshot
      ->add_option("--warm-up", options->warmUp,
                   "Longest wait, in seconds, until a camera's brightness has settled; 0: none")
      ->check(Between(0.0, 60.0))
      ->capture_default_str();
  snapshot->add_flag("--require-camera", options->requireCamera,
                     "Write nothing and fail when there is no camera");
  snapshot->add_flag("--json", options->json, "Print the summary as JSON");
  snapshot->add_flag("--quiet,-q", options->quiet, "No progress, no summary");
  AddPictureOptions(snapshot, options->source);
  snapshot->callback([options, result] { *result = RunSnapshot(*options); });
}

}  // namespace lumivane
