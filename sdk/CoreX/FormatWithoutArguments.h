// What a text prints when it is taken as a printf format that has no arguments.
#pragma once

#include <string>
#include <string_view>

/// "%%" becomes "%". A conversion prints as for a zero, a null pointer or an empty text, with its
/// flags, width and precision ('*' is 0), as the C locale prints it; %c prints an empty character
/// rather than a NUL byte, so that a text file stays one; %m prints the text of error 0; %n prints
/// nothing. What is no conversion, an unfinished one at the end included, is copied.
/// Widths and precisions above 1023 count as 1023, so that a text cannot blow up its output.
/// Never reads anything but `text`. Works on bytes; "%lc" and "%ls" count as "%c" and "%s".
std::string FormatWithoutArguments(std::string_view text);
