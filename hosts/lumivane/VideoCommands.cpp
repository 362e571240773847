// The command line of `lumivane video`.
#include <memory>

#include "hosts/lumivane/FrameOptions.h"
#include "hosts/lumivane/OptionValues.h"
#include "hosts/lumivane/PictureCommands.h"
#include "hosts/lumivane/ThreadsOption.h"
#include "hosts/lumivane/Video.h"

namespace lumivane {
namespace {

std::optional<std::optional<StreamForm>> ParseRaw(const std::string& text) {
  if (text == "uyvy422") return StreamForm::kRawUYVY;
  if (text == "argb") return StreamForm::kRawARGB;
  return std::nullopt;
}

}  // namespace

void AddVideoCommands(CLI::App& app, int* result) {
  const auto options = std::make_shared<VideoOptions>();
  CLI::App* const video =
      app.add_subcommand("video", "Run the toolkit's frame operations on a video stream");
  video->require_subcommand(1);
  AddThreadsOption(video);
  video->footer(
      "Frames go from IN to OUT one by one; - is standard input or output. They are Y4M, 8 bits "
      "(ffmpeg: -f yuv4mpegpipe), or raw with --raw.\n"
      "  ffmpeg -i IN -pix_fmt yuv422p -f yuv4mpegpipe - |\n"
      "    lumivane video deinterlace - - | ffmpeg -i - OUT");
  const auto files = [options](CLI::App* verb) {
    verb->add_option("in", options->in, "The stream to read; -: standard input")
        ->type_name("IN")
        ->capture_default_str();
    verb->add_option("out", options->out, "The stream to write; -: standard output")
        ->type_name("OUT")
        ->capture_default_str();
    NameChoices(
        AddParsed<std::optional<StreamForm>>(verb, "--raw", &options->raw, ParseRaw, "FORMAT",
                                             "uyvy422 or argb", "Frames without headers"),
        {"uyvy422", "argb"});
    // `resize` has a --size of its own.
    const char* const size = verb->get_name() == "resize" ? "--frame-size" : "--size,--frame-size";
    AddParsed<PictureSize>(verb, size, &options->rawSize, ParseSize, "WxH", kSizeExample,
                           "Size of raw frames");
    AddParsed<Ratio>(verb, "--rate", &options->rate, ParseRate, "RATE", "25 or 30000/1001",
                     "Raw frames per second, for --y4m")
        ->default_str("25");
    verb->add_flag("--y4m", options->toY4M, "Write Y4M, not raw frames, from raw uyvy422");
    verb->add_flag("--json", options->json, "Print the summary as JSON");
    verb->add_flag("--quiet,-q", options->quiet, "No progress, no summary");
  };
  AddFrameVerbs(video, &options->operation, files,
                [options, result] { *result = RunVideo(*options); });
}

}  // namespace lumivane
