// Work that may end the process that does it: done in a child process.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace lumivane {

/// What `work` returns, done in a copy of this process that has at most `seconds` for it. Nothing,
/// and how it ended in `*error`, when the copy crashes, leaves or does not get done. Only from a
/// process with one thread: the copy has no other. Where no copy can be made, this process does it.
std::optional<std::string> DoInChild(const std::function<std::string()>& work, double seconds,
                                     std::string* error);

/// Whether this process has one thread only.
bool HasOneThread();

}  // namespace lumivane
