#include "hosts/lumivane/FrameOptions.h"

#include <cstdlib>

#include "hosts/lumivane/OptionValues.h"

namespace lumivane {
namespace {

std::optional<XFrameEdges> ParseEdges(const std::string& text) {
  const auto numbers = ParseNumbers(text, 4);
  if (!numbers) return std::nullopt;
  for (const int number : *numbers) {
    if (number < 0 || number > 32767) return std::nullopt;
  }
  const auto side = [&numbers](std::size_t i) { return static_cast<SInt16>((*numbers)[i]); };
  return XFrameEdges{side(0), side(1), side(2), side(3)};
}

std::optional<XFrameFilters> ParseDeinterlacing(const std::string& text) {
  if (text == "blend3") return XFrameFilters{XFrame_Filter_BlendThree};
  if (text == "blend2") return XFrameFilters{XFrame_Filter_BlendPairs};
  if (text == "first") return XFrameFilters{XFrame_Filter_KeepFirst};
  if (text == "second") return XFrameFilters{XFrame_Filter_KeepSecond};
  return std::nullopt;
}

std::optional<ResizeMethod> ParseResizing(const std::string& text) {
  if (text == "auto") return ResizeMethod::kAuto;
  if (text == "bilinear") return ResizeMethod::kBilinear;
  if (text == "nearest") return ResizeMethod::kNearest;
  if (text == "fields") return ResizeMethod::kFields;
  return std::nullopt;
}

std::optional<int> ParseField(const std::string& text) {
  if (text == "top") return 0;
  if (text == "bottom") return 1;
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<int>> ParseNumbers(const std::string& text, std::size_t count) {
  std::vector<int> numbers;
  std::size_t at = 0;
  while (at <= text.size()) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    const std::string one = text.substr(at, end - at);
    const std::size_t digits = one.find_first_not_of("0123456789", one[0] == '-' ? 1 : 0);
    if (one.empty() || one == "-" || one.size() > 6 || digits != std::string::npos) {
      return std::nullopt;
    }
    numbers.push_back(std::atoi(one.c_str()));
    at = end + 1;
  }
  if (numbers.size() != count) return std::nullopt;
  return numbers;
}

CLI::Option* AddSize(CLI::App* command, PictureSize* size, const std::string& help) {
  return AddParsed<PictureSize>(command, "--size", size, ParseSize, "WxH", kSizeExample, help);
}

void AddFrameVerbs(CLI::App* command, FrameOperation* operation,
                   const std::function<void(CLI::App*)>& files, const std::function<void()>& run) {
  const auto add = [&](const char* name, const char* help, FrameVerb verb) {
    CLI::App* const added = command->add_subcommand(name, help);
    files(added);
    added->callback([operation, verb, run] {
      // `field --clear` is a verb of its own.
      if (operation->verb != FrameVerb::kClearField) operation->verb = verb;
      run();
    });
    return added;
  };

  CLI::App* const deinterlace =
      add("deinterlace", "Make two fields one progressive picture", FrameVerb::kDeinterlace);
  NameChoices(AddParsed<XFrameFilters>(deinterlace, "--method", &operation->filters,
                                       ParseDeinterlacing, "METHOD", "blend3",
                                       "blend3: a vertical filter over three rows; blend2: the "
                                       "mean of each pair of rows; first: "
                                       "rows 0, 2, 4 and so on stay, the others are made of them; "
                                       "second: the same with rows 1, 3, "
                                       "5")
                  ->default_str("blend3"),
              {"blend3", "blend2", "first", "second"});

  CLI::App* const field = add("field", "Take one field: every second row", FrameVerb::kField);
  NameChoices(
      AddParsed<int>(field, "--field", &operation->field, ParseField, "FIELD", "top or bottom",
                     "top: rows 0, 2, 4 and so on; bottom: rows 1, 3, 5 and so on")
          ->default_str("top"),
      {"top", "bottom"});
  field->add_flag_callback(
      "--clear", [operation] { operation->verb = FrameVerb::kClearField; },
      "Blacken that field's rows and keep the size");

  CLI::App* const resize = add("resize", "Scale to another size", FrameVerb::kResize);
  AddSize(resize, &operation->size, "The new size")->required();
  NameChoices(AddParsed<ResizeMethod>(
                  resize, "--method", &operation->method, ParseResizing, "METHOD", "bilinear",
                  "bilinear, nearest, fields (bilinear, each field for itself) or auto: by "
                  "fields if the stream says it is interlaced, else bilinear")
                  ->default_str("auto"),
              {"auto", "bilinear", "nearest", "fields"});

  CLI::App* const blacken =
      add("blacken-edges", "Blacken a border, with a soft inner edge", FrameVerb::kBlackenEdges);
  CLI::App* const crop = add("crop", "Cut the edges off", FrameVerb::kCrop);
  for (CLI::App* const verb : {blacken, crop}) {
    AddParsed<XFrameEdges>(verb, "--edges", &operation->edges, ParseEdges, "L,T,R,B", "8,0,8,0",
                           "Pixels at the left, rows at the top, pixels at the right, rows at the "
                           "bottom")
        ->required();
  }
}

}  // namespace lumivane
