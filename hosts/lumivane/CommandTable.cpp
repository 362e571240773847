#include "hosts/lumivane/CommandTable.h"

#include <algorithm>
#include <iterator>

namespace lumivane {
namespace {

bool IsOneOf(const std::string& text, std::initializer_list<const char*> list) {
  return std::any_of(list.begin(), list.end(),
                     [&text](const char* entry) { return text == entry; });
}

/// Reads what one check says about itself; false: it says nothing that is known.
bool ReadCheck(const std::string& text, OptionEntry* entry) {
  const std::size_t open = text.find('{');
  const std::size_t close = text.find('}');
  if ((open == 0 || text.rfind("value in {", 0) == 0) && close != std::string::npos) {
    for (std::string& choice : CLI::detail::split(text.substr(open + 1, close - open - 1), ',')) {
      // A check that also translates lists "typed->meant", and after that what is meant alone.
      entry->choices.push_back(choice.substr(0, choice.find("->")));
    }
    return true;
  }
  const std::size_t range = text.find(" in [");
  if (range != std::string::npos && text.back() == ']') {
    std::string limits = text.substr(range + 5, text.size() - range - 6);
    const std::size_t dash = limits.find(" - ");
    if (dash == std::string::npos) return false;
    entry->limits = "From " + limits.replace(dash, 3, " to ");
    return true;
  }
  if (text == "NONNEGATIVE") {
    entry->limits = "0 or more";
    return true;
  }
  if (text == "POSITIVE") {
    entry->limits = "More than 0";
    return true;
  }
  if (text == "NUMBER") return true;
  if (IsOneOf(text, {"FILE", "PATH(existing)", "PATH(non-existing)"})) {
    entry->source = ValueSource::kFile;
    return true;
  }
  if (text == "DIR") {
    entry->source = ValueSource::kFolder;
    return true;
  }
  return false;
}

/// CLI11 gives the type name and what each check says about itself as one text, ':' between them.
void ReadType(const std::string& text, OptionEntry* entry) {
  const std::vector<std::string> parts = CLI::detail::split(text, ':');
  std::string value = parts.empty() ? std::string() : parts[0];
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (!ReadCheck(parts[i], entry)) value += ":" + parts[i];
  }
  if (IsOneOf(value, {"INT", "UINT", "FLOAT", "NUMBER"})) value = "NUMBER";
  // Dots say that there may be several; `repeated` says that already.
  if (value.size() > 3 && value.compare(value.size() - 3, 3, "...") == 0) {
    value.resize(value.size() - 3);
    entry->repeated = true;
  }
  entry->value = value;
}

std::string LongestName(const CLI::Option* option) {
  if (!option->get_lnames().empty()) return "--" + option->get_lnames().front();
  return option->get_snames().empty() ? option->get_name() : "-" + option->get_snames().front();
}

OptionEntry DescribeOption(CLI::Option* option) {
  OptionEntry entry;
  for (const std::string& name : option->get_snames()) entry.names.push_back("-" + name);
  for (const std::string& name : option->get_lnames()) entry.names.push_back("--" + name);
  entry.help = option->get_description();
  const bool isFlag = option->nonpositional() && option->get_items_expected_max() == 0;
  if (!isFlag) {
    entry.source = SourceOf(option);
    ReadType(option->get_type_name(), &entry);
    entry.repeated =
        entry.repeated || option->get_items_expected_max() >= CLI::detail::expected_max_vector_size;
    entry.preset = option->get_default_str();
    // Captured texts that are empty, and lists, are printed so.
    if (IsOneOf(entry.preset, {"\"\"", "[]"})) entry.preset.clear();
  }
  entry.required = option->get_required();
  for (const CLI::Option* const other : option->get_needs()) {
    entry.needs.push_back(LongestName(other));
  }
  for (const CLI::Option* const other : option->get_excludes()) {
    entry.excludes.push_back(LongestName(other));
  }
  // Sets of pointers: their order is no order.
  std::sort(entry.needs.begin(), entry.needs.end());
  std::sort(entry.excludes.begin(), entry.excludes.end());
  return entry;
}

CommandEntry Describe(CLI::App& app, const std::vector<std::string>& path,
                      const std::string& inheritedNotes) {
  CommandEntry entry;
  entry.path = path;
  entry.help = app.get_description();
  const std::string notes = app.get_footer();
  if (notes != inheritedNotes) entry.notes = notes;
  for (CLI::Option* const option : app.get_options(
           [](const CLI::Option* candidate) { return !candidate->get_group().empty(); })) {
    (option->nonpositional() ? entry.options : entry.arguments).push_back(DescribeOption(option));
  }
  for (CLI::App* const command : app.get_subcommands(
           [](const CLI::App* candidate) { return !candidate->get_group().empty(); })) {
    if (command->get_name().empty()) {
      // A group of options, which is a nameless command to CLI11.
      CommandEntry group = Describe(*command, path, notes);
      std::move(group.options.begin(), group.options.end(), std::back_inserter(entry.options));
      std::move(group.arguments.begin(), group.arguments.end(),
                std::back_inserter(entry.arguments));
      continue;
    }
    std::vector<std::string> below = path;
    below.push_back(command->get_name());
    entry.commands.push_back(Describe(*command, below, notes));
  }
  return entry;
}

void Append(const CommandEntry& entry, std::vector<const CommandEntry*>* all) {
  all->push_back(&entry);
  for (const CommandEntry& command : entry.commands) Append(command, all);
}

}  // namespace

CommandEntry DescribeCommand(CLI::App& app) {
  return Describe(app, {}, "");
}

std::vector<const CommandEntry*> AllCommands(const CommandEntry& table) {
  std::vector<const CommandEntry*> all;
  Append(table, &all);
  return all;
}

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
  return CLI::detail::join(words, between);
}

}  // namespace lumivane
