#include "hosts/lumivane/Video.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>

#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/PictureFile.h"
#include "hosts/lumivane/Progress.h"
#include "nlohmann/json.hpp"

namespace lumivane {
namespace {

int Fail(const std::string& error, int code = kExitFailed) {
  std::fprintf(stderr, "lumivane: %s\n", error.c_str());
  return code;
}

std::string RawProblem(const VideoOptions& options) {
  if (!options.raw) {
    return options.toY4M ? "--y4m is for --raw frames; Y4M comes out as Y4M" : "";
  }
  if (options.rawSize.width == 0) return "--raw needs --frame-size: raw frames do not say it";
  if (*options.raw == StreamForm::kRawUYVY && options.rawSize.width % 2 != 0) {
    return "uyvy422 frames have pairs of pixels: the width must be even";
  }
  if (options.toY4M && *options.raw == StreamForm::kRawARGB) {
    return "Y4M cannot hold ARGB; leave --y4m out";
  }
  return "";
}

StreamFormat RawFormat(const VideoOptions& options) {
  StreamFormat format;
  format.form = *options.raw;
  format.layout.width = options.rawSize.width;
  format.layout.height = options.rawSize.height;
  format.layout.argb = format.form == StreamForm::kRawARGB;
  format.layout.chromaX = format.layout.argb ? 1 : 2;
  format.rate = options.rate;
  return format;
}

/// The FRAME line's own statement on interlacing no longer holds once there is one field only.
std::string OutputParameters(const std::string& parameters, FrameVerb verb) {
  if (verb != FrameVerb::kDeinterlace && verb != FrameVerb::kField) return parameters;
  std::string kept;
  std::size_t at = 0;
  while (at < parameters.size()) {
    const std::size_t end = std::min(parameters.find(' ', at + 1), parameters.size());
    const std::string word = parameters.substr(at, end - at);
    if (word.rfind(" I", 0) != 0) kept += word;
    at = end;
  }
  return kept;
}

void Report(const VideoOptions& options, const StreamFormat& out, std::uint64_t frames,
            double seconds) {
  if (options.quiet) return;
  // Where the stream itself goes to standard output, so that it stays clean.
  std::FILE* const to = options.out == "-" ? stderr : stdout;
  const double rate = seconds > 0 ? static_cast<double>(frames) / seconds : 0;
  if (options.json) {
    const nlohmann::ordered_json report = {{"frames", frames},
                                           {"width", out.layout.width},
                                           {"height", out.layout.height},
                                           {"framesPerSecond", rate}};
    std::fprintf(to, "%s\n", report.dump(2).c_str());
  } else if (options.out != "-" || isatty(STDERR_FILENO) == 1) {
    std::fprintf(to, "%llu frames of %s, %.1f a second\n", static_cast<unsigned long long>(frames),
                 SizeText(out.layout.width, out.layout.height).c_str(), rate);
  }
}

int Run(const VideoOptions& options) {
  std::string error = RawProblem(options);
  if (!error.empty()) return Fail(error, kExitUsage);
  if (options.out == "-" && isatty(STDOUT_FILENO) == 1) {
    return Fail("frames are not for a terminal; give an output file or a pipe", kExitUsage);
  }

  VideoReader reader;
  if (!reader.Open(options.in, &error)) return Fail(error);
  if (options.raw) {
    reader.SetFormat(RawFormat(options));
  } else if (!reader.ReadHeader(&error)) {
    return Fail(error);
  }
  const StreamFormat& in = reader.format();
  const auto operation =
      PlanarOperation::Make(options.operation, in.layout, in.IsInterlaced(), &error);
  if (!operation) return Fail(reader.name() + ": " + error);
  StreamFormat out = OutputFormat(in, *operation);
  if (options.toY4M) out.form = StreamForm::kY4M;
  if (out.form == StreamForm::kRawUYVY && out.layout.width % 2 != 0) {
    return Fail("uyvy422 frames have pairs of pixels: a width of " +
                std::to_string(out.layout.width) + " cannot be written");
  }
  if (options.operation.verb == FrameVerb::kDeinterlace && in.interlacing == 'p' &&
      !options.quiet) {
    std::fprintf(stderr, "lumivane: %s says that it is progressive; deinterlacing only blurs it\n",
                 reader.name().c_str());
  }

  PlanarFrame source(in.layout);
  PlanarFrame result(out.layout);
  VideoWriter writer;
  if (!writer.Open(options.out, &error)) return Fail(error);
  VideoWriter::Result written = writer.WriteHeader(out, &error);
  Progress progress(options.quiet);
  const double start = MonotonicSeconds();
  std::uint64_t frames = 0;
  std::string broken;
  while (written == VideoWriter::Result::kOk) {
    std::string parameters;
    const VideoReader::Next next = reader.Read(source, &parameters, &error);
    if (next == VideoReader::Next::kEnd) break;
    const std::string number = std::to_string(frames + 1);
    if (next == VideoReader::Next::kBroken) {
      broken = "frame " + number + " of " + reader.name() + " is broken: " + error + "; " +
               std::to_string(frames) + " complete frames are written";
      break;
    }
    if (!operation->Run(source, result)) {
      broken = "frame " + number + ": the toolkit refuses the operation";
      break;
    }
    written = writer.Write(result, OutputParameters(parameters, options.operation.verb), &error);
    ++frames;
    progress.Show("frame " + number);
  }
  // Without one whole frame there is nothing to replace an old file with.
  if (!broken.empty() && frames == 0) return Fail(broken);
  if (written == VideoWriter::Result::kOk) written = writer.Finish(&error);
  // Whoever reads has had enough: that is how a pipe ends.
  if (written == VideoWriter::Result::kNobodyReads) return kExitOk;
  if (written == VideoWriter::Result::kFailed) return Fail(error);
  if (!broken.empty()) return Fail(broken);
  Report(options, out, frames, MonotonicSeconds() - start);
  return kExitOk;
}

}  // namespace

int RunVideo(const VideoOptions& options) {
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return Run(options);
  } catch (const std::bad_alloc&) {
    return Fail("there is not enough memory for frames of this size");
  }
}

}  // namespace lumivane
