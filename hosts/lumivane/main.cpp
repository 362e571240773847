// The program `lumivane`.
#include "hosts/lumivane/CommandLine.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/HostStart.h"

int main(int argc, char** argv) {
  int result = lumivane::kExitOk;
  const auto app = lumivane::MakeCommandLine(&result);
  lumivane::PrepareHost();
  try {
    app->parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app->exit(error) == 0 ? lumivane::kExitOk : lumivane::kExitUsage;
  }
  return result;
}
