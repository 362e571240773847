// The command lines of `lumivane image` and `lumivane video`.
#pragma once

namespace CLI {
class App;
}

namespace lumivane {

/// Each adds its command to `app`. A verb that runs puts the process's exit code into `*result`,
/// which must live as long as `app` is used.
void AddImageCommands(CLI::App& app, int* result);
void AddVideoCommands(CLI::App& app, int* result);

}  // namespace lumivane
