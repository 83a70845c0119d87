// Makes arbitrary bytes from the machine safe for a terminal and for JSON.
#ifndef TTYDB_TOOLS_TEXT_H
#define TTYDB_TOOLS_TEXT_H

#include <string>
#include <string_view>

namespace tty_lines {

// Replaces bytes that are not a character of the locale, and characters without a width (controls,
// direction marks, joiners), by escapes (\xNN).  So different texts look different, and none moves
// the cursor.
std::string printable(std::string_view text);

// Replaces each byte that is not a character of the locale by U+FFFD in UTF-8.
std::string valid(std::string_view text);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_TEXT_H
