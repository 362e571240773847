// The libraries we are measured beside.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench::peers {

/// Nobody starts threads of his own: every entry of the report is one thread's work.
void UseOneThread();

/// Name and version of each library, for the head of the report.
std::vector<std::pair<std::string, std::string>> Versions();

}  // namespace bench::peers
