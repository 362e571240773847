#include "hosts/lumivane/OptionValues.h"

#include <array>
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
