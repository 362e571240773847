#include "hosts/lumivane/PictureOptions.h"

#include "hosts/lumivane/OptionValues.h"

namespace lumivane {

void AddPlugInOption(CLI::App* command, std::string& path) {
  command->add_option("--plugin", path, "Path of CILumivaneInput.plugin")->type_name("BUNDLE");
}

void AddPictureOptions(CLI::App* command, PictureSource& source) {
  AddPlugInOption(command, source.plugIn);
  command
      ->add_option_function<std::string>(
          "--size", [&source](const std::string& text) { source.size = ParseSize(text); },
          "Size of the pictures; the frame is fitted into it. Default: the frame's own size")
      ->type_name("WxH")
      ->check([](const std::string& text) {
        return ParseSize(text) ? std::string()
                               : "'" + text + "' is not a size such as " + kSizeExample;
      });
  command->add_option("--clock", source.clock, "The filter's inputClock")
      ->check(Between(0.0, 1.0))
      ->capture_default_str();
}

}  // namespace lumivane
