// `lumivane completion`: prints the shells' completions.
#include <cstdio>
#include <memory>

#include "hosts/lumivane/CommandTable.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/Completions.h"
#include "hosts/lumivane/ExitCodes.h"

namespace lumivane {
namespace {

int RunCompletion(CLI::App& app, const std::string& shell) {
  const CommandEntry table = DescribeCommand(app);
  const std::string script = shell == "bash"  ? BashCompletion(table)
                             : shell == "zsh" ? ZshCompletion(table)
                                              : FishCompletion(table);
  const bool written = std::fwrite(script.data(), 1, script.size(), stdout) == script.size() &&
                       std::fflush(stdout) == 0;
  if (!written) std::fputs("lumivane: the completion cannot be written\n", stderr);
  return written ? kExitOk : kExitFailed;
}

}  // namespace

void AddCompletionCommand(CLI::App& app, int* result) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* const completion =
      app.add_subcommand("completion", "Print the completion script of a shell");
  completion->footer(
      "The packages install all three. Without them:\n"
      "  lumivane completion bash > ~/.local/share/bash-completion/completions/lumivane\n"
      "  lumivane completion fish > ~/.config/fish/completions/lumivane.fish\n"
      "For zsh, write it as _lumivane into a folder of your fpath.");
  completion->add_option("shell", *shell, "The shell")
      ->required()
      ->type_name("SHELL")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  completion->callback([&app, shell, result] { *result = RunCompletion(app, *shell); });
}

}  // namespace lumivane
