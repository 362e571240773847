#include "hosts/lumivane/Roff.h"

#include <sstream>

namespace lumivane::roff {
namespace {

std::string Escape(const std::string& text, bool typed) {
  std::string out;
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) out += "\\&";
    lineStart = c == '\n';
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-' && typed) {
      out += "\\-";
    } else if (c == '\'') {
      out += "\\(aq";
    } else if (c == '`') {
      out += "\\(ga";
    } else if (c == '^') {
      out += "\\(ha";
    } else if (c == '~') {
      out += "\\(ti";
    } else {
      out += c;
    }
  }
  return out;
}

/// Option names in a text are typed words: "--part-b".
std::string EscapeProse(const std::string& text) {
  std::string out;
  std::size_t at = 0;
  while (at < text.size()) {
    const bool wordStart = at == 0 || text[at - 1] == ' ' || text[at - 1] == '(';
    const bool path = wordStart && (text[at] == '/' || text[at] == '~');
    if ((wordStart && text[at] == '-') || path) {
      std::size_t end = text.find_first_of(" ,;:.)\n", at);
      if (path) end = text.find_first_of(" ,;)\n", at);
      if (end == std::string::npos) end = text.size();
      const std::string word = text.substr(at, end - at);
      out += Escape(word, true);
      at = end;
      continue;
    }
    std::size_t end = text.find_first_of(" (\n", at);
    end = end == std::string::npos ? text.size() : end + 1;
    out += Escape(text.substr(at, end - at), false);
    at = end;
  }
  return out;
}

}  // namespace

std::string Text(const std::string& text) {
  return EscapeProse(text);
}

std::string Literal(const std::string& text) {
  return Escape(text, true);
}

std::string Bold(const std::string& words) {
  return "\\fB" + Literal(words) + "\\fR";
}

std::string Italic(const std::string& words) {
  return "\\fI" + Literal(words) + "\\fR";
}

std::string Paragraphs(const std::string& text) {
  std::ostringstream out;
  std::istringstream lines(text);
  bool example = false;
  bool first = true;
  for (std::string line; std::getline(lines, line);) {
    const bool isExample = line.rfind("  ", 0) == 0;
    if (line.empty()) continue;
    if (isExample != example) out << (isExample ? ".PP\n.EX\n" : ".EE\n");
    if (isExample) {
      out << Literal(line) << "\n";
    } else {
      if (!first) out << ".PP\n";
      out << Text(line) << "\n";
    }
    example = isExample;
    first = false;
  }
  if (example) out << ".EE\n";
  return out.str();
}

}  // namespace lumivane::roff
