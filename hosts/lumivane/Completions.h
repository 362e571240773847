// The shells' completions, made from the command table. Each is a whole script.
#pragma once

#include <string>

#include "hosts/lumivane/CommandTable.h"

namespace lumivane {

std::string BashCompletion(const CommandEntry& table);
std::string ZshCompletion(const CommandEntry& table);
std::string FishCompletion(const CommandEntry& table);

/// `text` as one word of a POSIX shell, in single quotes.
std::string ShellQuoted(const std::string& text);

/// The first statement of a help text, which is what there is room for beside a completion.
std::string Brief(const std::string& help);

}  // namespace lumivane
