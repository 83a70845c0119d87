// Text from the machine, whose bytes can be any, made fit for a terminal and for JSON.
#ifndef TTYDB_TOOLS_TEXT_H
#define TTYDB_TOOLS_TEXT_H

#include <string>
#include <string_view>

namespace tty_lines {

// The text with escapes (\xNN) for the bytes of all that is no character of the locale, or takes no
// place of its own on a terminal: controls, marks of direction, joiners.  So one text cannot pass
// for another, and none moves the cursor.
std::string printable(std::string_view text);

// The text with U+FFFD, in UTF-8, for each byte that is no character of the locale.
std::string valid(std::string_view text);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_TEXT_H
