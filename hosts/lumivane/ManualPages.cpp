#include "hosts/lumivane/ManualPages.h"

#include <cctype>
#include <sstream>

#include "hosts/lumivane/HostStart.h"
#include "hosts/lumivane/Roff.h"

namespace lumivane {
namespace {

using roff::Bold;
using roff::Italic;
using roff::Literal;
using roff::Text;

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

/// A sentence with its full stop.
std::string Sentence(const std::string& text) {
  const bool ended = text.empty() || text.back() == '.' || text.back() == '?';
  return Text(text) + (ended ? "" : ".");
}

/// After "page \- ", where a phrase without capital and full stop goes.
std::string Phrase(std::string text) {
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0) {
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  }
  return Text(text);
}

std::string Header(const std::string& page) {
  return ".TH " + Upper(Literal(page)) + " 1 \"" LUMIVANE_DATE "\" \"Lumivane " + Version() +
         "\" \"User Commands\"\n";
}

std::string ArgumentWord(const OptionEntry& argument) {
  std::string words = Italic(argument.value);
  if (argument.repeated && argument.value.find("...") == std::string::npos) words += "...";
  return argument.required ? words : "[" + words + "]";
}

std::string Synopsis(const CommandEntry& command) {
  std::string line = Bold("lumivane");
  if (!command.path.empty()) line += " " + Bold(Joined(command.path));
  std::string rest;
  for (const OptionEntry& option : command.options) {
    if (!option.required) continue;
    rest += " " + Bold(option.names.back()) + " " + Italic(option.value);
  }
  // --help alone is not worth a word.
  if (command.options.size() > 1) line += " [" + Italic("options") + "]";
  line += rest;
  for (const OptionEntry& argument : command.arguments) line += " " + ArgumentWord(argument);
  return line + "\n";
}

/// What is known of a value, after the help text.
std::string Facts(const OptionEntry& option) {
  std::string facts;
  if (!option.choices.empty()) {
    facts += "\nOne of ";
    for (std::size_t i = 0; i < option.choices.size(); ++i) {
      if (i > 0) facts += i + 1 < option.choices.size() ? ", " : " and ";
      facts += Bold(option.choices[i]);
    }
    facts += ".";
  }
  if (!option.limits.empty()) facts += "\n" + Text(option.limits) + ".";
  if (!option.preset.empty()) facts += "\nDefault: " + Bold(option.preset) + ".";
  if (option.required && !option.names.empty()) facts += "\nMust be given.";
  for (const std::string& other : option.needs) facts += "\nTogether with " + Bold(other) + ".";
  for (const std::string& other : option.excludes) facts += "\nNot with " + Bold(other) + ".";
  return facts;
}

void WriteEntry(const OptionEntry& option, std::ostream& out) {
  out << ".TP\n";
  if (option.names.empty()) {
    out << ArgumentWord(option) << "\n";
  } else {
    for (std::size_t i = 0; i < option.names.size(); ++i) {
      out << (i > 0 ? ", " : "") << Bold(option.names[i]);
    }
    if (!option.value.empty()) out << " " << Italic(option.value);
    out << "\n";
  }
  out << Sentence(option.help) << Facts(option) << "\n";
}

void WriteEntries(const CommandEntry& command, std::ostream& out) {
  for (const OptionEntry& argument : command.arguments) WriteEntry(argument, out);
  for (const OptionEntry& option : command.options) {
    // Every command has --help; lumivane(1) says so once.
    if (command.path.empty() || option.names.back() != "--help") WriteEntry(option, out);
  }
}

std::string PageName(const CommandEntry& command) {
  return command.path.empty() ? "lumivane" : "lumivane-" + Joined(command.path, "-");
}

void WriteSeeAlso(const CommandEntry& table, const CommandEntry& page, std::ostream& out) {
  out << ".SH SEE ALSO\n";
  std::vector<std::string> pages;
  if (&page != &table) pages.push_back(PageName(table));
  for (const CommandEntry& command : table.commands) {
    if (&command != &page) pages.push_back(PageName(command));
  }
  for (std::size_t i = 0; i < pages.size(); ++i) {
    out << ".BR " << Literal(pages[i]) << " (1)" << (i + 1 < pages.size() ? ",\n" : "\n");
  }
}

constexpr const char* kEnvironment = R"(.SH ENVIRONMENT
.TP
.BR HOME ", " XDG_DATA_HOME ", " XDG_STATE_HOME ", " XDG_CONFIG_HOME
The bases of the user's folders below.
A variable that is empty or holds a relative path counts as not set.
.TP
.BR LUMIVANE_SYSTEM_ROOT ", " LUMIVANE_LOCAL_ROOT
The system's and the machine's own folder, instead of
.I /usr/lib/lumivane
and
.IR /usr/local/lib/lumivane .
.TP
.B LUMIVANE_SYSLOG_SOCKET
A datagram socket that takes the system log's messages instead of
.IR /dev/log .
.TP
.BR LUMIVANE_TESTPATTERN_FORMAT ", " LUMIVANE_TESTPATTERN_SIZE ", " LUMIVANE_TESTPATTERN_RATE
The test pattern's pixel format (argb or 2vuy), size (640x480) and frames per second (30).
.TP
.BI LUMIVANE_CAMERA_ KEY
A setting of the GStreamer camera component, instead of the one in
.IR camera.conf :
its key in capitals, with _ for \-.
.TP
.B LUMIVANE_THREADS
How many threads
.B "lumivane image"
and
.B "lumivane video"
share the rows of large pictures among.
)";

constexpr const char* kFiles = R"(.SH FILES
The first camera component that loads is used.
.TP
.I \(ti/.local/share/lumivane/Components/LumivaneXXX.component
The user's camera component.
.TP
.I /usr/lib/lumivane/Components/LumivaneXXX.component
The system's.
.TP
.I /usr/local/lib/lumivane/Components/LumivaneXXX.component
The machine's own.
.TP
.I \(ti/.config/lumivane/camera.conf
Which camera the GStreamer component shows, and how;
.B "lumivane camera use"
writes it.
.TP
.I \(ti/.local/state/lumivane/Logs/CILumivaneInput.log
What failed, where and why.
)";

constexpr const char* kExamples = R"(.SH EXAMPLES
Look at the test pattern:
.PP
.EX
  lumivane camera install \-\-component testpattern
  lumivane view
.EE
.PP
Take a picture, and fail rather than take one without a camera:
.PP
.EX
  lumivane snapshot \-\-require\-camera \-\-out now.png
.EE
.PP
Find out why there is no picture:
.PP
.EX
  lumivane doctor
.EE
)";

constexpr const char* kExitStatus = R"(.SH EXIT STATUS
.TP
.B 0
Done;
.BR doctor :
all is well.
.TP
.B 1
Failed;
.BR doctor :
something is odd.
.TP
.B 2
.BR doctor :
no picture can be had at all.
.TP
.B 3
Pictures were made, but none came from a camera.
.TP
.B 64
The command line is not valid.
)";

std::string MakeMainPage(const CommandEntry& table) {
  std::ostringstream out;
  out << Header("lumivane") << ".SH NAME\nlumivane \\- a live camera as a picture generator\n"
      << ".SH SYNOPSIS\n"
      << Bold("lumivane") << " " << Italic("command") << " [" << Italic("options")
      << "]\n.SH DESCRIPTION\n"
      << "Lumivane brings a live camera, as a picture generator, into programs that render image "
         "filters.\nThis program hosts its plug\\-in: it shows the live picture, writes it to "
         "files and streams, looks after\ncamera components, and runs the toolkit's operations on "
         "pictures, video and files.\n.PP\nResults go to standard output, messages for people to "
         "standard error.\n.SH COMMANDS\nEach command has a page of its own.\n";
  for (const CommandEntry& command : table.commands) {
    out << ".TP\n.BR " << Literal(PageName(command)) << " (1)\n" << Sentence(command.help) << "\n";
  }
  out << ".SH OPTIONS\n";
  WriteEntries(table, out);
  out << kExitStatus << kEnvironment << kFiles << kExamples;
  WriteSeeAlso(table, table, out);
  return out.str();
}

void WriteSubcommands(const CommandEntry& command, std::ostream& out) {
  for (const CommandEntry& verb : command.commands) {
    // What only holds other commands says nothing that they do not.
    if (verb.commands.empty()) {
      out << ".SS " << Literal(Joined(verb.path)) << "\n"
          << Synopsis(verb) << ".PP\n"
          << Sentence(verb.help) << "\n";
      if (!verb.notes.empty()) out << ".PP\n" << roff::Paragraphs(verb.notes);
      WriteEntries(verb, out);
    }
    WriteSubcommands(verb, out);
  }
}

std::string MakeCommandPage(const CommandEntry& table, const CommandEntry& command) {
  std::ostringstream out;
  out << Header(PageName(command)) << ".SH NAME\n"
      << Literal(PageName(command)) << " \\- " << Phrase(command.help) << "\n.SH SYNOPSIS\n";
  bool first = true;
  for (const CommandEntry* const entry : AllCommands(command)) {
    if (!entry->commands.empty()) continue;
    out << (first ? "" : ".br\n") << Synopsis(*entry);
    first = false;
  }
  out << ".SH DESCRIPTION\n" << Sentence(command.help) << "\n";
  if (!command.notes.empty()) out << ".PP\n" << roff::Paragraphs(command.notes);
  if (command.commands.empty()) {
    out << ".SH OPTIONS\n";
    WriteEntries(command, out);
  } else {
    out << ".SH COMMANDS\n";
    WriteSubcommands(command, out);
  }
  out << ".SH EXIT STATUS\nAs in\n.BR lumivane (1).\n";
  WriteSeeAlso(table, command, out);
  return out.str();
}

}  // namespace

std::vector<ManualPage> MakeManual(const CommandEntry& table) {
  std::vector<ManualPage> pages;
  pages.push_back({"lumivane.1", MakeMainPage(table)});
  for (const CommandEntry& command : table.commands) {
    pages.push_back({PageName(command) + ".1", MakeCommandPage(table, command)});
  }
  return pages;
}

}  // namespace lumivane
