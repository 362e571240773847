#include "hosts/lumivane/OptionValues.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace lumivane {
namespace {

// A validator that lets everything pass carries what CLI11 has no place for: its name says what it
// is, and its description is what --help appends to the type name.
CLI::Validator Note(const std::string& name, const std::string& description) {
  return {[](std::string&) { return std::string(); }, description, name};
}

constexpr std::array<std::pair<const char*, ValueSource>, 3> kNotes = {{
    {"source: files", ValueSource::kFile},
    {"source: folders", ValueSource::kFolder},
    {"source: cameras", ValueSource::kCamera},
}};

ValueSource SourceOfTypeName(const std::string& type) {
  const auto is = [&type](std::initializer_list<const char*> names) {
    for (const char* const name : names) {
      if (type == name) return true;
    }
    return false;
  };
  if (is({"FOLDER", "DIR", "BUNDLE"})) return ValueSource::kFolder;
  if (is({"CAMERA"})) return ValueSource::kCamera;
  if (is({"FILE", "PATH", "IN", "OUT"}) || type[0] == '/' || type.find('.') != std::string::npos) {
    return ValueSource::kFile;
  }
  return ValueSource::kNone;
}

std::string NumberText(double number) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.10g", number);
  return text;
}

/// The formats whose names people are used to give to pictures.
constexpr std::array<const char*, 12> kOtherFormats = {".jpg",  ".jpeg", ".jpe",  ".gif",
                                                       ".bmp",  ".tif",  ".tiff", ".webp",
                                                       ".avif", ".heic", ".jxl",  ".ppm"};

}  // namespace

CLI::Option* CompleteFrom(CLI::Option* option, ValueSource source) {
  for (const auto& [name, noted] : kNotes) {
    if (noted == source) option->check(Note(name, ""));
  }
  return option;
}

CLI::Option* NameChoices(CLI::Option* option, const std::vector<std::string>& choices) {
  return option->check(Note("choices", "{" + CLI::detail::join(choices, ",") + "}"));
}

CLI::Validator Between(double least, double most) {
  const std::string limits = "[" + NumberText(least) + " - " + NumberText(most) + "]";
  return {[least, most](std::string& text) {
            double number = 0;
            if (!CLI::detail::lexical_cast(text, number)) return "'" + text + "' is not a number";
            if (number >= least && number <= most) return std::string();
            return "'" + text + "' is not between " + NumberText(least) + " and " +
                   NumberText(most);
          },
          "FLOAT in " + limits, ""};
}

CLI::Validator NotNegative() {
  return {[](std::string& text) {
            double number = 0;
            const bool fits =
                CLI::detail::lexical_cast(text, number) && number >= 0 && std::isfinite(number);
            return fits ? std::string() : "'" + text + "' is not a number from 0 on";
          },
          "NONNEGATIVE", ""};
}

CLI::Validator PngFile() {
  return {[](std::string& text) {
            const std::filesystem::path path(text);
            if (path.filename().empty() || path.filename() == "." || path.filename() == "..") {
              return "'" + text + "' does not name a file";
            }
            std::string extension = path.extension().string();
            std::transform(extension.begin(), extension.end(), extension.begin(), [](char c) {
              return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
            for (const char* const other : kOtherFormats) {
              if (extension == other) {
                return "'" + text + "' is not the name of a PNG file, and PNG is what is written";
              }
            }
            return std::string();
          },
          "", "PNG file"};
}

ValueSource SourceOf(CLI::Option* option) {
  for (const auto& [name, source] : kNotes) {
    try {
      option->get_validator(name);
      return source;
    } catch (const CLI::OptionNotFound&) {
      // Asking is the only way to know.
    }
  }
  const std::string type = option->get_type_name();
  return SourceOfTypeName(type.substr(0, type.find(':')));
}

}  // namespace lumivane
