/// @file
/// Texts of any origin on a terminal.

#ifndef SQLW_EXAMPLE_TERMINAL_H
#define SQLW_EXAMPLE_TERMINAL_H

#include <cstddef>
#include <string>

namespace support
{

/// The text with nothing in it that would move the cursor or turn the direction of writing: control
/// characters, line separators, marks of direction and bytes that are not UTF-8 appear as \x0a or
/// \u202e.
std::string harmless(const std::string& text);

/// The same, with each backslash doubled, so that different texts look different.
std::string exact(const std::string& text);

/// The columns that a harmless text takes on a terminal: two for a wide character, none for a
/// combining one. Without a UTF-8 locale on the machine, one for each character.
std::size_t widthOf(const std::string& text);

/// The text, cut to at most `columns`.
std::string cutTo(std::size_t columns, const std::string& text);

/// The columns of the terminal on standard output; 80 when it does not say.
std::size_t terminalWidth();

} // namespace support

#endif
