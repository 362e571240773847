// `lumivane manual`: writes the manual's pages. For packaging; people type `man lumivane`.
#include <cstdio>
#include <filesystem>
#include <memory>

#include "hosts/lumivane/CommandTable.h"
#include "hosts/lumivane/Commands.h"
#include "hosts/lumivane/ExitCodes.h"
#include "hosts/lumivane/ManualPages.h"

namespace lumivane {
namespace {

namespace fs = std::filesystem;

bool WritePage(const fs::path& file, const std::string& text) {
  std::FILE* const stream = std::fopen(file.c_str(), "wb");
  if (stream == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), stream) == text.size();
  return std::fclose(stream) == 0 && written;
}

int RunManual(CLI::App& app, const std::string& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  for (const ManualPage& page : MakeManual(DescribeCommand(app))) {
    const fs::path file = fs::path(folder) / page.name;
    if (!WritePage(file, page.roff)) {
      std::fprintf(stderr, "lumivane: %s cannot be written\n", file.c_str());
      return kExitFailed;
    }
  }
  return kExitOk;
}

}  // namespace

void AddManualCommand(CLI::App& app, int* result) {
  const auto folder = std::make_shared<std::string>();
  CLI::App* const manual = app.add_subcommand("manual", "Write the manual's pages into a folder");
  manual->group("");
  manual->add_option("folder", *folder, "Where to write them")->required()->type_name("FOLDER");
  manual->callback([&app, folder, result] { *result = RunManual(app, *folder); });
}

}  // namespace lumivane
