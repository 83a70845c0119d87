// Text from the machine, whose bytes can be any, made fit for a terminal and for JSON.
#ifndef TTYDB_TOOLS_TEXT_H
#define TTYDB_TOOLS_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tty_lines {

// The text with '?' for what would control a terminal and for what is not UTF-8.
std::string printable(std::string_view text);

// The number of code points of valid UTF-8.
std::size_t width(std::string_view text);

// The text as a JSON string, in quotes; U+FFFD stands for each byte that is not UTF-8.
std::string json_string(std::string_view text);

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_TEXT_H
