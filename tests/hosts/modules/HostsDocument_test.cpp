// The commands of docs/hosts.md, as they stand there.
#include <gmock/gmock.h>

#include <cctype>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/hosts/modules/Modules.h"

namespace {

using namespace modules;

struct Block {
  std::string section;  ///< the heading above it
  std::string commands;
  friend std::ostream& operator<<(std::ostream& out, const Block& block) {
    return out << block.commands;
  }
};

/// The blocks of shell commands in a document.
std::vector<Block> BlocksOf(const std::string& document) {
  std::vector<Block> blocks;
  std::istringstream lines(document);
  std::string section;
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (inside && line == "```") {
      inside = false;
    } else if (inside) {
      blocks.back().commands += line + "\n";
    } else if (line == "```sh") {
      inside = true;
      blocks.push_back({section, ""});
    } else if (line.starts_with("## ")) {
      section = line.substr(3);
    }
  }
  return blocks;
}

class HostsDocument : public HostTest, public ::testing::WithParamInterface<Block> {};

std::vector<Block> AllBlocks() {
  return BlocksOf(test::ReadFile(fs::path(LUMIVANE_SOURCE_DIR) / "docs/hosts.md"));
}

TEST_P(HostsDocument, CommandsDoWhatTheySay) {
  InstallCamera(STILL_CAMERA);
  const test::TempFolder folder;
  const std::string commands = "cd '" + folder.path().string() + "'\n" + GetParam().commands;
  const test::ProgramResult run = test::RunProgram({"bash", "-euc", commands});
  ASSERT_EQ(run.exitCode, 0) << GetParam().commands << run.err;

  // Whatever the commands name as their output is there, and pictures are whole.
  const std::regex output(R"([\w%-]+\.(?:png|mp4|webm))");
  const std::string& text = GetParam().commands;
  std::set<std::string> files;
  for (std::sregex_iterator i(text.begin(), text.end(), output), end; i != end; ++i) {
    files.insert(std::regex_replace(i->str(), std::regex("%03d"), "001"));
  }
  for (const std::string& name : files) {
    const std::string bytes = test::ReadFile(folder / name);
    EXPECT_GT(bytes.size(), 1000u) << name;
    if (!name.ends_with(".png")) continue;
    const Pixels picture = DecodePng(bytes);
    const Pixels expected = Snapshot(SizeText(picture.width, picture.height));
    EXPECT_EQ(Difference(picture.rgba, expected.rgba, picture.width), "") << name;
  }
}

std::string BlockName(const ::testing::TestParamInfo<Block>& block) {
  std::string name = std::to_string(block.index) + "_";
  for (const char c : block.param.section) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Blocks, HostsDocument, ::testing::ValuesIn(AllBlocks()), BlockName);

TEST(HostsDocumentText, HasItsCommands) {
  EXPECT_GE(AllBlocks().size(), 6u);
}

}  // namespace
