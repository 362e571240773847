// The command line of `lumivane image`.
#include <cstdlib>
#include <memory>

#include "hosts/lumivane/FrameOptions.h"
#include "hosts/lumivane/ImageVerbs.h"
#include "hosts/lumivane/OptionValues.h"
#include "hosts/lumivane/PictureCommands.h"
#include "hosts/lumivane/ThreadsOption.h"

namespace lumivane {
namespace {

std::optional<std::uint32_t> ParseColour(const std::string& text) {
  const std::string digits = text.substr(text.rfind('#', 0) == 0 ? 1 : 0);
  if ((digits.size() != 6 && digits.size() != 8) ||
      digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
    return std::nullopt;
  }
  const auto value = static_cast<std::uint32_t>(std::strtoul(digits.c_str(), nullptr, 16));
  return digits.size() == 6 ? value | 0xFF000000 : value;
}

std::optional<std::array<int, 2>> ParsePlace(const std::string& text) {
  const auto numbers = ParseNumbers(text, 2);
  if (!numbers) return std::nullopt;
  return std::array<int, 2>{(*numbers)[0], (*numbers)[1]};
}

std::optional<std::array<int, 4>> ParsePart(const std::string& text) {
  const auto numbers = ParseNumbers(text, 4);
  if (!numbers) return std::nullopt;
  return std::array<int, 4>{(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

std::optional<std::vector<int>> ParseYCbCr(const std::string& text) {
  auto numbers = ParseNumbers(text, 3);
  if (!numbers) return std::nullopt;
  for (const int number : *numbers) {
    if (number < 0 || number > 255) return std::nullopt;
  }
  return numbers;
}

/// Everything `image` fills in; lives as long as the command line.
struct State {
  ImageOptions options;
  std::string inputs[2];
  std::array<int, 4> partA{};
  std::array<int, 4> partB{};
  int* result = nullptr;
};
using StatePtr = std::shared_ptr<State>;

class Builder {
 public:
  Builder(CLI::App* image, StatePtr state) : image_(image), state_(std::move(state)) {}

  /// A verb that reads `inputs` pictures, named in the help, and writes one.
  CLI::App* Add(const char* name, const char* help, ImageVerb verb,
                const std::vector<const char*>& inputs, const char* output = "OUT.png") {
    CLI::App* const added = image_->add_subcommand(name, help);
    AddFiles(added, inputs, output);
    added->callback([state = state_, verb, count = inputs.size()] {
      state->options.in.assign(state->inputs, state->inputs + count);
      *state->result = RunImage(verb, state->options);
    });
    return added;
  }

  void AddFiles(CLI::App* verb, const std::vector<const char*>& inputs, const char* output) {
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      CompleteFrom(verb->add_option(std::string("in") + std::to_string(i + 1), state_->inputs[i],
                                    "A file; -: standard input")
                       ->type_name(inputs[i])
                       ->required(),
                   ValueSource::kFile);
    }
    CLI::Option* const out =
        verb->add_option("out", state_->options.out, "The file to write; -: standard output")
            ->type_name(output)
            ->required();
    if (std::string(output) == "OUT.png") out->check(PngFile());
  }

 private:
  CLI::App* image_;
  StatePtr state_;
};

void AddConversion(CLI::App* verb, ImageOptions* options) {
  verb->add_option("--matrix", options->matrix, "How video becomes RGB: Rec. 709 or Rec. 601")
      ->check(CLI::IsMember({709, 601}))
      ->capture_default_str();
  verb->add_flag("--toolkit-rule", options->toolkitRule,
                 "Convert to RGB by the fast rule, which leaves Cr out");
}

void AddPixelMapVerbs(Builder& add, ImageOptions* options) {
  add.Add("grey", "Take the colours away", ImageGrey, {"IN"});
  add.Add("brighten", "Multiply the colours", ImageBrighten, {"IN"})
      ->add_option("--factor", options->factor, "What with; below 1 darkens")
      ->check(Between(-1000.0, 1000.0))
      ->capture_default_str();
  CLI::App* const duotone =
      add.Add("duotone", "Keep the brightness and tint it", ImageDuotone, {"IN"});
  AddParsed<std::uint32_t>(duotone, "--colour", &options->colour, ParseColour, "RRGGBB", "c08040",
                           "The tint")
      ->required();

  CLI::App* const blend = add.Add("blend", "Add two pictures, weighted", ImageBlend, {"A", "B"});
  blend->add_option("--weight-a", options->weights[0], "Weight of A; sums above 255 wrap")
      ->check(Between(0.0, 255.0))
      ->capture_default_str();
  blend->add_option("--weight-b", options->weights[1], "Weight of B")
      ->check(Between(0.0, 255.0))
      ->capture_default_str();
  CLI::Option* const fade =
      blend->add_option("--fade", options->t, "Cross-fade as video instead: 0 is A, 1 is B")
          ->check(Between(0.0, 1.0));
  fade->each([options](const std::string&) { options->fade = true; });
  AddConversion(blend, options);

  CLI::App* const overlay = add.Add("overlay", "Lay a picture with alpha onto a part of another",
                                    ImageOverlay, {"BASE", "TOP"});
  AddParsed<std::array<int, 2>>(overlay, "--at", &options->at, ParsePlace, "X,Y", "16,8",
                                "Where TOP's upper left corner goes")
      ->default_str("0,0");
  overlay->add_option("--opacity", options->opacity, "A factor on its alpha")
      ->check(Between(0.0, 1.0))
      ->capture_default_str();

  CLI::App* const fill = add.Add("fill", "Make a picture of one colour", ImageFill, {});
  AddSize(fill, &options->size, "The size")->required();
  CLI::Option* const colour =
      AddParsed<std::uint32_t>(fill, "--colour", &options->colour, ParseColour, "[AA]RRGGBB",
                               "ff8000", "The colour; two more digits in front are its alpha");
  AddParsed<std::vector<int>>(fill, "--ycbcr", &options->ycbcr, ParseYCbCr, "Y,CB,CR",
                              "180,128,128", "A video colour instead")
      ->excludes(colour);
  AddConversion(fill, options);

  CLI::App* const noise = add.Add("noise", "Make a picture of gradient noise", ImageNoise, {});
  AddSize(noise, &options->size, "The size")->required();
  noise->add_option("--cell", options->cell, "Side of a cell in pixels")
      ->check(CLI::Range(1, 64))
      ->capture_default_str();
  noise
      ->add_option("--amplitude", options->amplitude, "Factor on the noise; what is negative wraps")
      ->check(Between(-1000.0, 1000.0))
      ->capture_default_str();
  noise->add_flag("--grey", options->grey, "In a grey raster");
}

void AddVideoVerbs(Builder& add, const StatePtr& state) {
  ImageOptions* const options = &state->options;
  const auto addPixelFormat = [options](CLI::App* verb) {
    verb->add_option("--format", options->pixelFormat,
                     "Order of the raw bytes; else yuvs for .yuvs, .yuy2, .yuyv, and 2vuy")
        ->check(CLI::IsMember({"2vuy", "yuvs"}));
  };
  addPixelFormat(
      add.Add("to-2vuy", "Convert to a raw frame of 4:2:2 video", ImageTo2vuy, {"IN"}, "OUT.2vuy"));
  CLI::App* const from = add.Add("from-2vuy", "Convert a raw frame of 4:2:2 video to a picture",
                                 ImageFrom2vuy, {"IN.2vuy"});
  AddSize(from, &options->size, "The frame's size, which its file does not say")->required();
  addPixelFormat(from);
  AddConversion(from, options);

  AddConversion(
      add.Add("over", "Lay TOP over BASE by its alpha, as video", ImageOver, {"BASE", "TOP"}),
      options);

  CLI::App* const wipe = add.Add("wipe", "Wipe from A to B, as video", ImageWipe, {"A", "B"});
  wipe->add_option("--position", options->t, "How far: 0 is A, 1 is B")
      ->check(Between(0.0, 1.0))
      ->capture_default_str();
  CLI::Option* const mask =
      wipe->add_option("--mask", options->mask, "A picture whose brightest parts change first")
          ->type_name("FILE");
  CLI::Option* const partA = AddParsed<std::array<int, 4>>(
      wipe, "--part-a", &state->partA, ParsePart, "X,Y,W,H", "0,0,320,480",
      "Instead: this part of A, then --part-b of B, each at its own place");
  CLI::Option* const partB = AddParsed<std::array<int, 4>>(
      wipe, "--part-b", &state->partB, ParsePart, "X,Y,W,H", "320,0,320,480", "See --part-a");
  partA->needs(partB)->excludes(mask);
  partB->needs(partA);
  wipe->parse_complete_callback([state, partA] {
    if (partA->count() > 0) state->options.parts = {state->partA, state->partB};
  });
  AddConversion(wipe, options);

  CLI::App* const levels = add.Add("levels", "Stretch the luma, as video", ImageLevels, {"IN"});
  levels->add_option("--black", options->black, "The luma that becomes black")
      ->check(CLI::Range(0, 254))
      ->capture_default_str();
  levels->add_option("--white", options->white, "The luma that becomes white")
      ->check(CLI::Range(1, 255))
      ->capture_default_str();
  AddConversion(levels, options);
}

/// Verbs with any number of inputs.
void AddManyFiles(CLI::App* image, const StatePtr& state) {
  ImageOptions* const options = &state->options;
  CLI::App* const equalise =
      image->add_subcommand("equalise", "Equalise the histogram of the luma, as video");
  equalise->footer(
      "With several pictures, OUT.png is the last, mapped by the histogram of the one before it, "
      "as in a stream. A single picture is mapped by its own.");
  equalise->add_option("files", options->in, "IN... OUT.png")
      ->type_name("IN... OUT.png")
      ->required()
      ->expected(-2);
  AddConversion(equalise, options);
  equalise->callback([state] {
    state->options.out = state->options.in.back();
    state->options.in.pop_back();
    if (const std::string complaint = PngFile()(state->options.out); !complaint.empty()) {
      throw CLI::ValidationError("OUT.png", complaint);
    }
    *state->result = RunImage(ImageEqualise, state->options);
  });

  CLI::App* const info = image->add_subcommand("info", "Say what is in picture files");
  info->add_option("files", options->in, "Picture files")->type_name("FILE")->required();
  info->add_flag("--json", options->json, "Print it as JSON");
  info->callback([state] { *state->result = RunImage(ImageInfo, state->options); });
}

}  // namespace

void AddImageCommands(CLI::App& app, int* result) {
  const auto state = std::make_shared<State>();
  state->result = result;
  CLI::App* const image =
      app.add_subcommand("image", "Run the toolkit's operations on picture files");
  image->require_subcommand(1);
  AddThreadsOption(image);
  image->footer(
      "Pictures are PNG and JPEG files, output is PNG. An output file that is there already is "
      "replaced only by a complete new one.");
  Builder add(image, state);
  AddPixelMapVerbs(add, &state->options);
  AddVideoVerbs(add, state);
  AddManyFiles(image, state);
  AddFrameVerbs(
      image, &state->options.frame,
      [&add](CLI::App* verb) { add.AddFiles(verb, {"IN"}, "OUT.png"); },
      [state] {
        state->options.in.assign(1, state->inputs[0]);
        *state->result = RunImage(ImageFrame, state->options);
      });
}

}  // namespace lumivane
