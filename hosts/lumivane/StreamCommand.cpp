// The command lines of `lumivane stream` and `lumivane record`.
#include <memory>

#include "hosts/lumivane/ListenAddress.h"
#include "hosts/lumivane/OptionValues.h"
#include "hosts/lumivane/PictureOptions.h"
#include "hosts/lumivane/VideoStream.h"

namespace lumivane {
namespace {

/// What both have.
void AddStreamOptions(CLI::App* command, StreamOptions& options) {
  command->add_option("--format", options.format, "y4m (yuv4mpeg) or uyvy422 (raw)")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"y4m", "uyvy422"}));
  command->add_option("--rate", options.rate, "Frames per second, such as 25 or 30000/1001")
      ->type_name("RATE")
      ->check([](const std::string& text) {
        return ParseRate(text) ? std::string() : "'" + text + "' is not a rate such as 30000/1001";
      })
      ->capture_default_str();
  command->add_option("--matrix", options.matrix, "Colours by BT.601 or BT.709; default: by height")
      ->type_name("MATRIX")
      ->check(CLI::IsMember({"601", "709"}));
  command->add_option("--seconds", options.seconds, "End after so long; 0: when stopped")
      ->check(Between(0.0, 1e7));
  command->add_option("--frames,-n", options.frames, "End after so many frames; 0: when stopped")
      ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{1} << 40));
  command->add_option("--wait", options.wait, "Longest wait for an installed camera's first frame")
      ->type_name("SECONDS")
      ->check(Between(0.0, 600.0))
      ->capture_default_str();
  command->add_flag("--require-camera", options.requireCamera, "Fail when there is no camera");
  command->add_flag("--json", options.json, "Print the summary as JSON");
  command->add_flag("--quiet,-q", options.quiet, "No progress, no summary");
  AddPictureOptions(command, options.source);
}

}  // namespace

void AddStreamCommands(CLI::App& app, int* result) {
  const auto streamed = std::make_shared<StreamOptions>();
  CLI::App* const stream = app.add_subcommand("stream", "Send the live picture to other programs");
  stream
      ->add_option("--out,-o", streamed->out,
                   "Uncompressed video to a file, or - for standard output")
      ->type_name("FILE");
  stream->add_option("--device", streamed->device, "To a V4L2 output device, as UYVY")
      ->type_name("/dev/videoN");
  stream->add_flag("--http", streamed->http, "As MJPEG over HTTP, with a page for browsers");
  stream
      ->add_option_function<std::string>(
          "--listen",
          [streamed](const std::string& text) {
            streamed->listen = text;
            streamed->http = true;
          },
          "Where --http listens; port 0: a free one. Others than this machine reach *:8080")
      ->type_name("ADDR:PORT")
      ->check([](const std::string& text) {
        return ParseListenAddress(text) ? std::string()
                                        : "'" + text + "' is not an address such as 127.0.0.1:8080";
      })
      ->default_str(streamed->listen);
  stream->add_option("--max-clients", streamed->maxClients, "Readers of the HTTP stream at a time")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  stream->add_option("--quality", streamed->quality, "Quality of the JPEGs")
      ->check(CLI::Range(1, 100))
      ->capture_default_str();
  AddStreamOptions(stream, *streamed);
  stream->footer(
      "  lumivane stream -o - | ffmpeg -i - OUT.mp4\n"
      "  lumivane stream --http    # then a browser at http://127.0.0.1:8080/");
  stream->callback([streamed, result] { *result = RunStream(*streamed); });

  const auto recorded = std::make_shared<StreamOptions>();
  CLI::App* const record =
      app.add_subcommand("record", "Record the live picture as uncompressed video");
  record->add_option("file", recorded->out, "The file; .uyvy and .raw get raw frames, others Y4M")
      ->required()
      ->type_name("FILE");
  AddStreamOptions(record, *recorded);
  record->callback([recorded, result] { *result = RunStream(*recorded); });
}

}  // namespace lumivane
