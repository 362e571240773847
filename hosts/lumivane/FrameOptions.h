// The options of the frame verbs, which `image` and `video` share, and how their values are read.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hosts/lumivane/FrameOperation.h"

namespace lumivane {

/// Adds deinterlace, field, resize, blacken-edges and crop to `command`. `files` adds what a verb
/// reads and writes; `run` is called for the verb that was given, with `*operation` filled in.
void AddFrameVerbs(CLI::App* command, FrameOperation* operation,
                   const std::function<void(CLI::App*)>& files, const std::function<void()>& run);

/// An option whose text `parse` turns into a value; nothing means that the text is not one, and
/// `example` shows what is.
template <typename T>
CLI::Option* AddParsed(CLI::App* command, const std::string& flags, T* value,
                       std::optional<T> (*parse)(const std::string&), const std::string& type,
                       const std::string& example, const std::string& help) {
  return command
      ->add_option_function<std::string>(
          flags, [value, parse](const std::string& text) { *value = *parse(text); }, help)
      ->type_name(type)
      ->check([parse, type, example](const std::string& text) {
        return parse(text) ? std::string()
                           : "'" + text + "' is not " + type + ", such as " + example;
      });
}

/// --size.
CLI::Option* AddSize(CLI::App* command, PictureSize* size, const std::string& help);

/// Whole numbers with commas between them, each at most five digits; nothing unless there are
/// exactly `count`.
std::optional<std::vector<int>> ParseNumbers(const std::string& text, std::size_t count);

}  // namespace lumivane
