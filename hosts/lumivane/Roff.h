// Pieces of manual pages in the man(7) macros.
#pragma once

#include <string>

namespace lumivane::roff {

/// `text` for the body of a page: what roff would take for its own is escaped, and a line that
/// begins with a control character is kept from being a request.
std::string Text(const std::string& text);

/// The same for words that are typed: hyphens stay the ones on the keyboard.
std::string Literal(const std::string& text);

std::string Bold(const std::string& words);
std::string Italic(const std::string& words);

/// Paragraphs, one a line; lines that begin with two spaces are commands, shown as they stand.
std::string Paragraphs(const std::string& text);

}  // namespace lumivane::roff
