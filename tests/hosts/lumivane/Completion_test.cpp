// The completions, as they work in the shells themselves: keys are typed into an interactive shell
// on a terminal, and the line that comes of them is read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "hosts/lumivane/Completions.h"
#include "hosts/lumivane/ExitCodes.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/Program.h"

namespace {

namespace fs = std::filesystem;
using lumivane::CommandEntry;
using test::TempFolder;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

const fs::path kPrograms = fs::path(LUMIVANE_APP) / "Contents/Linux";

bool Have(const std::string& program) {
  return test::RunProgram({"/bin/sh", "-c", "command -v " + program}).exitCode == 0;
}

std::string Script(const std::string& shell) {
  const auto run = test::RunProgram({(kPrograms / "lumivane").string(), "completion", shell});
  EXPECT_EQ(run.exitCode, lumivane::kExitOk) << run.err;
  return run.out;
}

/// An interactive shell on a terminal of its own. Ctrl-X Ctrl-X in it must write the line so far,
/// and a line end, into the file `answer`.
class Shell {
 public:
  Shell(const std::vector<std::string>& arguments, fs::path answer) : answer_(std::move(answer)) {
    std::vector<char*> words;
    for (const std::string& argument : arguments)
      words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    process_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (process_ == 0) {
      execvp(words[0], words.data());
      _exit(127);
    }
    // What is drawn is of no interest, but somebody must take it.
    drain_ = std::thread([this] {
      char buffer[4096];
      while (read(terminal_, buffer, sizeof(buffer)) > 0) continue;
    });
  }

  ~Shell() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    drain_.join();
    close(terminal_);
  }

  /// The line after `keys` and a tab.
  std::string Completed(const std::string& keys) {
    fs::remove(answer_);
    const std::string all = keys + "\t\x18\x18";
    EXPECT_EQ(write(terminal_, all.data(), all.size()), static_cast<ssize_t>(all.size()));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
      const std::string line = fs::exists(answer_) ? test::ReadFile(answer_) : std::string();
      if (!line.empty() && line.back() == '\n') {
        EXPECT_EQ(write(terminal_, "\x15", 1), 1);  // Ctrl-U: an empty line again
        return line.substr(0, line.size() - 1);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return "(no answer)";
  }

 private:
  fs::path answer_;
  int terminal_ = -1;
  pid_t process_ = -1;
  std::thread drain_;
};

/// Files to complete, and shells that find the program.
struct Scene {
  TempFolder folder;
  fs::path files = folder / "files";
  test::ScopedVariable path{"PATH", kPrograms.string() + ":/usr/bin:/bin"};
  test::ScopedVariable terminal{"TERM", "dumb"};
  test::ScopedVariable zshHome{"ZDOTDIR", folder.path().string()};

  Scene() {
    fs::create_directories(files / "inner");
    test::WriteFile(files / "picture.png", "");
    test::WriteFile(files / "a file.txt", "");
  }
};

void ExpectCompletions(Shell& shell, const fs::path& files) {
  const std::string at = files.string();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"lumivane sn", "lumivane snapshot "},
      {"lumivane camera ins", "lumivane camera install "},
      {"lumivane file fork r", "lumivane file fork read "},
      {"lumivane snapshot --req", "lumivane snapshot --require-camera "},
      {"lumivane camera install --domain l", "lumivane camera install --domain local "},
      {"lumivane camera install --domain=l", "lumivane camera install --domain=local "},
      {"lumivane image resize --size 4x4 --method bi",
       "lumivane image resize --size 4x4 --method bilinear "},
      {"lumivane completion z", "lumivane completion zsh "},
      {"lumivane snapshot --out " + at + "/pi", "lumivane snapshot --out " + at + "/picture.png "},
      {"lumivane image info " + at + "/pi", "lumivane image info " + at + "/picture.png "},
      {"lumivane image info a.png " + at + "/pi",
       "lumivane image info a.png " + at + "/picture.png "},
      {"lumivane file info " + at + "/a", "lumivane file info " + at + "/a\\ file.txt "},
      {"lumivane view --snapshots " + at + "/", "lumivane view --snapshots " + at + "/inner/"},
      // Nothing is made up where there is nothing to say.
      {"lumivane snapshot --frames ", "lumivane snapshot --frames "},
      {"lumivane sn x ca", "lumivane sn x ca"},
      {"lumivane nosuch", "lumivane nosuch"},
  };
  for (const auto& [typed, completed] : cases) {
    EXPECT_EQ(shell.Completed(typed), completed);
  }
}

TEST(BashCompletionScript, Completes) {
  if (!Have("bash")) GTEST_SKIP() << "bash is not here";
  const Scene scene;
  const fs::path script = scene.folder / "lumivane.bash";
  const fs::path answer = scene.folder / "answer";
  test::WriteFile(script, Script("bash"));
  const auto check = test::RunProgram({"bash", "-n", script.string()});
  ASSERT_EQ(check.exitCode, 0) << check.err;
  test::WriteFile(scene.folder / "rc", "source " + script.string() +
                                           "\n"
                                           "bind 'set bell-style none'\n"
                                           "report() { printf '%s\\n' \"$READLINE_LINE\" >" +
                                           answer.string() +
                                           "; }\nbind -x '\"\\C-x\\C-x\": report'\n");
  Shell shell({"bash", "--noprofile", "--rcfile", (scene.folder / "rc").string(), "-i"}, answer);
  ExpectCompletions(shell, scene.files);
}

TEST(BashCompletionScript, IsCleanShell) {
  if (!Have("shellcheck")) GTEST_SKIP() << "shellcheck is not here";
  const TempFolder folder;
  test::WriteFile(folder / "lumivane.bash", Script("bash"));
  const auto check = test::RunProgram({"shellcheck", (folder / "lumivane.bash").string()});
  EXPECT_EQ(check.exitCode, 0) << check.out;
}

TEST(ZshCompletionScript, Completes) {
  if (!Have("zsh")) GTEST_SKIP() << "zsh is not here";
  const Scene scene;
  const fs::path answer = scene.folder / "answer";
  fs::create_directories(scene.folder / "functions");
  test::WriteFile(scene.folder / "functions/_lumivane", Script("zsh"));
  const auto check =
      test::RunProgram({"zsh", "-n", (scene.folder / "functions/_lumivane").string()});
  ASSERT_EQ(check.exitCode, 0) << check.err;
  test::WriteFile(scene.folder / ".zshrc",
                  "fpath=(" + (scene.folder / "functions").string() +
                      " $fpath)\nautoload -Uz compinit\ncompinit -D -u\nbindkey -e\nunsetopt beep\n"
                      "report() { print -r -- \"$BUFFER\" >" +
                      answer.string() + "; }\nzle -N report\nbindkey '^X^X' report\n");
  Shell shell({"zsh", "-d", "-i"}, answer);
  ExpectCompletions(shell, scene.files);
}

std::string FishOffers(const Scene& scene, const std::string& line) {
  return test::RunProgram({"fish", "-N", "-c",
                           "source " + (scene.folder / "lumivane.fish").string() +
                               "; complete -C " + lumivane::ShellQuoted(line)})
      .out;
}

TEST(FishCompletionScript, Completes) {
  if (!Have("fish")) GTEST_SKIP() << "fish is not here";
  const Scene scene;
  test::WriteFile(scene.folder / "lumivane.fish", Script("fish"));
  const auto check = test::RunProgram({"fish", "-n", (scene.folder / "lumivane.fish").string()});
  ASSERT_EQ(check.exitCode, 0) << check.err;
  const std::string at = scene.files.string();
  EXPECT_EQ(FishOffers(scene, "lumivane sn"),
            "snapshot\tWrite frames of the live picture as PNG files\n");
  EXPECT_THAT(FishOffers(scene, "lumivane file fork "),
              AllOf(HasSubstr("list\t"), HasSubstr("read\t"), HasSubstr("write\t"),
                    Not(HasSubstr("snapshot")), Not(HasSubstr("picture.png"))));
  EXPECT_THAT(FishOffers(scene, "lumivane camera install --domain "),
              AllOf(HasSubstr("user\t"), HasSubstr("local\t"), HasSubstr("system\t")));
  EXPECT_THAT(FishOffers(scene, "lumivane snapshot --req"), HasSubstr("--require-camera\t"));
  EXPECT_THAT(FishOffers(scene, "lumivane image resize --method bil"), HasSubstr("bilinear\t"));
  EXPECT_THAT(FishOffers(scene, "lumivane completion "), HasSubstr("zsh\n"));
  EXPECT_EQ(FishOffers(scene, "lumivane completion zsh "), "") << "one shell at a time";
  EXPECT_EQ(FishOffers(scene, "lumivane image info x.png " + at + "/pi"), at + "/picture.png\n");
  EXPECT_EQ(FishOffers(scene, "lumivane snapshot -n 3 --out " + at + "/pi"), at + "/picture.png\n");
  EXPECT_THAT(FishOffers(scene, "lumivane view --snapshots " + at + "/"),
              AllOf(HasSubstr("inner/"), Not(HasSubstr("picture.png"))));
}

/// A camera's name is the device's to say: a shell must never take it for anything but text.
TEST(CompletionScripts, TakeCameraNamesForTextOnly) {
  const Scene scene;
  const fs::path programs = scene.folder / "programs";
  const fs::path evil = scene.folder / "evil";
  fs::create_directories(programs);
  test::WriteFile(programs / "lumivane", "#!/bin/sh\necho 'Nice Cam'\necho 'Rotten $(touch " +
                                             evil.string() + ") `touch " + evil.string() + "`'\n");
  fs::permissions(programs / "lumivane", fs::perms::owner_all);
  CommandEntry table;
  table.options.push_back({});
  lumivane::OptionEntry& option = table.options.back();
  option.names = {"--camera"};
  option.value = "CAMERA";
  option.help = "The camera";
  option.source = lumivane::ValueSource::kCamera;
  const test::ScopedVariable path("PATH", programs.string() + ":/usr/bin:/bin");
  {
    const fs::path answer = scene.folder / "answer";
    test::WriteFile(scene.folder / "rc", lumivane::BashCompletion(table) +
                                             "report() { printf '%s\\n' \"$READLINE_LINE\" >" +
                                             answer.string() +
                                             "; }\nbind -x '\"\\C-x\\C-x\": report'\n");
    Shell shell({"bash", "--noprofile", "--rcfile", (scene.folder / "rc").string(), "-i"}, answer);
    EXPECT_EQ(shell.Completed("lumivane --camera Ni"), "lumivane --camera Nice\\ Cam ");
    EXPECT_THAT(shell.Completed("lumivane --camera Ro"),
                HasSubstr("lumivane --camera Rotten\\ \\$\\(touch\\ "));
  }
  if (Have("zsh")) {
    const fs::path answer = scene.folder / "answer";
    test::WriteFile(scene.folder / ".zshrc",
                    "autoload -Uz compinit\ncompinit -D -u\nbindkey -e\n" +
                        lumivane::ZshCompletion(table) + "report() { print -r -- \"$BUFFER\" >" +
                        answer.string() + "; }\nzle -N report\nbindkey '^X^X' report\n");
    Shell shell({"zsh", "-d", "-i"}, answer);
    EXPECT_EQ(shell.Completed("lumivane --camera Ni"), "lumivane --camera Nice\\ Cam ");
    EXPECT_THAT(shell.Completed("lumivane --camera Ro"),
                HasSubstr("lumivane --camera Rotten\\ \\$\\(touch\\ "));
  }
  if (Have("fish")) {
    test::WriteFile(scene.folder / "lumivane.fish", lumivane::FishCompletion(table));
    EXPECT_THAT(FishOffers(scene, "lumivane --camera "),
                AllOf(HasSubstr("Nice Cam"), HasSubstr("Rotten $(touch ")));
  }
  EXPECT_FALSE(fs::exists(evil));
}

TEST(CompletionCommand, KnowsItsShells) {
  const auto run = test::RunProgram({(kPrograms / "lumivane").string(), "completion", "tcsh"});
  EXPECT_EQ(run.exitCode, lumivane::kExitUsage);
  EXPECT_THAT(run.err, HasSubstr("tcsh"));
}

TEST(CompletionTexts, QuoteAndShorten) {
  EXPECT_EQ(lumivane::ShellQuoted("it's $x"), "'it'\\''s $x'");
  EXPECT_EQ(lumivane::Brief("PNG file; with --frames, many"), "PNG file");
  EXPECT_EQ(lumivane::Brief("The size. Default: its own"), "The size");
  EXPECT_EQ(lumivane::Brief("The rate"), "The rate");
}

}  // namespace
