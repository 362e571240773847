// The command line as a table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosts/lumivane/CommandLine.h"
#include "hosts/lumivane/CommandTable.h"

namespace {

using lumivane::CommandEntry;
using lumivane::OptionEntry;
using lumivane::ValueSource;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const OptionEntry& Find(const CommandEntry& command, const std::string& name) {
  for (const OptionEntry& option : command.options) {
    if (std::find(option.names.begin(), option.names.end(), name) != option.names.end()) {
      return option;
    }
  }
  throw std::runtime_error("no option " + name);
}

struct Values {
  std::string text;
  int number = 7;
  double factor = 0;
  bool flag = false;
  std::vector<std::string> many;
};

TEST(CommandTable, ReadsNamesValuesAndDefaults) {
  Values values;
  CLI::App app{"A program"};
  app.add_option("--number,-n", values.number, "How many")
      ->check(CLI::Range(1, 20))
      ->capture_default_str();
  app.add_option("--text,-t", values.text, "Which text")->required()->capture_default_str();
  app.add_flag("--flag,-f", values.flag, "Or not");
  const CommandEntry table = lumivane::DescribeCommand(app);
  EXPECT_THAT(table.path, IsEmpty());
  EXPECT_EQ(table.help, "A program");
  const OptionEntry& number = Find(table, "--number");
  EXPECT_THAT(number.names, ElementsAre("-n", "--number"));
  EXPECT_EQ(number.value, "NUMBER");
  EXPECT_EQ(number.limits, "From 1 to 20");
  EXPECT_EQ(number.preset, "7");
  EXPECT_FALSE(number.required);
  EXPECT_FALSE(number.repeated);
  const OptionEntry& text = Find(table, "-t");
  EXPECT_EQ(text.value, "TEXT");
  EXPECT_TRUE(text.required);
  EXPECT_EQ(text.preset, "") << "an empty text is no default to speak of";
  EXPECT_EQ(Find(table, "-f").value, "") << "a flag has no value";
}

TEST(CommandTable, ReadsChoicesAndLimits) {
  Values values;
  CLI::App app;
  app.add_option("--domain", values.text)->check(CLI::IsMember({"user", "local"}));
  app.add_option("--matrix", values.number)->check(CLI::IsMember({709, 601}));
  lumivane::NameChoices(app.add_option("--method", values.text)->type_name("METHOD"),
                        {"first", "second"});
  const std::map<std::string, int> meanings = {{"left", 0}, {"right", 1}};
  app.add_option("--side", values.number)->transform(CLI::CheckedTransformer(meanings));
  app.add_option("--least", values.factor)->check(CLI::NonNegativeNumber);
  app.add_option("--above", values.factor)->check(CLI::PositiveNumber);
  app.add_option("--address", values.text)->type_name("HOST:PORT");
  const CommandEntry table = lumivane::DescribeCommand(app);
  EXPECT_THAT(Find(table, "--domain").choices, ElementsAre("user", "local"));
  EXPECT_THAT(Find(table, "--matrix").choices, ElementsAre("709", "601"));
  EXPECT_THAT(Find(table, "--method").choices, ElementsAre("first", "second"));
  EXPECT_EQ(Find(table, "--method").value, "METHOD");
  EXPECT_THAT(Find(table, "--side").choices, ElementsAre("left", "right"));
  EXPECT_EQ(Find(table, "--least").limits, "0 or more");
  EXPECT_EQ(Find(table, "--above").limits, "More than 0");
  EXPECT_EQ(Find(table, "--address").value, "HOST:PORT");
}

TEST(CommandTable, KnowsWhereValuesAreFound) {
  Values values;
  CLI::App app;
  const std::map<std::string, ValueSource> types = {
      {"FILE", ValueSource::kFile},     {"IN", ValueSource::kFile},
      {"OUT.png", ValueSource::kFile},  {"FOLDER", ValueSource::kFolder},
      {"BUNDLE", ValueSource::kFolder}, {"CAMERA", ValueSource::kCamera},
      {"WxH", ValueSource::kNone},
  };
  int n = 0;
  for (const auto& [type, source] : types) {
    app.add_option("--type" + std::to_string(n++), values.text)->type_name(type);
  }
  app.add_option("--existing", values.text)->check(CLI::ExistingFile);
  app.add_option("--directory", values.text)->check(CLI::ExistingDirectory);
  lumivane::CompleteFrom(app.add_option("a", values.text)->type_name("A"), ValueSource::kFile);
  const CommandEntry table = lumivane::DescribeCommand(app);
  n = 0;
  for (const auto& [type, source] : types) {
    const OptionEntry& option = Find(table, "--type" + std::to_string(n++));
    EXPECT_EQ(option.source, source) << type;
    EXPECT_EQ(option.value, type);
  }
  EXPECT_EQ(Find(table, "--existing").source, ValueSource::kFile);
  EXPECT_EQ(Find(table, "--directory").source, ValueSource::kFolder);
  ASSERT_EQ(table.arguments.size(), 1u);
  EXPECT_EQ(table.arguments[0].source, ValueSource::kFile);
  EXPECT_EQ(table.arguments[0].value, "A") << "the note does not show";
}

TEST(CommandTable, KnowsWhatOptionsNeedAndExclude) {
  Values values;
  CLI::App app;
  CLI::Option* const a = app.add_option("--a,-a", values.text);
  CLI::Option* const b = app.add_option("--b", values.text);
  CLI::Option* const c = app.add_option("--c", values.text);
  b->needs(a)->excludes(c);
  const CommandEntry table = lumivane::DescribeCommand(app);
  EXPECT_THAT(Find(table, "--b").needs, ElementsAre("--a"));
  EXPECT_THAT(Find(table, "--b").excludes, ElementsAre("--c"));
}

TEST(CommandTable, WalksCommandsAndLeavesOutWhatIsHiddenOrInherited) {
  Values values;
  CLI::App app{"Root"};
  app.footer("The root's own.");
  CLI::App* const outer = app.add_subcommand("outer", "Outer");
  CLI::App* const inner = outer->add_subcommand("inner", "Inner");
  inner->footer("The inner one's own.");
  inner->add_option("--secret", values.text)->group("");
  inner->add_option("files", values.many, "Files")->type_name("FILE")->required();
  app.add_subcommand("hidden", "Hidden")->group("");
  inner->add_option_group("Together")->add_option("--grouped", values.text);
  const CommandEntry table = lumivane::DescribeCommand(app);
  EXPECT_EQ(table.notes, "The root's own.");
  ASSERT_EQ(table.commands.size(), 1u);
  EXPECT_EQ(table.commands[0].notes, "");
  ASSERT_EQ(table.commands[0].commands.size(), 1u);
  const CommandEntry& entry = table.commands[0].commands[0];
  EXPECT_THAT(entry.path, ElementsAre("outer", "inner"));
  EXPECT_EQ(entry.notes, "The inner one's own.");
  EXPECT_THROW(Find(entry, "--secret"), std::runtime_error);
  EXPECT_EQ(Find(entry, "--grouped").value, "TEXT");
  ASSERT_EQ(entry.arguments.size(), 1u);
  EXPECT_TRUE(entry.arguments[0].repeated);
  EXPECT_TRUE(entry.arguments[0].required);
  EXPECT_EQ(lumivane::AllCommands(table).size(), 3u);
  EXPECT_EQ(lumivane::Joined(entry.path), "outer inner");
}

TEST(CommandTable, SaysSomethingAboutEveryCommandAndOptionThereIs) {
  int result = 0;
  const auto app = lumivane::MakeCommandLine(&result);
  const CommandEntry table = lumivane::DescribeCommand(*app);
  EXPECT_GE(table.commands.size(), 9u);
  for (const CommandEntry* const command : lumivane::AllCommands(table)) {
    const std::string name = lumivane::Joined(command->path);
    EXPECT_NE(command->help, "") << name;
    EXPECT_EQ(command->help.find('\n'), std::string::npos) << name;
    for (const OptionEntry& option : command->options) {
      EXPECT_NE(option.help, "") << name << " " << option.names.back();
    }
    for (const OptionEntry& argument : command->arguments) {
      EXPECT_NE(argument.help, "") << name << " " << argument.value;
      EXPECT_NE(argument.value, "") << name;
    }
  }
}

}  // namespace
