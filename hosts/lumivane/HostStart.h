// What a host program does once, before anything else.
#pragma once

#include <string>

namespace lumivane {

/// Makes sure that the user's Logs folder exists: the log never creates it, and without it every
/// report is lost. A folder that cannot be made is told on standard error; the program goes on.
void PrepareHost();

const char* Version();

/// Path of the log file, whether or not anything was logged yet; empty without a Logs folder.
std::string LogFilePath();

}  // namespace lumivane
